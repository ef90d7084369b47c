#include <chrono>
#include <iostream>
#include <thread>

#include "support.h"

#ifdef __linux__

// Stand before the system's clock, sleep and yield. Until a test sets the time, they do the same as those, but that a
// yield is none.
static std::chrono::nanoseconds fakeNow;
static int sleeps, yields;

#pragma GCC visibility push(default)

std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept {
  timespec reading{0, fakeNow.count()};
  if (reading.tv_nsec == 0) clock_gettime(CLOCK_MONOTONIC, &reading);
  return time_point(seconds(reading.tv_sec) + nanoseconds(reading.tv_nsec));
}

extern "C" int nanosleep(const timespec* length, timespec* left) {
  if (fakeNow.count() == 0) return clock_nanosleep(CLOCK_MONOTONIC, 0, length, left);
  fakeNow += std::chrono::nanoseconds(length->tv_nsec + 500'000);
  return ++sleeps, 0;
}

extern "C" int sched_yield() noexcept {
  if (fakeNow.count() == 0) return 0;
  fakeNow += std::chrono::microseconds(100);
  return ++yields, 0;
}

#pragma GCC visibility pop

TEST(TimeProvider, SleepsOnlyWhileMoreThanTwoMeasuredSleepsRemain) {
  fakeNow = std::chrono::nanoseconds(7'000'999);
  const std::unique_ptr<Common::STimeProvider> clock(Common::ManufactureTimeProvider());
  EXPECT_EQ(clock->Now(), 1500U) << "since manufacture";
  // How often the end of a scope sleeps and yields that has spent some of its time already.
  const auto fill = [&](std::uint64_t microseconds, int spent) {
    sleeps = yields = 0;
    clock->MakeTimeFiller(microseconds), fakeNow += std::chrono::microseconds(spent);
    return std::pair(sleeps, yields);
  };
  EXPECT_EQ(fill(3000, 0), std::pair(0, 30));
  EXPECT_EQ(fill(3001, 0), std::pair(1, 16)) << "decided before the yield";
  EXPECT_EQ(fill(6000, 0), std::pair(2, 30));
  EXPECT_EQ(fill(5000, 1999), std::pair(1, 16));
  EXPECT_EQ(fill(5000, 9000), std::pair(0, 0));
}

#endif

namespace Common::Test {

TEST(TimeProvider, KeepsToItsClockAndChecksTheOneInTheStorage) {
  const std::unique_ptr<STimeProvider> clock(ManufactureTimeProvider());
  const auto wait = [&clock] {
    for (const std::uint64_t length : {0U, 1U, 20'000U}) {
      const std::uint64_t before = clock->Now();
      clock->Wait(length);
      EXPECT_GE(clock->Now() - before, length);
    }
  };
  std::thread others[] = {std::thread(wait), std::thread(wait), std::thread(wait)};
  for (std::thread& other : others) other.join();
  const auto raw = std::chrono::steady_clock::now().time_since_epoch() / std::chrono::microseconds(1);
  clock->SetOrigin(0);
  EXPECT_GE(clock->Now(), static_cast<std::uint64_t>(raw));
  clock->SetOrigin(clock->Now() + 3'600'000'000U);
  EXPECT_GT(clock->Now(), std::uint64_t{1} << 63);
  EXPECT_EQ(FailureOf([&] { clock->RunTimingCheck(); }), NoInstance);
  const StoredClock stored;
  const Capture output(std::cout);
  clock->RunTimingCheck();
  EXPECT_EQ(
      output.Text(),
      "1000000us : 1s\n500000us : 0.5s\n250000us : 0.25s\n125000us : 0.125s\n75000us : 0.075s\n30000us : 0.03s\n");
}

}  // namespace Common::Test
