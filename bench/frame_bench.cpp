// A tick with many reactors, and delayed calls: scheduled, served, cancelled.
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>
#include <uv.h>

#include <algorithm>
#include <array>
#include <deque>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "bench.h"

namespace Common::Bench {
namespace {

constexpr std::array Counts{1'000, 10'000, 100'000};

// What every callback does.
auto AddTo(std::uint64_t* sum) {
  return [sum](std::uint64_t value) { *sum += value; };
}

// As a service has to: look the clock up, then read it.
std::uint64_t LookUpAndReadClock() {
  benchmark::DoNotOptimize(Clock::Get());
  const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::microseconds>(sinceStart).count());
}

// Free pieces all over the heap, as every engine has after a while. The heap is whole again when
// this ends, so no other job meets them.
class HeapInPieces {
 public:
  HeapInPieces() {
    constexpr std::size_t Pieces = 300'000;
    constexpr std::size_t Sizes = 12;
    for (std::size_t index = 0; index < Pieces; ++index)
      pieces.push_back(std::make_unique<char[]>(16 + 16 * (index % Sizes)));
    std::shuffle(pieces.begin(), pieces.end(), std::minstd_rand(1));
    pieces.resize(Pieces / 2);
  }

 private:
  std::vector<std::unique_ptr<char[]>> pieces;
};

// ---- Reactors.

void TickReactors(benchmark::State& state, SFrameUtility* frames, int count,
                  std::uint64_t interval) {
  const HeapInPieces heap;
  std::uint64_t sum = 0;
  std::vector<Vorn::IntrudablePtr<IFrameReactor>> reactors;
  for (int index = 0; index < count; ++index) {
    reactors.push_back(frames->CreateReactor(interval));
    reactors.back()->SetCallback(AddTo(&sum));
  }
  for (auto _ : state) frames->Tick();
  benchmark::DoNotOptimize(sum);
}

// In random order, as the objects of a scene go that hold them.
void ReleaseReactors(benchmark::State& state, SFrameUtility* frames, std::size_t count) {
  std::vector<Vorn::IntrudablePtr<IFrameReactor>> reactors(count);
  for (auto _ : state) {
    for (auto& reactor : reactors) reactor = frames->CreateReactor(0);
    std::shuffle(reactors.begin(), reactors.end(), std::minstd_rand(1));
    const std::chrono::nanoseconds before = ThreadTime();
    for (auto& reactor : reactors) reactor = nullptr;
    const std::chrono::duration<double> taken = ThreadTime() - before;
    state.SetIterationTime(taken.count());
  }
}

void EmitSignal(benchmark::State& state, int count) {
  const HeapInPieces heap;
  namespace Signals = boost::signals2;
  using Signal = Signals::signal_type<void(std::uint64_t),
                                      Signals::keywords::mutex_type<Signals::dummy_mutex>>::type;
  std::uint64_t sum = 0;
  Signal signal;
  for (int index = 0; index < count; ++index) signal.connect(AddTo(&sum));
  std::uint64_t frame = 0;
  for (auto _ : state) signal(++frame);
  benchmark::DoNotOptimize(sum);
}

// `before` is what each call costs on top of the call itself.
template <class Before>
void CallEach(benchmark::State& state, int count, Before before) {
  std::uint64_t sum = 0;
  const std::vector<std::function<void(std::uint64_t)>> callbacks(static_cast<std::size_t>(count),
                                                                  AddTo(&sum));
  std::uint64_t frame = 0;
  for (auto _ : state) {
    ++frame;
    for (const auto& callback : callbacks) {
      before();
      callback(frame);
    }
  }
  benchmark::DoNotOptimize(sum);
}

void RegisterReactors(SFrameUtility* frames, int count) {
  const auto add = [count](const std::string& job, const std::string& who, auto run) {
    benchmark::RegisterBenchmark(Name(job, count, who).c_str(), run);
  };
  for (const std::uint64_t interval : {0U, 1U}) {
    add("tick_interval_" + std::to_string(interval), "ours",
        [=](benchmark::State& state) { TickReactors(state, frames, count, interval); });
  }
  add("tick_interval_0", "signals2", [=](benchmark::State& state) { EmitSignal(state, count); });
  add("tick_interval_0", "floor", [=](benchmark::State& state) { CallEach(state, count, [] {}); });
  add("tick_interval_1", "floor", [=](benchmark::State& state) {
    CallEach(state, count, [] { benchmark::DoNotOptimize(LookUpAndReadClock()); });
  });
}

void RegisterRelease(SFrameUtility* frames, std::size_t count) {
  const auto release = [=](benchmark::State& state) { ReleaseReactors(state, frames, count); };
  benchmark::RegisterBenchmark(Name("release_reactors", count, "ours").c_str(), release)
      ->UseManualTime();
}

// ---- Delayed calls. Each kind schedules `count` calls that are due at once, cancels one of them
// by what scheduling it returned, and serves the others.

class OurCalls {
 public:
  OurCalls(SFrameUtility* frames, std::size_t count) : frames(frames), ids(count) {}

  void Schedule() {
    for (std::uint64_t& id : ids) id = frames->ScheduleCall(AddTo(&sum), 1, 0);
  }
  void Cancel(std::size_t index) { frames->CancelCall(ids[index]); }
  void Serve() { frames->Tick(); }

 private:
  SFrameUtility* const frames;
  std::uint64_t sum = 0;
  std::vector<std::uint64_t> ids;
};

// The timers are there beforehand: a host would keep them.
class AsioTimers {
 public:
  explicit AsioTimers(std::size_t count) {
    for (std::size_t index = 0; index < count; ++index) timers.emplace_back(context);
  }

