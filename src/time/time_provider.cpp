#include <common/application_error_exception.h>
#include <common/measure_cost.h>
#include <common/time_provider.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <chrono>
#include <thread>

#include "../cancellation_pause.h"
#include "periodic_signals.h"
#include "timing.h"

namespace Common {
namespace {

constexpr std::chrono::microseconds SleepStep{1000};

std::int32_t instanceCount = 0;

}  // namespace

class TimeProviderImpl final : public STimeProvider {
 public:
  ~TimeProviderImpl() override;

  void Calibrate();

  void SetOrigin(std::uint64_t rawMicroseconds) override { origin = rawMicroseconds; }
  std::uint64_t Now() override { return Detail::ReadMonotonicMicroseconds() - origin; }
  void Wait(std::uint64_t microseconds) override;
  Vorn::IntrudablePtr<Vorn::IScoped> MakeTimeFiller(std::uint64_t microseconds) override;
  void RunTimingCheck() override;
  Vorn::IntrudablePtr<IPeriodic> MakePeriodic(PeriodicKind kind, std::uint64_t period,
                                              float duty) override;

  void AddFiller() { fillersAlive.fetch_add(1, std::memory_order_relaxed); }
  void RemoveFiller() { fillersAlive.fetch_sub(1, std::memory_order_relaxed); }

 private:
  std::uint64_t origin = 0;
  std::uint64_t sleepThreshold = 0;            // a wait may sleep only while more than this remains
  std::atomic<std::int64_t> fillersAlive = 0;  // fillers end on any thread
};

namespace {

class ScopedTimeFiller : public Vorn::IScoped {
 public:
  ScopedTimeFiller(std::uint64_t duration, TimeProviderImpl* provider)
      : startTime(provider->Now()), duration(duration), provider(provider) {
    provider->AddFiller();
  }

  // After SetOrigin has set the clock back, more than the duration seems to be left.
  ~ScopedTimeFiller() override {
    const CancellationPause pause;
    const std::uint64_t left = TimeLeft(startTime, duration, provider->Now());
    provider->Wait(std::min(left, duration));
    provider->RemoveFiller();
  }

 private:
  const std::uint64_t startTime;
  const std::uint64_t duration;
  TimeProviderImpl* const provider;
};

// How long a filler that is released at once takes, by the clock in the storage.
std::uint64_t FillScope(std::uint64_t microseconds) {
  const Vorn::Service<STimeProvider> timeProvider;
  const std::uint64_t before = timeProvider.Get()->Now();
  { const auto filler = timeProvider.Get()->MakeTimeFiller(microseconds); }
  return timeProvider.Get()->Now() - before;
}

}  // namespace

TimeProviderImpl::~TimeProviderImpl() {
  assert(fillersAlive == 0 && "a time filler outlives its clock");
}

// Measures how long a sleep of one step really takes on this machine.
void TimeProviderImpl::Calibrate() {
  origin = Detail::ReadMonotonicMicroseconds();
  const std::uint64_t before = Now();
  std::this_thread::sleep_for(SleepStep);
  sleepThreshold = (Now() - before) * 2;
}

void TimeProviderImpl::Wait(std::uint64_t microseconds) {
  const std::uint64_t start = Now();
  for (;;) {
    const std::uint64_t left = TimeLeft(start, microseconds, Now());
    if (left == 0) return;
    std::this_thread::yield();
    if (left > sleepThreshold) std::this_thread::sleep_for(SleepStep);
  }
}

Vorn::IntrudablePtr<Vorn::IScoped> TimeProviderImpl::MakeTimeFiller(std::uint64_t microseconds) {
  return Vorn::IntrudablePtr<Vorn::IScoped>(new ScopedTimeFiller(microseconds, this));
}

void TimeProviderImpl::RunTimingCheck() { PrintTimingCheck(FillScope); }

Vorn::IntrudablePtr<IPeriodic> TimeProviderImpl::MakePeriodic(PeriodicKind kind,
                                                              std::uint64_t period, float duty) {
  return MakePeriodicSignal(kind, period, duty, nullptr);
}

STimeProvider* ManufactureTimeProvider() {
  ++instanceCount;
  if (instanceCount > 1) throw ApplicationErrorException("Multiple instances of STimeProvider!");
  auto provider = std::make_unique<TimeProviderImpl>();
  provider->Calibrate();
  return provider.release();
}

}  // namespace Common
