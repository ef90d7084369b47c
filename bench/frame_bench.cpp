// A tick with many reactors, and delayed calls: scheduled, served, cancelled.
#include <algorithm>
#include <array>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "bench.h"
#include "event_loops.h"

namespace Common::Bench {
namespace {

constexpr std::array<std::size_t, 3> Counts{1'000, 10'000, 100'000};

auto AddTo(std::uint64_t* sum) {
  return [sum](std::uint64_t value) { *sum += value; };
}

// Leaves free pieces all over the heap while it lives, as in every engine after a while.
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

void TickReactors(benchmark::State& state, SFrameUtility* frames, std::size_t count,
                  std::uint64_t interval) {
  const HeapInPieces heap;
  std::uint64_t sum = 0;
  std::vector<Vorn::IntrudablePtr<IFrameReactor>> reactors;
  for (std::size_t index = 0; index < count; ++index) {
    reactors.push_back(frames->CreateReactor(interval));
    reactors.back()->SetCallback(AddTo(&sum));
  }
  for (auto _ : state) frames->Tick();
  benchmark::DoNotOptimize(sum);
}

// In random order, as objects of a scene end.
template <class Make, class Release>
void ReleaseInRandomOrder(benchmark::State& state, std::size_t count, Make make, Release release) {
  std::vector<decltype(make())> objects(count);
  for (auto _ : state) {
    std::ranges::generate(objects, make);
    std::shuffle(objects.begin(), objects.end(), std::minstd_rand(1));
    const std::chrono::nanoseconds before = ThreadTime();
    std::ranges::for_each(objects, release);
    const std::chrono::duration<double> taken = ThreadTime() - before;
    state.SetIterationTime(taken.count());
  }
}

void ReleaseReactors(benchmark::State& state, SFrameUtility* frames, std::size_t count) {
  ReleaseInRandomOrder(
      state, count, [=] { return frames->CreateReactor(0); },
      [](auto& reactor) { reactor = nullptr; });
}

// The floor: a map keeps the callbacks in order, and each can leave without moving others.
void EraseFromMap(benchmark::State& state, std::size_t count) {
  std::uint64_t sum = 0;
  std::map<std::size_t, std::function<void(std::uint64_t)>> callbacks;
  ReleaseInRandomOrder(
      state, count,
      [&] { return callbacks.emplace_hint(callbacks.end(), callbacks.size(), AddTo(&sum)); },
      [&](auto place) { callbacks.erase(place); });
}

// `before` is what each call costs beside the call itself.
template <class Before>
void CallEach(benchmark::State& state, std::size_t count, Before before) {
  std::uint64_t sum = 0;
  const std::vector<std::function<void(std::uint64_t)>> callbacks(count, AddTo(&sum));
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

void RegisterReactors(SFrameUtility* frames, std::size_t count) {
  const auto add = [count](const std::string& job, const std::string& who, auto run) {
    benchmark::RegisterBenchmark(Name(job, count, who).c_str(), run);
  };
  for (const std::uint64_t interval : {0U, 1U}) {
    add("tick_interval_" + std::to_string(interval), "ours",
        [=](benchmark::State& state) { TickReactors(state, frames, count, interval); });
  }
  add("tick_interval_0", "floor", [=](benchmark::State& state) { CallEach(state, count, [] {}); });
  add("tick_interval_1", "floor", [=](benchmark::State& state) {
    CallEach(state, count, [] { benchmark::DoNotOptimize(LookUpAndReadClock()); });
  });
}

void RegisterRelease(SFrameUtility* frames, std::size_t count) {
  const auto add = [count](const std::string& who, auto run) {
    benchmark::RegisterBenchmark(Name("release_reactors", count, who).c_str(), run)
        ->UseManualTime();
  };
  add("ours", [=](benchmark::State& state) { ReleaseReactors(state, frames, count); });
  add("floor", [=](benchmark::State& state) { EraseFromMap(state, count); });
}

// ---- Delayed calls, as another kind of timers: Start keeps the id that Stop cancels.

class OurCalls {
 public:
  OurCalls(SFrameUtility* frames, std::size_t count) : frames(frames), ids(count) {}

  void Start(std::size_t index, std::uint64_t delay) {
    ids[index] = frames->ScheduleCall(AddTo(&sum), 1, delay);
  }
  void Stop(std::size_t index) { frames->CancelCall(ids[index]); }
  void Turn() { frames->Tick(); }

 private:
  SFrameUtility* const frames;
  std::uint64_t sum = 0;
  std::vector<std::uint64_t> ids;
};

// In the order of ids, so Stop finds calls by binary search, and empties all with that id.
class QueueFloor {
 public:
  explicit QueueFloor(std::size_t count) : ids(count) {}

  void Start(std::size_t index, std::uint64_t delay) {
    ids[index] = LookUpAndReadClock();
    queue.push_back({ids[index], delay, 1, AddTo(&sum)});
  }
  void Stop(std::size_t index) {
    const std::uint64_t id = ids[index];
    auto call = std::lower_bound(queue.begin(), queue.end(), id,
                                 [](const Call& left, auto right) { return left.stamp < right; });
    for (; call != queue.end() && call->stamp == id; ++call) {
      call->delay = 0;
      call->callback = [](std::uint64_t) {};
    }
  }
  void Turn() {
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
void StartAll(Calls& calls, std::size_t count) {
  for (std::size_t index = 0; index < count; ++index) calls.Start(index, 0);
}

template <class Calls>
void ScheduleAndServe(benchmark::State& state, Calls&& calls, std::size_t count) {
  for (auto _ : state) {
    StartAll(calls, count);
    calls.Stop(count / 2);
    calls.Turn();
  }
}

// Cancels live calls all over the queue.
template <class Calls>
void CancelOneByOne(benchmark::State& state, Calls&& calls, std::size_t count) {
  constexpr std::size_t Stride = 7919;
  std::size_t cancelled = 0;
  StartAll(calls, count);
  for (auto _ : state) {
    calls.Stop(cancelled * Stride % count);
    if (++cancelled < count) continue;
    state.PauseTiming();
    cancelled = 0;
    calls.Turn();
    StartAll(calls, count);
    state.ResumeTiming();
  }
  calls.Turn();
}

template <class MakeCalls>
void RegisterCalls(const std::string& who, std::size_t count, MakeCalls makeCalls) {
  benchmark::RegisterBenchmark(
      Name("delayed_calls", count, who).c_str(),
      [=](benchmark::State& state) { ScheduleAndServe(state, *makeCalls(), count); });
  benchmark::RegisterBenchmark(
      Name("cancel_one_call", count, who).c_str(),
      [=](benchmark::State& state) { CancelOneByOne(state, *makeCalls(), count); });
}

}  // namespace

void RegisterFrame(const Plan& plan) {
  SFrameUtility* const frames = plan.services.frames.get();
  for (const std::size_t count : Counts) {
    RegisterReactors(frames, count);
    RegisterCalls("ours", count, [=] { return std::make_unique<OurCalls>(frames, count); });
    RegisterCalls("asio", count, [=] { return std::make_unique<AsioTimers>(count); });
    RegisterCalls("libuv", count, [=] { return std::make_unique<UvTimers>(count); });
    RegisterCalls("floor", count, [=] { return std::make_unique<QueueFloor>(count); });
  }
  for (const std::size_t count : {250'000U, 1'000'000U}) RegisterRelease(frames, count);
}

}  // namespace Common::Bench
