#include "periodic_signals.h"

#include <cmath>

namespace Common {
namespace {

constexpr float FullTurn = 6.2831855F;

const Vorn::Singleton<STimeProvider, std::shared_ptr> timeProvider;

// Where the clock stands in the period, from 0.0 to 1.0. Single precision begins with the two
// operands of the division: it is what makes the phase of long periods move in steps.
float ReadPhase(std::uint64_t period) {
  const std::uint64_t now = timeProvider.Get()->Now();
  if (period == 0) return 0.0F;
  return static_cast<float>(now % period) / static_cast<float>(period);
}

float ClampDuty(float duty) {
  if (std::isnan(duty)) return 0.0F;
  return std::fmin(std::fmax(duty, 0.0F), 1.0F);
}

}  // namespace

class SinePeriodic final : public IPeriodic {
 public:
  explicit SinePeriodic(std::uint64_t period) : period(period) {}

  float GetValue() override { return std::sin(ReadPhase(period) * FullTurn); }

 private:
  const std::uint64_t period;
};

class SquarePeriodic final : public IPeriodic {
 public:
  SquarePeriodic(std::uint64_t period, float duty) : period(period), duty(duty) {}

  float GetValue() override { return ReadPhase(period) >= duty ? 0.0F : 1.0F; }

 private:
  const std::uint64_t period;
  const float duty;
};

class TrianglePeriodic final : public IPeriodic {
 public:
  TrianglePeriodic(std::uint64_t period, float duty) : period(period), duty(duty) {}

  float GetValue() override {
    const float phase = ReadPhase(period);
    // With a duty of 0.0 there is no rising side: phase 0.0 is the peak, not 0.0 divided by 0.0.
    const bool isRising = duty >= phase && duty > 0.0F;
    return isRising ? phase / duty : (1.0F - phase) / (1.0F - duty);
  }

 private:
  const std::uint64_t period;
  const float duty;
};

class RisingSawtoothPeriodic final : public IPeriodic {
 public:
  explicit RisingSawtoothPeriodic(std::uint64_t period) : period(period) {}

  float GetValue() override { return ReadPhase(period); }

 private:
  const std::uint64_t period;
};

class FallingSawtoothPeriodic final : public IPeriodic {
 public:
  explicit FallingSawtoothPeriodic(std::uint64_t period) : period(period) {}

  float GetValue() override { return 1.0F - ReadPhase(period); }

 private:
  const std::uint64_t period;
};

class NullPeriodic final : public IPeriodic {
 public:
  float GetValue() override { return 1.0F; }
};

Vorn::IntrudablePtr<IPeriodic> MakePeriodicSignal(PeriodicKind kind, std::uint64_t period,
                                                  float duty) {
  using Signal = Vorn::IntrudablePtr<IPeriodic>;
  switch (kind) {
    case PeriodicKind::Sine:
      return Signal(new SinePeriodic(period));
    case PeriodicKind::Square:
      return Signal(new SquarePeriodic(period, ClampDuty(duty)));
    case PeriodicKind::Triangle:
      return Signal(new TrianglePeriodic(period, ClampDuty(duty)));
    case PeriodicKind::RisingSawtooth:
      return Signal(new RisingSawtoothPeriodic(period));
    case PeriodicKind::FallingSawtooth:
      return Signal(new FallingSawtoothPeriodic(period));
  }
  return Signal(new NullPeriodic);
}

}  // namespace Common
