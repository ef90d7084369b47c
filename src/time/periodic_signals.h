#pragma once

#include <common/time_provider.h>

namespace Common {

// Makes the signal that STimeProvider::MakePeriodic promises. It reads `clock`, which must outlive
// it, or, if that is null, the clock that is in the storage at the time.
Vorn::IntrudablePtr<IPeriodic> MakePeriodicSignal(PeriodicKind kind, std::uint64_t period,
                                                  float duty, STimeProvider* clock);

}  // namespace Common