  void Schedule() {
    for (auto& timer : timers) {
      timer.expires_after(std::chrono::steady_clock::duration::zero());
      timer.async_wait([add = AddTo(&sum)](const boost::system::error_code& error) {
        if (!error) add(1);
      });
    }
  }
  void Cancel(std::size_t index) { timers[index].cancel(); }
  void Serve() {
    context.run();
    context.restart();
  }

 private:
  std::uint64_t sum = 0;
  boost::asio::io_context context{BOOST_ASIO_CONCURRENCY_HINT_UNSAFE};
  std::deque<boost::asio::steady_timer> timers;
};

class UvTimers {
 public:
  explicit UvTimers(std::size_t count) : timers(count) {
    uv_loop_init(&loop);
    for (uv_timer_t& timer : timers) {
      uv_timer_init(&loop, &timer);
      timer.data = &sum;
    }
  }
  ~UvTimers() {
    for (uv_timer_t& timer : timers) uv_close(reinterpret_cast<uv_handle_t*>(&timer), nullptr);
    uv_run(&loop, UV_RUN_DEFAULT);
    uv_loop_close(&loop);
  }

  UvTimers(const UvTimers&) = delete;
  UvTimers& operator=(const UvTimers&) = delete;

  void Schedule() {
    const uv_timer_cb addOne = [](uv_timer_t* fired) {
      *static_cast<std::uint64_t*>(fired->data) += 1;
    };
    for (uv_timer_t& timer : timers) uv_timer_start(&timer, addOne, 0, 0);
  }
  void Cancel(std::size_t index) { uv_timer_stop(&timers[index]); }
  void Serve() { uv_run(&loop, UV_RUN_DEFAULT); }

 private:
  std::uint64_t sum = 0;
  uv_loop_t loop{};
  std::vector<uv_timer_t> timers;
};

// A queue of what a call consists of. Scheduling looks the clock up and reads it; cancelling halves
// the queue, which is in the order of its ids, and empties all calls of an id; serving compares
// each delay with one reading.
class QueueFloor {
 public:
  explicit QueueFloor(std::size_t count) : ids(count) {}

  void Schedule() {
    for (std::uint64_t& id : ids) {
      id = LookUpAndReadClock();
      queue.push_back({id, 0, 1, AddTo(&sum)});
    }
  }
  void Cancel(std::size_t index) {
    const std::uint64_t id = ids[index];
    auto call = std::lower_bound(queue.begin(), queue.end(), id,
                                 [](const Call& left, auto right) { return left.stamp < right; });
    for (; call != queue.end() && call->stamp == id; ++call) {
      call->delay = 0;
      call->callback = [](std::uint64_t) {};
    }
  }
  void Serve() {
    const std::uint64_t now = LookUpAndReadClock();
    for (; !queue.empty(); queue.pop_front()) {
      const Call& front = queue.front();
      if (now - front.stamp < front.delay) return;
      front.callback(front.argument);
    }
  }

 private:
  struct Call {
    std::uint64_t stamp;
    std::uint64_t delay;
    std::uint64_t argument;
    std::function<void(std::uint64_t)> callback;
  };

  std::uint64_t sum = 0;
  std::vector<std::uint64_t> ids;
  std::deque<Call> queue;
};

template <class Calls>
void ScheduleAndServe(benchmark::State& state, Calls&& calls, std::size_t count) {
  for (auto _ : state) {
    calls.Schedule();
    calls.Cancel(count / 2);
    calls.Serve();
  }
}

// Each cancelled call is a live one, and they lie all over the queue.
template <class Calls>
void CancelOneByOne(benchmark::State& state, Calls&& calls, std::size_t count) {
  constexpr std::size_t Stride = 7919;
  std::size_t cancelled = 0;
  calls.Schedule();
  for (auto _ : state) {
    calls.Cancel(cancelled * Stride % count);
    if (++cancelled < count) continue;
    state.PauseTiming();
    cancelled = 0;
    calls.Serve();
    calls.Schedule();
    state.ResumeTiming();
  }
  calls.Serve();
}

void RegisterCalls(SFrameUtility* frames, std::size_t count) {
  const auto add = [count](const std::string& who, auto makeCalls) {
    benchmark::RegisterBenchmark(
        Name("delayed_calls", count, who).c_str(),
        [=](benchmark::State& state) { ScheduleAndServe(state, *makeCalls(), count); });
  };
  const auto addCancel = [count](const std::string& who, auto makeCalls) {
    benchmark::RegisterBenchmark(
        Name("cancel_one_call", count, who).c_str(),
        [=](benchmark::State& state) { CancelOneByOne(state, *makeCalls(), count); });
  };
  const auto makeOurs = [=] { return std::make_unique<OurCalls>(frames, count); };
  const auto makeAsio = [=] { return std::make_unique<AsioTimers>(count); };
  const auto makeUv = [=] { return std::make_unique<UvTimers>(count); };
  add("ours", makeOurs);
  add("asio", makeAsio);
  add("libuv", makeUv);
  const auto makeFloor = [=] { return std::make_unique<QueueFloor>(count); };
  add("floor", makeFloor);
  addCancel("ours", makeOurs);
  addCancel("asio", makeAsio);
  addCancel("libuv", makeUv);
  addCancel("floor", makeFloor);
}

}  // namespace

void RegisterFrame(const Plan& plan) {
  SFrameUtility* const frames = plan.services.frames.get();
  for (const int count : Counts) {
    RegisterReactors(frames, count);
    RegisterCalls(frames, static_cast<std::size_t>(count));
  }
  for (const std::size_t count : {250'000U, 1'000'000U}) RegisterRelease(frames, count);
}

}  // namespace Common::Bench
