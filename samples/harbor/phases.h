// The records of a frame, in order. The first one, named as the accumulator, takes the preparation.
#pragma once

#include <cstddef>
#include <string>

namespace Harbor::Phase {

inline const std::string Frame = "frame";
inline const std::string Tick = "tick";
inline const std::string Simulation = "simulation";
inline const std::string Panels = "panels";
inline const std::string Drawing = "drawing";
inline const std::string Waiting = "waiting";

inline constexpr std::size_t MeasurementsPerFrame = 7;  // those, and the whole frame

}  // namespace Harbor::Phase
