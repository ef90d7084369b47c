/// @file
/// How the profiler's operations read the time, and what one reading costs. This is the inner side
/// of `<common/performance_profiler.h>`, which includes it; hosts have no need of it.
///
/// ```cpp
/// const std::uint64_t started = Common::Detail::ReadMonotonicMicroseconds();
/// ```
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>

namespace Common::Detail {

/// Reads the steady clock, in whole microseconds, rounded down. Any thread.
inline std::uint64_t ReadMonotonicMicroseconds() {
  const std::chrono::nanoseconds reading = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(reading.count()) / 1000;
}

// Hidden, so that each module has its own calibration. A shared one would be a unique symbol, which
// keeps its module loaded until the process ends. A pragma, since systems without visibility warn
// about the attribute.
#if defined(__GNUC__)
#pragma GCC visibility push(hidden)
#endif

/// How many nanoseconds a measurement spends on reading the clock, once to start and once to stop:
/// twice the mean of 100 readings in a row, in the best of ten such runs. Any thread.
///
/// The first call in a module takes these readings, about 50 us. If a `GoOnTo` makes it, the record
/// that this starts contains the time.
inline std::uint64_t NanosecondsOfMeasuring() {
  static const std::uint64_t cost = [] {
    constexpr int ReadingsPerRun = 100;
    std::array<std::chrono::nanoseconds, 10> runs{};
    for (std::chrono::nanoseconds& run : runs) {
      const auto before = std::chrono::steady_clock::now();
      auto after = before;
      for (int reading = 0; reading < ReadingsPerRun; ++reading)
        after = std::chrono::steady_clock::now();
      run = after - before;
    }
    const std::chrono::nanoseconds best = *std::min_element(runs.begin(), runs.end());
    return static_cast<std::uint64_t>(2 * best.count() / ReadingsPerRun);
  }();
  return cost;
}

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

}  // namespace Common::Detail
