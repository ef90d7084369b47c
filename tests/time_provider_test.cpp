// The clock of the real system, the signals, and the timing check.
#include <chrono>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <thread>

#include "support.h"

namespace Common::Test {
namespace {

using enum PeriodicKind;
using Values = std::vector<float>;

TEST(TimeProvider, ServesManyThreads) {
  STimeProvider* const clock = ManufactureTimeProvider();
  const auto owner = Access<STimeProvider>::Create(clock);
  const auto rising = clock->MakePeriodic(RisingSawtooth, 1'000'000'000, 0);
  const auto waitAndCheck = [&](std::uint64_t length) {
    const std::uint64_t before = clock->Now();
    const float phaseBefore = rising->GetValue();
    clock->Wait(length);
    EXPECT_GE(clock->Now() - before, length);
    EXPECT_GE(rising->GetValue(), phaseBefore);
  };
  std::vector<std::thread> threads;
  for (const std::uint64_t length : {40'000U, 20'000U, 10'000U, 5'000U, 1U, 0U})
    threads.emplace_back(waitAndCheck, length);
  for (std::thread& thread : threads) thread.join();
}

TEST(TimeProvider, TakesItsOriginFromTheSteadyClock) {
  const std::unique_ptr<STimeProvider> clock(ManufactureTimeProvider());
  const auto sinceEpoch = std::chrono::steady_clock::now().time_since_epoch();
  const auto steadyReading = std::chrono::duration_cast<std::chrono::microseconds>(sinceEpoch);
  clock->SetOrigin(0);
  EXPECT_GE(clock->Now(), static_cast<std::uint64_t>(steadyReading.count()));
  constexpr std::uint64_t hour = 3'600'000'000;
  clock->SetOrigin(clock->Now() + hour);
  EXPECT_GT(clock->Now(), std::uint64_t{1} << 63) << "wraps";
}

#if !defined(NDEBUG) && !defined(_WIN32)
TEST(TimeProviderDeathTest, StopsAFillerThatOutlivesTheClock) {
  const std::unique_ptr<STimeProvider> clock(ManufactureTimeProvider());
  const auto filler = clock->MakeTimeFiller(0);
  EXPECT_DEATH(delete clock.get(), "a time filler outlives its clock");
}
#endif

// Signals, made by a clock of their own but following the one in the storage.
struct Signals : testing::Test {
  float ValueAt(std::uint64_t now, PeriodicKind kind, std::uint64_t period, float duty = 0) {
    clock->now = now;
    return maker->MakePeriodic(kind, period, duty)->GetValue();
  }

  // The values at the start and after each quarter of a period.
  Values Quarters(PeriodicKind kind, float duty = 0) {
    Values values;
    for (const std::uint64_t now : {800U, 900U, 1'000U, 1'100U})
      values.push_back(ValueAt(now, kind, 400, duty));
    return values;
  }

  const std::unique_ptr<STimeProvider> maker{ManufactureTimeProvider()};
  StoredClock clock;
};

TEST_F(Signals, FollowTheirWaves) {
  EXPECT_EQ(Quarters(Sine), (Values{0, 1, -8.74227766e-8F, -1})) << "in single precision";
  EXPECT_EQ(Quarters(Square, 0.5F), (Values{1, 1, 0, 0}));
  EXPECT_EQ(Quarters(Triangle, 0.25F), (Values{0, 1, 2 / 3.0F, 1 / 3.0F}));
  EXPECT_EQ(Quarters(RisingSawtooth), (Values{0, 0.25, 0.5, 0.75}));
  EXPECT_EQ(Quarters(FallingSawtooth), (Values{1, 0.75, 0.5, 0.25}));
  EXPECT_EQ(Quarters(PeriodicKind{5}), (Values{1, 1, 1, 1}));
}

TEST_F(Signals, ClampTheirDuty) {
  EXPECT_EQ(Quarters(Square, 1.5F), (Values{1, 1, 1, 1}));
  EXPECT_EQ(Quarters(Triangle, 1.5F), (Values{0, 0.25, 0.5, 0.75}));
  for (const float none : {-0.5F, NAN}) {
    EXPECT_EQ(Quarters(Square, none), (Values{0, 0, 0, 0}));
    EXPECT_EQ(Quarters(Triangle, none), (Values{1, 0.75, 0.5, 0.25}));
  }
}

TEST_F(Signals, StandAtPhaseZeroWithoutAPeriod) {
  EXPECT_EQ(ValueAt(700, RisingSawtooth, 0), 0.0F);
  EXPECT_EQ(ValueAt(700, FallingSawtooth, 0), 1.0F);
}

TEST_F(Signals, ReachPhaseOneBeforeTheEndOfALongPeriod) {
  constexpr std::uint64_t period = 20'000'000;  // beyond what single precision counts one by one
  EXPECT_EQ(ValueAt(period - 1, RisingSawtooth, period), 1.0F);
  EXPECT_EQ(ValueAt(period - 1, Triangle, period, 1.0F), 1.0F);
}

TEST_F(Signals, HaveNoValueWithoutAClock) {
  const auto sine = maker->MakePeriodic(Sine, 100, 0);
  const auto unknown = maker->MakePeriodic(PeriodicKind{5}, 100, 0);
  clock.Remove();
  EXPECT_EQ(FailureOf([&] { sine->GetValue(); }), NoInstance);
  EXPECT_EQ(unknown->GetValue(), 1.0F);
}

struct TimingCheck : Signals {
  const std::string lines =
      "1000000us : 1s\n500000us : 0.5s\n250000us : 0.25s\n125000us : 0.125s\n75000us : 0.075s\n"
      "30000us : 0.03s\n";
};

TEST_F(TimingCheck, PrintsWhatFillersOfTheStoredClockTake) {
  const Capture output(std::cout);
  maker->RunTimingCheck();
  EXPECT_EQ(output.Text(), lines);
}

TEST_F(TimingCheck, PrintsApartFromTheFormatOfTheHost) {
  const Capture output(std::cout);
  GroupDigits();
  std::cout.imbue(std::locale());
  std::cout << std::hex << std::showbase << std::fixed << std::setprecision(1) << std::setw(40);
  maker->RunTimingCheck();
  EXPECT_EQ(output.Text(), lines);
}

TEST_F(TimingCheck, NeedsAClockInTheStorage) {
  clock.Remove();
  EXPECT_EQ(FailureOf([&] { maker->RunTimingCheck(); }), NoInstance);
}

}  // namespace
}  // namespace Common::Test
