// The clock on the real system, the signals, and the timing check.
#include <cmath>
#include <iomanip>
#include <iostream>

#include "support.h"

namespace Common::Test {
namespace {

using enum PeriodicKind;
using Values = std::vector<float>;

TEST(TimeProvider, WaitsAtLeastAsLongAsItIsAsked) {
  const std::unique_ptr<STimeProvider> clock(ManufactureTimeProvider());
  const std::uint64_t before = clock->Now();
  clock->Wait(20'000);
  EXPECT_GE(clock->Now() - before, 20'000U);
}

// What one clock makes follows the clock in the storage.
struct StoredTime : testing::Test {
  float ValueAt(std::uint64_t now, PeriodicKind kind, std::uint64_t period, float duty = 0) {
    clock->now = now;
    return maker->MakePeriodic(kind, period, duty)->GetValue();
  }

  // The values at the start and after each quarter of a period.
  Values Quarters(PeriodicKind kind, float duty = 0) {
    return {ValueAt(800, kind, 400, duty), ValueAt(900, kind, 400, duty),
            ValueAt(1'000, kind, 400, duty), ValueAt(1'100, kind, 400, duty)};
  }

  const std::unique_ptr<STimeProvider> maker{ManufactureTimeProvider()};
  StoredClock clock;
};

TEST_F(StoredTime, MovesSignalsAlongTheirWaves) {
  EXPECT_EQ(Quarters(Sine), (Values{0, 1, -8.74227766e-8F, -1})) << "in single precision";
  EXPECT_EQ(Quarters(Square, 0.5F), (Values{1, 1, 0, 0}));
  EXPECT_EQ(Quarters(Triangle, 0.25F), (Values{0, 1, 2 / 3.0F, 1 / 3.0F}));
  EXPECT_EQ(Quarters(RisingSawtooth), (Values{0, 0.25, 0.5, 0.75}));
  EXPECT_EQ(Quarters(FallingSawtooth), (Values{1, 0.75, 0.5, 0.25}));
}

TEST_F(StoredTime, MovesSignalsOfAClampedDuty) {
  EXPECT_EQ(Quarters(Square, 1.5F), (Values{1, 1, 1, 1}));
  EXPECT_EQ(Quarters(Triangle, 1.5F), (Values{0, 0.25, 0.5, 0.75}));
  for (const float none : {-0.5F, NAN}) {
    EXPECT_EQ(Quarters(Square, none), (Values{0, 0, 0, 0}));
    EXPECT_EQ(Quarters(Triangle, none), (Values{1, 0.75, 0.5, 0.25}));
  }
}

TEST_F(StoredTime, MovesSignalsInPeriodsOfAnyLength) {
  EXPECT_EQ(ValueAt(700, FallingSawtooth, 0), 1.0F) << "the phase stays at 0";
  constexpr std::uint64_t period = 20'000'000;  // more than single precision counts one by one
  EXPECT_EQ(ValueAt(period - 1, RisingSawtooth, period), 1.0F) << "the phase";
  EXPECT_EQ(ValueAt(period - 1, Triangle, period, 1.0F), 1.0F);
}

TEST_F(StoredTime, IsMissedBySignalsAndTheTimingCheck) {
  const auto signal = maker->MakePeriodic(Sine, 0, 0);
  EXPECT_EQ(signal->GetValue(), 0.0F);
  clock.Remove();
  EXPECT_EQ(FailureOf([&] { signal->GetValue(); }), NoInstance);
  EXPECT_EQ(FailureOf([&] { maker->RunTimingCheck(); }), NoInstance);
  EXPECT_EQ(maker->MakePeriodic(PeriodicKind{5}, 100, 0)->GetValue(), 1.0F);
}

TEST_F(StoredTime, IsCheckedApartFromTheFormatOfTheHost) {
  const Capture output(std::cout);
  UseCommas();
  std::cout.imbue(std::locale());
  std::cout << std::hex << std::fixed << std::setprecision(1) << std::setw(40);
  clock->step = 25;
  maker->RunTimingCheck();
  EXPECT_EQ(output.Text(),
            "1000025us : 1.00003s\n500025us : 0.500025s\n250025us : 0.250025s\n125025us : "
            "0.125025s\n75025us : 0.075025s\n30025us : 0.030025s\n")
      << "in single precision";
}

}  // namespace
}  // namespace Common::Test
