#pragma once

#include <common/kit/trace.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "port.h"
#include "settings.h"

namespace Harbor {

// What is left of a run when its services have ended.
struct Outcome {
  Settings settings;
  Tally tally;
  std::vector<std::uint64_t> frameTimes;         // microseconds
  std::vector<Common::Kit::Trace::Line> phases;  // of the frames that the trace still holds
};

// One run from the start of the services to their end: `frames` of them, or as many as the settings
// say, or fewer after an interrupt.
Outcome RunShift(std::optional<std::uint64_t> frames);

}  // namespace Harbor
