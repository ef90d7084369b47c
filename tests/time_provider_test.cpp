#include <chrono>
#include <cmath>
#include <iostream>
#include <thread>

#include "support.h"

#ifdef __linux__

// Stand before the system's clock, sleep and yield. Until a test sets the time, they do the same as
// those, but that a yield is none.
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

TEST(TimeProvider, ServesManyThreadsByItsClock) {
  STimeProvider* const clock = ManufactureTimeProvider();
  const auto owner = Access<STimeProvider>::Create(clock);
  const auto rising = clock->MakePeriodic(PeriodicKind::RisingSawtooth, 1'000'000'000, 0);
  const auto wait = [&](std::uint64_t length) {
    const std::uint64_t before = clock->Now();
    const float phase = rising->GetValue();
    clock->Wait(length);
    EXPECT_TRUE(clock->Now() - before >= length && rising->GetValue() >= phase) << length;
  };
  std::vector<std::thread> threads;
  for (const std::uint64_t length : {40'000U, 20'000U, 10'000U, 5'000U, 1U, 0U})
    threads.emplace_back(wait, length);
  for (std::thread& thread : threads) thread.join();
  const auto raw =
      std::chrono::steady_clock::now().time_since_epoch() / std::chrono::microseconds(1);
  clock->SetOrigin(0);
  EXPECT_GE(clock->Now(), static_cast<std::uint64_t>(raw));
  clock->SetOrigin(clock->Now() + 3'600'000'000U);
  EXPECT_GT(clock->Now(), std::uint64_t{1} << 63);
}

TEST(TimeProvider, SignalsAndTimingCheckFollowTheClockInTheStorage) {
  using enum PeriodicKind;
  using Values = std::vector<float>;
  const std::unique_ptr<STimeProvider> maker(ManufactureTimeProvider());
  StoredClock clock;
  const auto quarters = [&](PeriodicKind kind, float duty, std::uint64_t period = 400) {
    const auto signal = maker->MakePeriodic(kind, period, duty);
    Values values;
    for (clock->now = 800; clock->now < 1200; clock->now += 100)
      values.push_back(signal->GetValue());
    return values;
  };
  EXPECT_EQ(quarters(Sine, 0), (Values{0, 1, -8.74227766e-8F, -1}));
  EXPECT_EQ(quarters(Square, 0.5F), (Values{1, 1, 0, 0}));
  EXPECT_EQ(quarters(Square, 1.5F), Values(4, 1));
  for (const float none : {-0.5F, NAN}) EXPECT_EQ(quarters(Square, none), Values(4, 0));
  for (const float none : {-0.5F, NAN})
    EXPECT_EQ(quarters(Triangle, none), (Values{1, 0.75, 0.5, 0.25}));
  EXPECT_EQ(quarters(Triangle, 0.25F), (Values{0, 1, 2 / 3.0F, 1 / 3.0F}));
  EXPECT_EQ(quarters(Triangle, 1.5F), (Values{0, 0.25, 0.5, 0.75}));
  EXPECT_EQ(quarters(RisingSawtooth, 0), (Values{0, 0.25, 0.5, 0.75}));
  EXPECT_EQ(quarters(FallingSawtooth, 0), (Values{1, 0.75, 0.5, 0.25}));
  for (const auto kind : {Sine, Triangle, RisingSawtooth})
    EXPECT_EQ(quarters(kind, 0.5F, 0), Values(4, 0));
  for (const auto kind : {Square, FallingSawtooth})
    EXPECT_EQ(quarters(kind, 0.5F, 0), Values(4, 1));
  clock->now = 19'999'999;
  EXPECT_EQ(maker->MakePeriodic(RisingSawtooth, 20'000'000, 0)->GetValue(), 1.0F)
      << "in single precision";
  const Capture output(std::cout);
  maker->RunTimingCheck();
  EXPECT_EQ(output.Text(),
            "1000000us : 1s\n500000us : 0.5s\n250000us : 0.25s\n125000us : 0.125s\n75000us : "
            "0.075s\n30000us : 0.03s\n");
  clock.Remove();
  EXPECT_EQ(FailureOf([&] { maker->RunTimingCheck(); }), NoInstance);
  EXPECT_EQ(FailureOf([&] { maker->MakePeriodic(Sine, 100, 0)->GetValue(); }), NoInstance);
  EXPECT_EQ(maker->MakePeriodic(PeriodicKind{5}, 0, 0)->GetValue(), 1.0F);
}

}  // namespace Common::Test
