#include <chrono>
#include <iostream>

#include "support.h"

#ifdef __linux__

#include <sys/syscall.h>
#include <unistd.h>

namespace {

// The system's clock, sleep and yield as a test sets them. The definitions below stand before those of the system,
// and do the same while nothing is set.
struct SystemTime {
  std::chrono::nanoseconds now;
  std::chrono::microseconds sleepTakes;
  std::chrono::microseconds yieldTakes;
  int sleeps = 0;
  int yields = 0;
};

SystemTime* fakeSystem = nullptr;

}  // namespace

[[gnu::visibility("default")]] std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept {
  if (fakeSystem != nullptr) return time_point(fakeSystem->now);
  timespec reading;
  clock_gettime(CLOCK_MONOTONIC, &reading);
  return time_point(std::chrono::seconds(reading.tv_sec) + std::chrono::nanoseconds(reading.tv_nsec));
}

extern "C" [[gnu::visibility("default")]] int nanosleep(const timespec* length, timespec* left) {
  if (fakeSystem == nullptr) return clock_nanosleep(CLOCK_MONOTONIC, 0, length, left);
  EXPECT_EQ(length->tv_sec * 1'000'000'000 + length->tv_nsec, 1'000'000);
  ++fakeSystem->sleeps;
  fakeSystem->now += fakeSystem->sleepTakes;
  return 0;
}

extern "C" [[gnu::visibility("default")]] int sched_yield() noexcept {
  if (fakeSystem == nullptr) return static_cast<int>(syscall(SYS_sched_yield));
  ++fakeSystem->yields;
  fakeSystem->now += fakeSystem->yieldTakes;
  return 0;
}

#endif

namespace Common::Test {
namespace {

using std::chrono::microseconds;

#ifdef __linux__

TEST(TimeProvider, SleepsOnlyWhileMoreThanTwoMeasuredSleepsRemain) {
  SystemTime system{std::chrono::nanoseconds(7'000'999), microseconds(1500), microseconds(100)};
  fakeSystem = &system;
  const std::unique_ptr<STimeProvider> clock(ManufactureTimeProvider());
  EXPECT_EQ(clock->Now(), 1500U);
  struct Case {
    std::uint64_t spent, filled;
    int sleeps, yields;
  };
  for (const Case& tested : {Case{0, 0, 0, 0}, Case{0, 3000, 0, 30}, Case{0, 3001, 1, 16}, Case{0, 6000, 2, 30},
                             Case{2000, 5000, 0, 30}, Case{1999, 5000, 1, 16}, Case{9000, 5000, 0, 0}}) {
    system.sleeps = system.yields = 0;
    if (tested.spent == 0) clock->Wait(tested.filled);
    if (tested.spent != 0) {
      const auto filler = clock->MakeTimeFiller(tested.filled);
      system.now += microseconds(tested.spent);
    }
    EXPECT_EQ(system.sleeps, tested.sleeps) << tested.filled << " less " << tested.spent;
    EXPECT_EQ(system.yields, tested.yields) << tested.filled << " less " << tested.spent;
  }
  fakeSystem = nullptr;
}

#endif

TEST(TimeProvider, KeepsToTheSteadyClock) {
  const auto rawReading = [] {
    const auto reading = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<microseconds>(reading).count());
  };
  const std::unique_ptr<STimeProvider> clock(ManufactureTimeProvider());
  EXPECT_GE(clock->Now(), 1000U) << "the factory sleeps";
  for (const std::uint64_t length : {1U, 900U, 20'000U}) {
    const std::uint64_t before = clock->Now();
    clock->Wait(length);
    EXPECT_GE(clock->Now() - before, length);
    clock->MakeTimeFiller(length);
    EXPECT_GE(clock->Now() - before, 2 * length);
  }
  const std::uint64_t raw = rawReading();
  clock->SetOrigin(0);
  const std::uint64_t now = clock->Now();
  EXPECT_LE(raw, now);
  EXPECT_LE(now, rawReading());
  clock->SetOrigin(now + 3'600'000'000);
  EXPECT_GT(clock->Now(), std::uint64_t{1} << 63);
}

TEST(TimeProvider, TimingCheckMeasuresTheClockInTheStorage) {
  const std::unique_ptr<STimeProvider> asked(ManufactureTimeProvider());
  EXPECT_EQ(FailureOf([&] { asked->RunTimingCheck(); }), NoInstance);
  const StoredClock stored;
  const Capture output(std::cout);
  asked->RunTimingCheck();
  EXPECT_EQ(
      output.Text(),
      "1000000us : 1s\n500000us : 0.5s\n250000us : 0.25s\n125000us : 0.125s\n75000us : 0.075s\n30000us : 0.03s\n");
  EXPECT_EQ(stored->readings, 12);
}

}  // namespace
}  // namespace Common::Test
