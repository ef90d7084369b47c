#include <chrono>
#include <iostream>

#include "support.h"

#ifdef __linux__

// The system's clock, sleep and yield, in front of its own and the same as those unless a test sets the time.
struct SystemTime {
  std::chrono::nanoseconds now;
  int sleeps, yields;
}* fakeSystem = nullptr;

#pragma GCC visibility push(default)

std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept {
  if (fakeSystem != nullptr) return time_point(fakeSystem->now);
  timespec reading;
  clock_gettime(CLOCK_MONOTONIC, &reading);
  return time_point(seconds(reading.tv_sec) + nanoseconds(reading.tv_nsec));
}

extern "C" int nanosleep(const timespec* length, timespec* left) {
  if (fakeSystem == nullptr) return clock_nanosleep(CLOCK_MONOTONIC, 0, length, left);
  ++fakeSystem->sleeps;
  fakeSystem->now += std::chrono::nanoseconds(length->tv_nsec + 500'000);
  return 0;
}

extern "C" int sched_yield() noexcept {
  if (fakeSystem != nullptr) fakeSystem->now += std::chrono::microseconds(100), ++fakeSystem->yields;
  return 0;
}

#pragma GCC visibility pop

TEST(TimeProvider, SleepsOnlyWhileMoreThanTwoMeasuredSleepsRemain) {
  SystemTime system{std::chrono::nanoseconds(7'000'999), 0, 0};
  fakeSystem = &system;
  const std::unique_ptr<Common::STimeProvider> clock(Common::ManufactureTimeProvider());
  EXPECT_EQ(clock->Now(), 1500U) << "since manufacture";
  // How often the end of a scope sleeps and yields that has spent some of its time already.
  const auto fill = [&](std::uint64_t microseconds, int spent) {
    system.sleeps = system.yields = 0;
    clock->MakeTimeFiller(microseconds), system.now += std::chrono::microseconds(spent);
    return std::pair(system.sleeps, system.yields);
  };
  EXPECT_EQ(fill(3000, 0), std::pair(0, 30));
  EXPECT_EQ(fill(3001, 0), std::pair(1, 16)) << "decided before the yield";
  EXPECT_EQ(fill(6000, 0), std::pair(2, 30));
  EXPECT_EQ(fill(5000, 1999), std::pair(1, 16));
  EXPECT_EQ(fill(5000, 9000), std::pair(0, 0));
  fakeSystem = nullptr;
}

#endif

namespace Common::Test {

TEST(TimeProvider, KeepsToItsClockAndChecksTheOneInTheStorage) {
  const auto rawReading = [] {
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::microseconds(1);
  };
  const std::unique_ptr<STimeProvider> clock(ManufactureTimeProvider());
  for (const std::uint64_t length : {0U, 1U, 20'000U}) {
    const std::uint64_t before = clock->Now();
    clock->Wait(length);
    EXPECT_GE(clock->Now() - before, length);
  }
  const auto raw = rawReading();
  clock->SetOrigin(0);
  const auto now = static_cast<std::int64_t>(clock->Now());
  EXPECT_TRUE(raw <= now && now <= rawReading());
  clock->SetOrigin(static_cast<std::uint64_t>(now) + 3'600'000'000);
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
