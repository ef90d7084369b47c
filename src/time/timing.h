#pragma once

#include <cstdint>
#include <functional>

namespace Common {

// What is left at `now` of a `length` that began at `start`. Compares by a signed difference, so a
// wait may cross the wrap of the clock. A length beyond such a difference has passed.
std::uint64_t TimeLeft(std::uint64_t start, std::uint64_t length, std::uint64_t now);

// Does the work of STimeProvider::RunTimingCheck. `fill` takes the length of a filler, in
// microseconds, and returns how long it took.
void PrintTimingCheck(const std::function<std::uint64_t(std::uint64_t)>& fill);

}  // namespace Common
