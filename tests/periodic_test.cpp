#include <cmath>
#include <limits>

#include "support.h"

namespace Common::Test {
namespace {

TEST(Periodic, WavesFollowTheClockInTheStorage) {
  const std::unique_ptr<STimeProvider> maker(ManufactureTimeProvider());
  constexpr auto Sine = PeriodicKind::Sine, Square = PeriodicKind::Square, Triangle = PeriodicKind::Triangle,
                 Rising = PeriodicKind::RisingSawtooth, Falling = PeriodicKind::FallingSawtooth;
  constexpr float NotANumber = std::numeric_limits<float>::quiet_NaN();
  constexpr std::uint64_t Long = 20'000'000;  // beyond what single precision counts one by one
  struct Case {
    PeriodicKind kind;
    std::uint64_t period;
    float duty;
    std::uint64_t now;
    float value;
  };
  StoredClock clock;
  int readings = 0;
  for (const Case& tested : {Case{Sine, 400, 0, 800, 0},
                             Case{Sine, 400, 0, 500, 1},
                             Case{Sine, 400, 0, 300, -1},
                             Case{Sine, 400, 0, 200, -8.742278e-8F},
                             Case{Sine, Long, 0, Long - 1, 1.7484555e-7F},
                             Case{Square, 100, 0.5F, 700, 1},
                             Case{Square, 100, 0.5F, 749, 1},
                             Case{Square, 100, 0.5F, 750, 0},
                             Case{Square, 100, 0, 700, 0},
                             Case{Square, 100, -0.5F, 700, 0},
                             Case{Square, 100, NotANumber, 700, 0},
                             Case{Square, 100, 1.5F, 799, 1},
                             Case{Square, Long, 1.5F, Long - 1, 0},
                             Case{Triangle, 100, 0.5F, 725, 0.5F},
                             Case{Triangle, 100, 0.5F, 750, 1},
                             Case{Triangle, 100, 0.5F, 775, 0.5F},
                             Case{Triangle, 100, 0.25F, 700, 0},
                             Case{Triangle, 100, 1.5F, 775, 0.75F},
                             Case{Triangle, Long, 1, Long - 1, 1},
                             Case{Triangle, 100, -0.5F, 700, 1},
                             Case{Triangle, 100, NotANumber, 725, 0.75F},
                             Case{Rising, 100, 0, 700, 0},
                             Case{Rising, 100, 0, 775, 0.75F},
                             Case{Rising, Long, 0, Long - 1, 1},
                             Case{Falling, 100, 0, 700, 1},
                             Case{Falling, 100, 0, 775, 0.25F},
                             Case{Falling, Long, 0, Long - 1, 0},
                             Case{Sine, 0, 0, 7, 0},
                             Case{Square, 0, 0.5F, 7, 1},
                             Case{Triangle, 0, 0.5F, 7, 0},
                             Case{Triangle, 0, 0, 7, 1},
                             Case{Rising, 0, 0, 7, 0},
                             Case{Falling, 0, 0, 7, 1}}) {
    const auto signal = maker->MakePeriodic(tested.kind, tested.period, tested.duty);
    clock->now = tested.now;
    EXPECT_FLOAT_EQ(signal->GetValue(), tested.value)
        << static_cast<int>(tested.kind) << ' ' << tested.period << ' ' << tested.duty << ' ' << tested.now;
    EXPECT_EQ(clock->readings, ++readings);
  }
  const auto sine = maker->MakePeriodic(Sine, 100, 0);
  const auto always = maker->MakePeriodic(static_cast<PeriodicKind>(5), 0, NotANumber);
  clock.Remove();
  EXPECT_EQ(FailureOf([&] { sine->GetValue(); }), NoInstance);
  EXPECT_EQ(always->GetValue(), 1.0F);
}

}  // namespace
}  // namespace Common::Test
