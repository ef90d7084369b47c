// Two sets of timers, made, cancelled and ended from outside, from each other's callbacks and by
// destructors, against a plain model of which runs next and which callables live.
#include <common/kit/timers.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <deque>
#include <map>

#include "shared.h"

namespace {

using namespace Common;
using Fuzz::Check;
using Kit::Timers;

struct Timer {
  std::uint64_t due;  // from the start of the input on
  std::uint64_t interval;
  bool repeats;
};

struct Model {
  void BeginTick(std::uint64_t now) {
    tickTime = now;
    batch.clear();
    for (const auto& [number, timer] : waiting) {
      if (timer.due <= now) batch.push_back(number);
    }
    const auto isEarlier = [this](std::uint64_t left, std::uint64_t right) {
      return waiting.at(left).due < waiting.at(right).due;
    };
    std::stable_sort(batch.begin(), batch.end(), isEarlier);
  }

  // The number of the timer that runs next in the tick, 0 if none does.
  std::uint64_t Next() {
    while (!batch.empty()) {
      const std::uint64_t number = batch.front();
      batch.pop_front();
      const auto entry = waiting.find(number);
      if (entry == waiting.end()) continue;
      auto& [due, interval, repeats] = entry->second;
      if (!repeats) {
        waiting.erase(entry);
      } else {
        due = interval == 0 ? tickTime : due + ((tickTime - due) / interval + 1) * interval;
      }
      return number;
    }
    return 0;
  }

  std::map<std::uint64_t, Timer> waiting;  // by number, which counts their making
  std::deque<std::uint64_t> batch;
  std::uint64_t tickTime = 0;
};

struct Side {
  Fuzz::OneReactor frames;
  std::unique_ptr<Timers> owner = std::make_unique<Timers>(frames);
  Timers* timers = owner.get();  // until the owner has ended them
  std::vector<std::pair<std::uint64_t, Timers::Id>> made;
  Model model;
  std::uint64_t running = 0;  // the number of the timer whose callback runs
  int operations = 0;         // that are under way
  bool isEnding = false;
};

class Host {
 public:
  explicit Host(FuzzedDataProvider& input) : data(input) { clock->now = start; }

  void Run() {
    while (data.remaining_bytes() > 0) Operate();
    for (Side& side : sides) EndAndBeginAgain(side);
    Check(callablesAlive == 0, "no callable is left");
  }

  // Called by the callables.
  void OnDestroyed(std::uint64_t number) {
    for (Side& side : sides) {
      if (side.isEnding) side.model.waiting.erase(number);
      Check(!side.model.waiting.contains(number), "a timer that waits has its callable");
      Check(side.running != number, "a callable lives until it has returned");
    }
    CheckSides();
    if (data.ConsumeIntegralInRange(0, 7) == 7) Operate();
  }

  std::uint64_t callablesAlive = 0;

 private:
  void OnRun(Side& side, std::uint64_t number) {
    Check(side.model.Next() == number, "the right callback runs");
    side.running = number;
    CheckSides();
    for (auto left = data.ConsumeIntegralInRange(0, 4); left > 0; --left) Operate();
    side.running = 0;
    if (data.ConsumeIntegralInRange(0, 7) == 7) throw Fuzz::Thrown();
  }

  void Operate() {
    Side& side = sides[data.ConsumeBool() ? 1 : 0];
    const auto operation = data.ConsumeIntegralInRange(0, 10);
    ++side.operations;
    if (operation < 2 && sides[0].operations + sides[1].operations == 1) Tick(side);
    if (operation == 2 && side.operations == 1) EndAndBeginAgain(side);
    if (operation == 3) clock->now += data.ConsumeIntegralInRange<std::uint64_t>(0, 9);
    if (operation > 3 && operation < 8) MakeSome(side);
    if (operation > 7) CancelSome(side);
    --side.operations;
    CheckSides();
  }

  std::uint64_t Passed() const { return clock->now - start; }

  void Tick(Side& side) {
    side.model.BeginTick(Passed());
    try {
      side.frames.Tick();
      Check(side.model.Next() == 0, "all run that are due");
    } catch (const Fuzz::Thrown&) {
    }
  }

  void MakeSome(Side& side) {
    const bool repeats = data.ConsumeBool();
    for (auto left = data.ConsumeIntegralInRange(1, 24); left > 0; --left) Make(side, repeats);
  }

  void Make(Side& side, bool repeats) {
    const auto drawn = data.ConsumeIntegralInRange<std::uint64_t>(0, 15);
    const std::uint64_t delay = drawn < 15 ? drawn : std::uint64_t{1} << 63;
    const std::uint64_t number = ++lastNumber;
    auto callback = [this, &side, owned = std::make_shared<Fuzz::Callable<Host>>(this, number)] {
      OnRun(side, owned->number);
    };
    side.made.emplace_back(number, repeats ? side.timers->Every(delay, std::move(callback))
                                           : side.timers->After(delay, std::move(callback)));
    side.model.waiting[number] = {Passed() + delay, delay, repeats};
  }

  void CancelSome(Side& side) {
    auto left = data.ConsumeIntegralInRange(1, 24);
    for (; left > 0 && !side.made.empty(); --left) Cancel(side);
  }

  // Any timer: waiting, running, run or cancelled.
  void Cancel(Side& side) {
    const auto index = data.ConsumeIntegralInRange<std::size_t>(0, side.made.size() - 1);
    const auto [number, id] = side.made[index];
    const bool waits = side.model.waiting.erase(number) > 0;
    if (!waits) side.made.erase(side.made.begin() + static_cast<std::ptrdiff_t>(index));
    Check(side.timers->Cancel(id) == waits, "what waits can be cancelled");
  }

  // Drops what waits, and what the destructors of its callables make.
  void EndAndBeginAgain(Side& side) {
    side.isEnding = true;
    side.owner.reset();
    side.isEnding = false;
    Check(side.model.waiting.empty(), "all callables end with their timers");
    side.made.clear();
    side.owner = std::make_unique<Timers>(side.frames);
    side.timers = side.owner.get();
  }

  void CheckSides() const {
    std::uint64_t held = 0;
    for (const Side& side : sides) {
      const auto& waiting = side.model.waiting;
      held += waiting.size() + (side.running != 0 && !waiting.contains(side.running) ? 1 : 0);
      if (side.isEnding) continue;
      Check(side.timers->Waiting() == waiting.size(), "what waits is counted");
      std::optional<std::uint64_t> due;
      for (const auto& [number, timer] : waiting)
        due = std::min(due.value_or(UINT64_MAX), timer.due);
      if (due.has_value()) *due += start;
      Check(side.timers->NextDue() == due, "the first is known");
    }
    Check(callablesAlive == held, "a callable lives as long as its timer waits or runs");
  }

  FuzzedDataProvider& data;
  Fuzz::StoredClock clock;
  const std::uint64_t start = data.ConsumeBool() ? 0 : 0 - std::uint64_t{20};  // it may wrap
  std::uint64_t lastNumber = 0;
  Side sides[2];
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  Host(data).Run();
  return 0;
}
