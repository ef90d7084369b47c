#include <common/application_error_exception.h>
#include <common/time_provider.h>

#include <chrono>
#include <iostream>
#include <thread>
#include <vector>

#include "periodic_signals.h"

namespace Common {
namespace {

constexpr std::chrono::microseconds SleepStep{1000};

std::int32_t instanceCount = 0;

std::uint64_t ReadRawMicroseconds() {
  const std::chrono::nanoseconds reading = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(reading.count()) / 1000;
}

}  // namespace

class TimeProviderImpl final : public STimeProvider {
 public:
  void Calibrate();

  void SetOrigin(std::uint64_t rawMicroseconds) override { origin = rawMicroseconds; }
  std::uint64_t Now() override { return ReadRawMicroseconds() - origin; }
  void Wait(std::uint64_t microseconds) override;
  Vorn::IntrudablePtr<Vorn::IScoped> MakeTimeFiller(std::uint64_t microseconds) override;
  void RunTimingCheck() override;
  Vorn::IntrudablePtr<IPeriodic> MakePeriodic(PeriodicKind kind, std::uint64_t period,
                                              float duty) override;

 private:
  std::uint64_t origin = 0;
  std::uint64_t sleepThreshold = 0;  // a wait may sleep only while more than this remains
};

namespace {

class ScopedTimeFiller : public Vorn::IScoped {
 public:
  ScopedTimeFiller(TimeProviderImpl* maker, std::uint64_t microseconds)
      : startTime(maker->Now()), duration(microseconds), provider(maker) {}

  ~ScopedTimeFiller() override {
    const std::uint64_t elapsed = provider->Now() - startTime;
    if (elapsed < duration) provider->Wait(duration - elapsed);
  }

 private:
  const std::uint64_t startTime;
  const std::uint64_t duration;
  TimeProviderImpl* const provider;
};

}  // namespace

// Sets the zero of the clock, then measures what a sleep of one step really takes on this machine.
void TimeProviderImpl::Calibrate() {
  origin = ReadRawMicroseconds();
  const std::uint64_t before = Now();
  std::this_thread::sleep_for(SleepStep);
  sleepThreshold = (Now() - before) * 2;
}

void TimeProviderImpl::Wait(std::uint64_t microseconds) {
  const std::uint64_t target = Now() + microseconds;
  for (;;) {
    const std::uint64_t now = Now();
    if (target <= now) return;
    std::this_thread::yield();
    if (target - now > sleepThreshold) std::this_thread::sleep_for(SleepStep);
  }
}

Vorn::IntrudablePtr<Vorn::IScoped> TimeProviderImpl::MakeTimeFiller(std::uint64_t microseconds) {
  return Vorn::IntrudablePtr<Vorn::IScoped>(new ScopedTimeFiller(this, microseconds));
}

void TimeProviderImpl::RunTimingCheck() {
  const Vorn::Singleton<STimeProvider, std::shared_ptr> timeProvider;
  static const std::vector<std::int32_t> fillMilliseconds{1000, 500, 250, 125, 75, 30};
  for (const std::int32_t milliseconds : fillMilliseconds) {
    const std::uint64_t before = timeProvider.Get()->Now();
    timeProvider.Get()->MakeTimeFiller(static_cast<std::uint64_t>(milliseconds) * 1000);
    const std::uint64_t elapsed = timeProvider.Get()->Now() - before;
    std::cout << elapsed << "us : " << static_cast<float>(elapsed) * 1e-6F << "s\n";
  }
}

Vorn::IntrudablePtr<IPeriodic> TimeProviderImpl::MakePeriodic(PeriodicKind kind,
                                                              std::uint64_t period, float duty) {
  return MakePeriodicSignal(kind, period, duty);
}

STimeProvider* ManufactureTimeProvider() {
  if (++instanceCount > 1) throw ApplicationErrorException("Multiple instances of STimeProvider!");
  auto provider = std::make_unique<TimeProviderImpl>();
  provider->Calibrate();
  return provider.release();
}

}  // namespace Common
