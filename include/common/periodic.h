/// Waves of the engine's clock. A signal has no state: its value follows from the clock alone, so
/// all signals of one kind and period are in step, whenever they were made.
///
/// ```cpp
/// const auto daylight = clock->MakePeriodic(Common::PeriodicKind::Sine, 60'000'000, 0.0F);
/// lamp.SetBrightness(0.5F - daylight->GetValue() / 2);
/// ```
#pragma once

#include <vorn_lnk/intrudable>

namespace Common {

/// A signal, made by `STimeProvider::MakePeriodic` and deleted with its last reference. It may
/// outlive the clock, but has no value then.
struct VORN_LNK_SHARED_TYPE IPeriodic : Vorn::Intrudable {
  /// The wave at this moment: -1.0 to 1.0 for a sine, 0.0 to 1.0 for all others.
  ///
  /// Throws Vorn::MissingInstance if the storage holds no clock. A signal of no known kind needs
  /// none. Any thread.
  virtual float GetValue() = 0;
};

}  // namespace Common
