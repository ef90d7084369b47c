#pragma once

#include <common/time_provider.h>

namespace Common {

// The signal that STimeProvider::MakePeriodic promises for these arguments.
Vorn::IntrudablePtr<IPeriodic> MakePeriodicSignal(PeriodicKind kind, std::uint64_t period,
                                                  float duty);

}  // namespace Common
