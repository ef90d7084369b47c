#pragma once

#include <cstdint>
#include <functional>

namespace Common {

// What is left at `now` of a `length` that began at `start`. The end less the reading counts as a
// signed difference, so a wait may cross the wrap of the clock. A longer length than such a
// difference holds would seem to have passed or not, from one reading to the next: it has passed.
std::uint64_t TimeLeft(std::uint64_t start, std::uint64_t length, std::uint64_t now);

// STimeProvider::RunTimingCheck. `fill` takes the length of a filler, in microseconds, and returns
// how long it took.
void PrintTimingCheck(const std::function<std::uint64_t(std::uint64_t)>& fill);

}  // namespace Common
