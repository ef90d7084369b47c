#include "periodic_signals.h"

#include <cmath>

namespace Common {
namespace {

constexpr float FullTurn = 6.2831855F;

const Vorn::Service<STimeProvider> timeProvider;

class Cycle {
 public:
  Cycle(std::uint64_t period, STimeProvider* clock) : period(period), clock(clock) {}

  // The phase, from 0.0 to 1.0. Both operands of the division are in single precision, which makes
  // the phase of long periods move in steps.
  float ReadPhase() const {
    const std::uint64_t now = (clock != nullptr ? clock : timeProvider.Get())->Now();
    if (period == 0) return 0.0F;
    return static_cast<float>(now % period) / static_cast<float>(period);
  }

 private:
  const std::uint64_t period;
  STimeProvider* const clock;
};

float ClampDuty(float duty) {
  if (std::isnan(duty)) return 0.0F;
  return std::fmin(std::fmax(duty, 0.0F), 1.0F);
}

}  // namespace

class SinePeriodic final : public IPeriodic {
 public:
  explicit SinePeriodic(const Cycle& cycle) : cycle(cycle) {}

  float GetValue() override { return std::sin(cycle.ReadPhase() * FullTurn); }

 private:
  const Cycle cycle;
};

class SquarePeriodic final : public IPeriodic {
 public:
  SquarePeriodic(const Cycle& cycle, float duty) : cycle(cycle), duty(duty) {}

  float GetValue() override { return cycle.ReadPhase() >= duty ? 0.0F : 1.0F; }

 private:
  const Cycle cycle;
  const float duty;
};

class TrianglePeriodic final : public IPeriodic {
 public:
  TrianglePeriodic(const Cycle& cycle, float duty) : cycle(cycle), duty(duty) {}

  float GetValue() override {
    const float phase = cycle.ReadPhase();
    // With a duty of 0.0 there is no rising side: phase 0.0 is the peak, not 0.0 divided by 0.0.
    const bool isRising = duty >= phase && duty > 0.0F;
    return isRising ? phase / duty : (1.0F - phase) / (1.0F - duty);
  }

 private:
  const Cycle cycle;
  const float duty;
};

class RisingSawtoothPeriodic final : public IPeriodic {
 public:
  explicit RisingSawtoothPeriodic(const Cycle& cycle) : cycle(cycle) {}

  float GetValue() override { return cycle.ReadPhase(); }

 private:
  const Cycle cycle;
};

class FallingSawtoothPeriodic final : public IPeriodic {
 public:
  explicit FallingSawtoothPeriodic(const Cycle& cycle) : cycle(cycle) {}

  float GetValue() override { return 1.0F - cycle.ReadPhase(); }

 private:
  const Cycle cycle;
};

class NullPeriodic final : public IPeriodic {
 public:
  float GetValue() override { return 1.0F; }
};

Vorn::IntrudablePtr<IPeriodic> MakePeriodicSignal(PeriodicKind kind, std::uint64_t period,
                                                  float duty, STimeProvider* clock) {
  using Signal = Vorn::IntrudablePtr<IPeriodic>;
  const Cycle cycle(period, clock);
  switch (kind) {
    case PeriodicKind::Sine:
      return Signal(new SinePeriodic(cycle));
    case PeriodicKind::Square:
      return Signal(new SquarePeriodic(cycle, ClampDuty(duty)));
    case PeriodicKind::Triangle:
      return Signal(new TrianglePeriodic(cycle, ClampDuty(duty)));
    case PeriodicKind::RisingSawtooth:
      return Signal(new RisingSawtoothPeriodic(cycle));
    case PeriodicKind::FallingSawtooth:
      return Signal(new FallingSawtoothPeriodic(cycle));
  }
  return Signal(new NullPeriodic);
}

}  // namespace Common
