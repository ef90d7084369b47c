#pragma once

#include <common/kit/timers.h>
#include <common/runtime_unique_id.h>
#include <common/seed_provider.h>

#include <cstdint>
#include <string>
#include <vector>

#include "settings.h"

namespace Harbor {

struct Ship {
  std::string name;
  std::string cargo;
  std::uint64_t arrivalFrame = 0;
  bool hasPapers = true;
  std::uint64_t tonnes = 0;  // aboard on arrival
  std::uint64_t keeps = 0;   // stays aboard of a ship that is called away halfway; 0 for most
  std::uint64_t aboard = 0;
  Common::Kit::Timers::Id unloading;  // the timer that ends it
};

// The ships of a run, first arrival first. All random numbers are drawn here, before the first
// frame, so a late frame cannot change which ships come, what they carry, or what they leave.
std::vector<Ship> DrawFleet(Common::SSeedProvider& seeds, Common::Unique::SRuntimeUniqueId& ids,
                            const Settings& settings);

}  // namespace Harbor
