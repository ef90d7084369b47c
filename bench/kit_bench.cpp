// The kit: timers and posted calls beside those of event loops, and what a trace adds to a
// measurement.
#include <common/kit/posted_calls.h>
#include <common/kit/timers.h>
#include <common/kit/trace.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <uv.h>

#include <deque>
#include <functional>
#include <mutex>
#include <random>

#include "bench.h"

namespace Common::Bench {
namespace {

using Kit::PostedCalls;
using Kit::Timers;
using Kit::Trace;
using Kit::TracedMeasurement;

constexpr std::size_t WaitingCount = 100'000;
constexpr std::uint64_t FarMicroseconds = 3'600'000'000;

// ---- Timers. Each kind keeps `WaitingCount` timers waiting, an hour and more ahead in random
// order. `Arm` makes one, `Disarm` cancels it; `ServeSoon` makes one that is due at once and serves
// it.

std::uint64_t FarDelay() {
  static std::minstd_rand random(7);
  return FarMicroseconds + random();
}

class OurTimers {
 public:
  explicit OurTimers(SFrameUtility* frames) : frames(frames), timers(*frames) {}

  void Arm(std::size_t index) {
    ids[index] = timers.After(FarDelay(), [this] { ++served; });
  }
  void Disarm(std::size_t index) { timers.Cancel(ids[index]); }
  void ServeSoon(std::size_t index) {
    ids[index] = timers.After(0, [this] { ++served; });
    frames->Tick();
  }

 private:
  SFrameUtility* const frames;
  std::uint64_t served = 0;
  Timers timers;
  std::vector<Timers::Id> ids = std::vector<Timers::Id>(WaitingCount);
};

// The timers are there beforehand: a host would keep them.
class AsioWaits {
 public:
  AsioWaits() {
    for (std::size_t index = 0; index < WaitingCount; ++index) timers.emplace_back(context);
  }

  void Arm(std::size_t index) { Start(index, std::chrono::microseconds(FarDelay())); }
  void Disarm(std::size_t index) {
    constexpr std::size_t CancelledWaitsKept = 1'000;
    timers[index].cancel();
    if (++disarmed % CancelledWaitsKept == 0) context.poll();  // hands the cancelled waits out
  }
  void ServeSoon(std::size_t index) {
    Start(index, std::chrono::microseconds(0));
    context.poll();
  }

 private:
  void Start(std::size_t index, std::chrono::microseconds delay) {
    timers[index].expires_after(delay);
    timers[index].async_wait([this](const boost::system::error_code& error) {
      if (!error) ++served;
    });
  }

  std::uint64_t served = 0;
  std::size_t disarmed = 0;
  boost::asio::io_context context{BOOST_ASIO_CONCURRENCY_HINT_UNSAFE};
  std::deque<boost::asio::steady_timer> timers;
};

class UvWaits {
 public:
  UvWaits() {
    uv_loop_init(&loop);
    for (uv_timer_t& timer : timers) {
      uv_timer_init(&loop, &timer);
      timer.data = &served;
    }
  }
  ~UvWaits() {
    for (uv_timer_t& timer : timers) uv_close(reinterpret_cast<uv_handle_t*>(&timer), nullptr);
    uv_run(&loop, UV_RUN_DEFAULT);
    uv_loop_close(&loop);
  }

  UvWaits(const UvWaits&) = delete;
  UvWaits& operator=(const UvWaits&) = delete;

  void Arm(std::size_t index) { uv_timer_start(&timers[index], Count, FarDelay() / 1000, 0); }
  void Disarm(std::size_t index) { uv_timer_stop(&timers[index]); }
  void ServeSoon(std::size_t index) {
    uv_timer_start(&timers[index], Count, 0, 0);
    uv_run(&loop, UV_RUN_NOWAIT);
  }

 private:
  static void Count(uv_timer_t* fired) { ++*static_cast<std::uint64_t*>(fired->data); }

