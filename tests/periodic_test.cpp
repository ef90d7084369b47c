#include <cmath>

#include "support.h"

namespace Common::Test {

TEST(Periodic, WavesFollowTheClockInTheStorage) {
  using enum PeriodicKind;
  using Values = std::vector<float>;
  const std::unique_ptr<STimeProvider> maker(ManufactureTimeProvider());
  StoredClock clock;
  const auto quarters = [&](PeriodicKind kind, float duty, std::uint64_t period = 400) {
    const auto signal = maker->MakePeriodic(kind, period, duty);
    Values values;
    for (clock->now = 800; clock->now < 1200; clock->now += 100) values.push_back(signal->GetValue());
    return values;
  };
  EXPECT_EQ(quarters(Sine, 0), (Values{0, 1, -8.74227766e-8F, -1}));
  EXPECT_EQ(quarters(Square, 0.5F), (Values{1, 1, 0, 0}));
  EXPECT_EQ(quarters(Square, 1.5F), Values(4, 1));
  for (const float none : {-0.5F, NAN}) EXPECT_EQ(quarters(Square, none), Values(4, 0));
  for (const float none : {-0.5F, NAN}) EXPECT_EQ(quarters(Triangle, none), (Values{1, 0.75, 0.5, 0.25}));
  EXPECT_EQ(quarters(Triangle, 0.25F), (Values{0, 1, 2 / 3.0F, 1 / 3.0F}));
  EXPECT_EQ(quarters(Triangle, 1.5F), (Values{0, 0.25, 0.5, 0.75}));
  EXPECT_EQ(quarters(RisingSawtooth, 0), (Values{0, 0.25, 0.5, 0.75}));
  EXPECT_EQ(quarters(FallingSawtooth, 0), (Values{1, 0.75, 0.5, 0.25}));
  for (const auto kind : {Sine, Triangle, RisingSawtooth}) EXPECT_EQ(quarters(kind, 0.5F, 0), Values(4, 0));
  for (const auto kind : {Square, FallingSawtooth}) EXPECT_EQ(quarters(kind, 0.5F, 0), Values(4, 1));
  clock->now = 19'999'999;
  EXPECT_EQ(maker->MakePeriodic(RisingSawtooth, 20'000'000, 0)->GetValue(), 1.0F) << "in single precision";
  clock.Remove();
  EXPECT_EQ(FailureOf([&] { maker->MakePeriodic(Sine, 100, 0)->GetValue(); }), NoInstance);
  EXPECT_EQ(maker->MakePeriodic(PeriodicKind{5}, 0, 0)->GetValue(), 1.0F);
}

}  // namespace Common::Test
