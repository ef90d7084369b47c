// The clock on a system whose time stands still between sleeps and yields. Its functions take the
// place of the real ones for the whole program, which is why these tests are a program of their
// own.
#include <common/time_provider.h>

#include <gtest/gtest.h>

#include <sched.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <memory>

static std::chrono::nanoseconds systemNow = std::chrono::microseconds(7'000);
static int sleeps = 0;
static int yields = 0;

static void PassTime(std::chrono::nanoseconds time) {
  constexpr int mostPauses = 1'000;
  if (sleeps + yields > mostPauses) std::abort();  // the wait under test never ends
  systemNow += time;
}

#pragma GCC visibility push(default)

std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept {
  return time_point(systemNow);
}

extern "C" int nanosleep(const timespec* length, timespec*) {
  constexpr std::chrono::microseconds lateness(500);
  ++sleeps;
  PassTime(std::chrono::nanoseconds(length->tv_nsec) + lateness);
  return 0;
}

extern "C" int sched_yield() noexcept {
  ++yields;
  PassTime(std::chrono::microseconds(100));
  return 0;
}

#pragma GCC visibility pop

namespace Common::Test {
namespace {

constexpr std::uint64_t LongestWait = (std::uint64_t{1} << 63) - 1;

struct SystemClock : testing::Test {
  SystemClock() { StartCounting(); }

  static void StartCounting() { sleeps = yields = 0; }

  std::uint64_t RawReading() const {
    return static_cast<std::uint64_t>(systemNow / std::chrono::microseconds(1));
  }

  // From here on the clock wraps in so many microseconds.
  void LetTheClockWrapIn(std::uint64_t microseconds) {
    clock->SetOrigin(RawReading() + microseconds);
  }

  std::uint64_t TimeOfWait(std::uint64_t microseconds) {
    const std::uint64_t before = RawReading();
    clock->Wait(microseconds);
    return RawReading() - before;
  }

  // What the end of a filler takes whose scope has already spent some time.
  std::uint64_t TimeOfFiller(std::uint64_t microseconds, int spent) {
    auto filler = clock->MakeTimeFiller(microseconds);
    systemNow += std::chrono::microseconds(spent);
    const std::uint64_t before = RawReading();
    filler = nullptr;
    return RawReading() - before;
  }

  // Made at 7.0 ms. The sleep of 1 ms that it measures takes 1.5, so its waits may sleep while more
  // than 3 ms remain.
  const std::unique_ptr<STimeProvider> clock{ManufactureTimeProvider()};
};

TEST_F(SystemClock, StartsAtZeroAndCountsWholeMicroseconds) {
  EXPECT_EQ(clock->Now(), 1'500U);
  systemNow += std::chrono::nanoseconds(999);
  EXPECT_EQ(clock->Now(), 1'500U);
  clock->SetOrigin(0);
  EXPECT_EQ(clock->Now(), 8'500U);
}

TEST_F(SystemClock, YieldsWhereAWaitIsNoLongerThanTwoSleeps) {
  clock->Wait(3'000);
  EXPECT_EQ(sleeps, 0);
  EXPECT_EQ(yields, 30);
}

TEST_F(SystemClock, DecidesToSleepByTheReadingBeforeTheYield) {
  clock->Wait(3'001);
  EXPECT_EQ(sleeps, 1);
  EXPECT_EQ(yields, 16);
}

TEST_F(SystemClock, SleepsWhileMoreThanTwoSleepsRemain) {
  clock->Wait(6'000);
  EXPECT_EQ(sleeps, 2);
  EXPECT_EQ(yields, 30);
}

TEST_F(SystemClock, NeitherYieldsNorSleepsWhereThereIsNothingToWaitFor) {
  for (const std::uint64_t length : {std::uint64_t{0}, LongestWait + 1, ~std::uint64_t{0}}) {
    clock->Wait(length);
    TimeOfFiller(length, 50);
    EXPECT_EQ(sleeps, 0) << length;
    EXPECT_EQ(yields, 0) << length;
  }
}

TEST_F(SystemClock, FillsWhatIsLeftOfAScope) {
  EXPECT_EQ(TimeOfFiller(2'000, 0), 2'000U);
  EXPECT_EQ(TimeOfFiller(2'000, 500), 1'500U);
  EXPECT_EQ(TimeOfFiller(2'000, 2'000), 0U);
  EXPECT_EQ(TimeOfFiller(2'000, 9'000), 0U);
}

TEST_F(SystemClock, WaitsAcrossItsWrap) {
  LetTheClockWrapIn(1'000);
  EXPECT_EQ(TimeOfWait(2'000), 2'000U);
  LetTheClockWrapIn(1'000);
  EXPECT_EQ(TimeOfFiller(2'000, 500), 1'500U);
}

TEST_F(SystemClock, EndsAWaitWhoseLastMicrosecondsTheWrapSkips) {
  LetTheClockWrapIn(1'050);
  EXPECT_EQ(TimeOfWait(1'049), 1'100U);
}

TEST_F(SystemClock, FillsNoMoreThanTheWholeScopeAfterItWasSetBack) {
  auto filler = clock->MakeTimeFiller(2'000);
  clock->SetOrigin(RawReading());
  const std::uint64_t before = RawReading();
  filler = nullptr;
  EXPECT_EQ(RawReading() - before, 2'000U);
}

}  // namespace
}  // namespace Common::Test
