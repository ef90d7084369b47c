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
  if (sleeps + yields > 1'000'000) std::abort();  // the wait under test never ends
  systemNow += time;
}

#pragma GCC visibility push(default)

std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept {
  return time_point(systemNow);
}

extern "C" int nanosleep(const timespec* length, timespec*) {
  ++sleeps;
  PassTime(std::chrono::nanoseconds(length->tv_nsec + 500'000));  // as sleeps do, it lasts longer
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

struct SystemClock : testing::Test {
  // From here on the clock wraps in so many microseconds.
  void LetTheClockWrapIn(std::uint64_t microseconds) {
    clock->SetOrigin(0);
    clock->SetOrigin(clock->Now() + microseconds);
  }

  int SleepsOfWait(std::uint64_t microseconds) {
    sleeps = yields = 0;
    clock->Wait(microseconds);
    return sleeps;
  }

  // What the end of a filler takes, in microseconds, whose scope has already spent some time.
  std::int64_t TimeOfFiller(std::uint64_t microseconds, int spent) {
    auto filler = clock->MakeTimeFiller(microseconds);
    systemNow += std::chrono::microseconds(spent);
    const std::chrono::nanoseconds before = systemNow;
    filler = nullptr;
    return (systemNow - before) / std::chrono::microseconds(1);
  }

  // Its sleep of 1 ms takes 1.5, so a wait may sleep while more than 3 ms remain.
  const std::unique_ptr<STimeProvider> clock{ManufactureTimeProvider()};
};

TEST_F(SystemClock, StartsAtZeroAndRoundsDown) {
  EXPECT_EQ(clock->Now(), 1'500U);
  systemNow += std::chrono::nanoseconds(999);
  EXPECT_EQ(clock->Now(), 1'500U);
  clock->SetOrigin(0);
  EXPECT_EQ(clock->Now(), 8'500U);
}

TEST_F(SystemClock, SleepsWhileMoreThanTwoSleepsRemainAndYieldsInEachPass) {
  EXPECT_EQ(SleepsOfWait(3'000), 0);
  EXPECT_EQ(yields, 30);
  EXPECT_EQ(SleepsOfWait(3'001), 1) << "decided by the reading before the yield";
  EXPECT_EQ(yields, 16);
  EXPECT_EQ(SleepsOfWait(6'000), 2);
}

TEST_F(SystemClock, NeitherYieldsNorSleepsForNothing) {
  constexpr std::uint64_t tooLong = std::uint64_t{1} << 63;
  for (const std::uint64_t length : {std::uint64_t{0}, tooLong, tooLong + 100}) {
    EXPECT_EQ(SleepsOfWait(length), 0);
    EXPECT_EQ(yields, 0);
    EXPECT_EQ(TimeOfFiller(length, 500), 0);
  }
}

TEST_F(SystemClock, FillsWhatIsLeftOfAScope) {
  EXPECT_EQ(TimeOfFiller(2'000, 0), 2'000);
  EXPECT_EQ(TimeOfFiller(2'000, 500), 1'500);
  EXPECT_EQ(TimeOfFiller(2'000, 9'000), 0);
}

TEST_F(SystemClock, WaitsAcrossItsWrap) {
  LetTheClockWrapIn(1'000);
  clock->Wait(2'000);
  EXPECT_EQ(clock->Now(), 1'000U);
  LetTheClockWrapIn(1'050);
  clock->Wait(1'049);
  EXPECT_EQ(clock->Now(), 50U) << "the readings skip the last microseconds before the wrap";
  LetTheClockWrapIn(1'000);
  EXPECT_EQ(TimeOfFiller(2'000, 500), 1'500);
}

TEST_F(SystemClock, FillsNoMoreThanTheWholeScopeWhereItIsSetBack) {
  auto filler = clock->MakeTimeFiller(2'000);
  LetTheClockWrapIn(5'000);
  filler = nullptr;
  EXPECT_EQ(clock->Now(), std::uint64_t{0} - 3'000);
}

}  // namespace
}  // namespace Common::Test