  std::uint64_t served = 0;
  uv_loop_t loop{};
  std::vector<uv_timer_t> timers = std::vector<uv_timer_t>(WaitingCount);
};

template <class Waits>
void ArmAll(Waits& waits) {
  for (std::size_t index = 0; index < WaitingCount; ++index) waits.Arm(index);
}

// Cancels timers that lie all over the heap, and makes each anew.
template <class Waits>
void CancelAndMake(benchmark::State& state, Waits&& waits) {
  constexpr std::size_t Stride = 7919;
  ArmAll(waits);
  std::size_t index = 0;
  for (auto _ : state) {
    waits.Disarm(index);
    waits.Arm(index);
    index = (index + Stride) % WaitingCount;
  }
}

// One timer comes due among all that wait, and one turn of the loop serves it: a tick, or a look at
// the system's events too.
template <class Waits>
void Serve(benchmark::State& state, Waits&& waits) {
  ArmAll(waits);
  waits.Disarm(0);
  for (auto _ : state) waits.ServeSoon(0);
}

template <class MakeWaits>
void RegisterWaits(const std::string& who, MakeWaits makeWaits) {
  benchmark::RegisterBenchmark(
      Name("timer_cancel_and_make", WaitingCount, who).c_str(),
      [=](benchmark::State& state) { CancelAndMake(state, *makeWaits()); });
  benchmark::RegisterBenchmark(Name("timer_serve", WaitingCount, who).c_str(),
                               [=](benchmark::State& state) { Serve(state, *makeWaits()); });
}

// ---- Posted calls. `Post` is for any thread; `Serve` runs what has been posted. Its count lies
// apart from what the posting threads read.

constexpr std::size_t CacheLine = 64;

class OurPosts {
 public:
  explicit OurPosts(SFrameUtility* frames) : frames(frames), calls(*frames) {}

  void Post() {
    calls.Post([this] { ++served; });
  }
  void Serve() { frames->Tick(); }

 private:
  SFrameUtility* const frames;
  PostedCalls calls;
  alignas(CacheLine) std::uint64_t served = 0;
};

class AsioPosts {
 public:
  void Post() {
    boost::asio::post(context, [this] { ++served; });
  }
  void Serve() {
    context.restart();
    context.poll();
  }

 private:
  static constexpr int ThreadsThatServe = 1;

  boost::asio::io_context context{ThreadsThatServe};
  alignas(CacheLine) std::uint64_t served = 0;
};

// An async wakes the loop, and brings no queue.
class UvPosts {
 public:
  UvPosts() {
    uv_loop_init(&loop);
    uv_async_init(&loop, &async,
                  [](uv_async_t* woken) { static_cast<UvPosts*>(woken->data)->RunPosted(); });
    async.data = this;
  }
  ~UvPosts() {
    uv_close(reinterpret_cast<uv_handle_t*>(&async), nullptr);
    uv_run(&loop, UV_RUN_DEFAULT);
    uv_loop_close(&loop);
  }

  UvPosts(const UvPosts&) = delete;
  UvPosts& operator=(const UvPosts&) = delete;

  void Post() {
    {
      const std::lock_guard lock(mutex);
      posted.emplace_back([this] { ++served; });
    }
    uv_async_send(&async);
  }
  void Serve() { uv_run(&loop, UV_RUN_NOWAIT); }

 private:
  void RunPosted() {
    {
      const std::lock_guard lock(mutex);
      posted.swap(batch);
    }
    for (const std::function<void()>& call : batch) call();
    batch.clear();
  }

  uv_loop_t loop{};
  uv_async_t async{};
  std::mutex mutex;
  std::vector<std::function<void()>> posted;
  std::vector<std::function<void()>> batch;
  alignas(CacheLine) std::uint64_t served = 0;
};

// Every thread posts, and the first one serves them all whenever it has posted a hundred.
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
      (*posts)->Serve();
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

// What each use of a trace opens next of so many accumulators.
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

// One measurement of two records, with the trace and without.
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

// Adds up what the measurements of a full ring took.
void RegisterReading(SPerformanceProfiler* profiler) {
  constexpr std::size_t Count = 2'500;
  const auto trace = std::make_shared<Trace>(Count);
  for (std::size_t index = 0; index < Count; ++index)
    TracedMeasurement(profiler->OpenAccumulator(SimulationName), *trace);
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
  RegisterWaits("ours", [=] { return std::make_unique<OurTimers>(frames); });
  RegisterWaits("asio", [] { return std::make_unique<AsioWaits>(); });
  RegisterWaits("libuv", [] { return std::make_unique<UvWaits>(); });
  RegisterPosts("ours", [=] { return std::make_unique<OurPosts>(frames); });
  RegisterPosts("asio_post", [] { return std::make_unique<AsioPosts>(); });
  RegisterPosts("uv_async", [] { return std::make_unique<UvPosts>(); });
  for (const int accumulators : {1, 200}) RegisterTrace(plan.services.profiler.get(), accumulators);
  RegisterReading(plan.services.profiler.get());
}

}  // namespace Common::Bench
