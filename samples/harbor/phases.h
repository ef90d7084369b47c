// The records that a frame's time goes to, in the order of a frame. The accumulator's first record,
// which has its name, takes the frame's own preparation.
#pragma once

#include <string>

namespace Harbor::Phase {

inline const std::string Frame = "frame";
inline const std::string EdgeAndReactors = "edge and reactors";
inline const std::string DelayedCalls = "delayed calls";
inline const std::string Simulation = "simulation";
inline const std::string Waiting = "waiting";

}  // namespace Harbor::Phase
