// The kit: timers and posted calls beside those of event loops, and what a trace costs.
#include <common/kit/posted_calls.h>
#include <common/kit/timers.h>
#include <common/kit/trace.h>

#include <functional>
#include <random>

#include "bench.h"
#include "event_loops.h"

namespace Common::Bench {
namespace {

using Kit::PostedCalls;
using Kit::Timers;
using Kit::Trace;
using Kit::TracedMeasurement;

constexpr std::size_t WaitingCount = 100'000;
constexpr std::uint64_t FarMicroseconds = 3'600'000'000;

// ---- Timers. `WaitingCount` of each kind wait, an hour and more ahead in random order.

std::uint64_t FarDelay() {
  static std::minstd_rand random(7);
  return FarMicroseconds + random();
}

class OurTimers {
 public:
  OurTimers(SFrameUtility* frames, std::size_t count)
      : frames(frames), timers(*frames), ids(count) {}

  void Start(std::size_t index, std::uint64_t delay) {
    ids[index] = timers.After(delay, [this] { ++served; });
  }
  void Stop(std::size_t index) { timers.Cancel(ids[index]); }
  void Turn() { frames->Tick(); }

 private:
  SFrameUtility* const frames;
  std::uint64_t served = 0;
  Timers timers;
  std::vector<Timers::Id> ids;
};

template <class AnyTimers>
void StartAll(AnyTimers& timers) {
  for (std::size_t index = 0; index < WaitingCount; ++index) timers.Start(index, FarDelay());
}

// Cancels timers all over the heap, and makes each again. Some turns let a loop drop old ones.
template <class AnyTimers>
void CancelAndMake(benchmark::State& state, AnyTimers&& timers) {
  constexpr std::size_t Stride = 7919;
  constexpr std::size_t CancelsATurn = 1'000;
  StartAll(timers);
  std::size_t cancelled = 0;
  for (auto _ : state) {
    const std::size_t index = cancelled * Stride % WaitingCount;
    timers.Stop(index);
    timers.Start(index, FarDelay());
    if (++cancelled % CancelsATurn == 0) timers.Turn();
  }
}

// A turn serves the one timer that is due. A loop's turn also looks at the system's events.
template <class AnyTimers>
void Serve(benchmark::State& state, AnyTimers&& timers) {
  StartAll(timers);
  timers.Stop(0);
  for (auto _ : state) {
    timers.Start(0, 0);
    timers.Turn();
  }
}

template <class MakeTimers>
void RegisterTimers(const std::string& who, MakeTimers makeTimers) {
  benchmark::RegisterBenchmark(
      Name("timer_cancel_and_make", WaitingCount, who).c_str(),
      [=](benchmark::State& state) { CancelAndMake(state, *makeTimers()); });
  benchmark::RegisterBenchmark(Name("timer_serve", WaitingCount, who).c_str(),
                               [=](benchmark::State& state) { Serve(state, *makeTimers()); });
}

// ---- Posted calls.

class OurPosts {
 public:
  explicit OurPosts(SFrameUtility* frames) : frames(frames), calls(*frames) {}

  void Post() {
    calls.Post([this] { ++served; });
  }
  void Turn() { frames->Tick(); }

 private:
  SFrameUtility* const frames;
  PostedCalls calls;
  alignas(CacheLine) std::uint64_t served = 0;
};

// Every thread posts. The first one serves all calls after each hundred of its own.
template <class MakePosts>
void RegisterPosts(const std::string& who, MakePosts makePosts) {
  constexpr int PostsATurn = 100;
  const auto posts = std::make_shared<decltype(makePosts())>();
  const auto run = [=](benchmark::State& state) {
    const bool serves = state.thread_index() == 0;
    if (serves) *posts = makePosts();
    int untilServed = PostsATurn;
    for (auto _ : state) {
      (*posts)->Post();
      if (!serves || --untilServed > 0) continue;
      (*posts)->Turn();
      untilServed = PostsATurn;
    }
    if (serves) posts->reset();
  };
  for (const int threads : {1, 4}) {
    benchmark::RegisterBenchmark(Name("post_and_serve", threads, who).c_str(), run)
        ->Threads(threads)
        ->UseRealTime();
  }
}

// ---- The trace.

// Opens accumulators in turn.
class Accumulators {
 public:
  Accumulators(SPerformanceProfiler* profiler, int count) : profiler(profiler) {
    for (int index = 0; index < count; ++index)
      names.push_back("traced_frame_" + std::to_string(index));
  }

  AccumulatorHandle OpenNext() {
    next = next + 1 < names.size() ? next + 1 : 0;
    return profiler->OpenAccumulator(names[next]);
  }

 private:
  SPerformanceProfiler* const profiler;
  std::vector<std::string> names;
  std::size_t next = 0;
};

const std::string SimulationName = "simulation";

void RegisterTrace(SPerformanceProfiler* profiler, int accumulatorCount) {
  const auto trace = std::make_shared<Trace>(10'000);
  const auto accumulators = std::make_shared<Accumulators>(profiler, accumulatorCount);
  RegisterJob(Name("traced_records", accumulatorCount, "ours"), [=] {
    TracedMeasurement measurement(accumulators->OpenNext(), *trace);
    measurement.GoOnTo(SimulationName);
  });
  RegisterJob(Name("traced_records", accumulatorCount, "untraced"), [=] {
    ScopedMeasurement measurement(accumulators->OpenNext());
    measurement.GoOnTo(SimulationName);
  });
}

void RegisterReading(SPerformanceProfiler* profiler) {
  constexpr std::size_t Count = 2'500;
  const auto trace = std::make_shared<Trace>(Count);
  for (std::size_t index = 0; index < Count; ++index) {
    const TracedMeasurement measurement(profiler->OpenAccumulator(SimulationName), *trace);
  }
  RegisterJob(Name("trace_for_each", Count, "ours"), [=] {
    std::uint64_t sum = 0;
    trace->ForEach([&sum](const Trace::Measurement& measured) { sum += measured.duration; });
    benchmark::DoNotOptimize(sum);
  });
  const std::vector<Trace::Measurement> measurements(Count);
  RegisterJob(Name("trace_for_each", Count, "floor"), [=] {
    std::uint64_t sum = 0;
    const std::function<void(const Trace::Measurement&)> use =
        [&sum](const Trace::Measurement& measured) { sum += measured.duration; };
    for (const Trace::Measurement& measured : measurements) use(measured);
    benchmark::DoNotOptimize(sum);
  });
}

}  // namespace

void RegisterKit(const Plan& plan) {
  SFrameUtility* const frames = plan.services.frames.get();
  RegisterTimers("ours", [=] { return std::make_unique<OurTimers>(frames, WaitingCount); });
  RegisterTimers("asio", [] { return std::make_unique<AsioTimers>(WaitingCount); });
  RegisterTimers("libuv", [] { return std::make_unique<UvTimers>(WaitingCount); });
  RegisterPosts("ours", [=] { return std::make_unique<OurPosts>(frames); });
  RegisterPosts("asio_post", [] { return std::make_unique<AsioPosts>(); });
  RegisterPosts("uv_async", [] { return std::make_unique<UvPosts>(); });
  for (const int accumulators : {1, 200}) RegisterTrace(plan.services.profiler.get(), accumulators);
  RegisterReading(plan.services.profiler.get());
}

}  // namespace Common::Bench
