// Reading the clock, a signal's value, and waiting: how late a wait returns and what it costs.
#include <algorithm>
#include <cmath>
#include <functional>
#include <thread>
#include <vector>

#include "bench.h"

namespace Common::Bench {
namespace {

constexpr float FullTurn = 6.2831855F;

// ---- The clock.

void RegisterClock() {
  STimeProvider* const clock = Clock::Get();
  RegisterJob("now/1/ours", [clock] { benchmark::DoNotOptimize(clock->Now()); });
  RegisterJob("now/1/floor", [origin = ReadMicroseconds()] {
    benchmark::DoNotOptimize(ReadMicroseconds() - origin);
  });
}

// The floor looks the clock up in the storage, as a signal must at every reading, but reads the
// system's clock without a call into the library.
void RegisterSignal() {
  const auto signal = Clock::Get()->MakePeriodic(PeriodicKind::Sine, 1'000'000, 0.0F);
  RegisterJob("signal_value/1/ours", [signal] { benchmark::DoNotOptimize(signal->GetValue()); });
  std::uint64_t period = 1'000'000;
  benchmark::DoNotOptimize(period);  // a variable: dividing by a constant is cheaper
  RegisterJob("signal_value/1/floor", [period, origin = ReadMicroseconds()] {
    const std::uint64_t inPeriod = (LookUpAndReadClock() - origin) % period;
    const float phase = static_cast<float>(inPeriod) / static_cast<float>(period);
    benchmark::DoNotOptimize(std::sin(phase * FullTurn));
  });
}

// ---- Waiting.

using Microseconds = std::chrono::duration<double, std::micro>;

double Percentile(std::vector<double> samples, double share) {
  const auto rank =
      static_cast<std::size_t>(std::ceil(share * static_cast<double>(samples.size()))) - 1;
  std::nth_element(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(rank),
                   samples.end());
  return samples[rank];
}

// Reports how late the waits were and how much processor time they took.
template <class Sleep>
void MeasureWaits(benchmark::State& state, std::uint64_t length, Sleep sleep) {
  std::vector<double> lateness;
  Microseconds spent{0};
  for (auto _ : state) {
    const std::chrono::nanoseconds spentBefore = ThreadTime();
    const auto before = std::chrono::steady_clock::now();
    sleep(length);
    const Microseconds taken = std::chrono::steady_clock::now() - before;
    spent += ThreadTime() - spentBefore;
    lateness.push_back((taken - std::chrono::microseconds(length)).count());
  }
  state.counters["late_median_us"] = Percentile(lateness, 0.5);
  state.counters["late_p99_us"] = Percentile(lateness, 0.99);
  state.counters["processor_us"] = spent.count() / static_cast<double>(lateness.size());
}

void RegisterWaits(bool smoke) {
  STimeProvider* const clock = Clock::Get();
  for (const std::uint64_t length : {200U, 1'000U, 5'000U, 16'667U}) {
    const auto add = [=](const std::string& who, auto sleep) {
      const auto run = [=](benchmark::State& state) { MeasureWaits(state, length, sleep); };
      benchmark::RegisterBenchmark(Name("wait", length, who).c_str(), run)
          ->Iterations(smoke ? 5 : 100)
          ->UseRealTime();
    };
    add("ours", [=](std::uint64_t microseconds) { clock->Wait(microseconds); });
    add("sleep_for", [](std::uint64_t microseconds) {
      std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
    });
  }
}

}  // namespace

void RegisterTime(const Plan& plan) {
  RegisterClock();
  RegisterSignal();
  RegisterWaits(plan.smoke);
}

}  // namespace Common::Bench
