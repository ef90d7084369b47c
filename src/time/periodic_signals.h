#pragma once

#include <common/time_provider.h>

namespace Common {

// The signal that STimeProvider::MakePeriodic promises for these arguments. It reads `clock`, which
// outlives it, or where that is null the clock that is in the storage at each value.
Vorn::IntrudablePtr<IPeriodic> MakePeriodicSignal(PeriodicKind kind, std::uint64_t period,
                                                  float duty, STimeProvider* clock);

}  // namespace Common
