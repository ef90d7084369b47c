// Waves of the engine clock. A signal has no memory of its own: its value follows from the clock's
// present time, so all signals of one kind and period are in step, whenever they were made.
//
//   const auto daylight = clock->MakePeriodic(Common::PeriodicKind::Sine, 60'000'000, 0.0F);
//   lamp.SetBrightness(0.5F - daylight->GetValue() / 2);
#pragma once

#include <vorn_lnk/intrudable>

namespace Common {

// Made by STimeProvider::MakePeriodic, deleted with its last reference.
struct VORN_LNK_SHARED_TYPE IPeriodic : Vorn::Intrudable {
  // The wave at this moment: -1.0 to 1.0 for a sine, 0.0 to 1.0 for all others. All but the signal
  // of no kind ask the storage for the clock at each call and throw Vorn::MissingInstance if there
  // is none. Any thread.
  virtual float GetValue() = 0;
};

}  // namespace Common
