// Operations on the frame utility, from outside a tick and from inside callbacks, against a plain
// model. The model tells which callable runs next; each one that runs checks that it is that one.
#include <common/frame_utility.h>
#include <common/message_totem.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <deque>
#include <map>
#include <optional>

#include "shared.h"

namespace {

using namespace Common;
using Fuzz::Check;

// Callables have numbers. These stand for the utility's own one and for an empty function.
constexpr std::uint64_t DoesNothing = 0;
constexpr std::uint64_t IsEmpty = 1;

// A callable runs with a value, or the tick ends in one of these ways.
struct Event {
  enum Kind { Runs, Returns, ThrowsBadCall, ThrowsMissingClock };

  bool operator==(const Event&) const = default;

  Kind kind;
  std::uint64_t callable = 0;
  std::uint64_t value = 0;
};

struct Reactor {
  Vorn::IntrudablePtr<IFrameReactor> reference;
  std::uint64_t interval;
  std::uint64_t lastFired = 0;
  std::uint64_t callable = DoesNothing;
};

struct Call {
  std::uint64_t stamp;
  std::uint64_t delay;
  std::uint64_t argument;
  std::uint64_t callable;
  bool isCancelled = false;
};

struct Model {
  void BeginTick() {
    ++frameNumber;
    runsCall = false;
    previousValue = value;
    if (nextValue) value = *std::exchange(nextValue, std::nullopt);
    reactor = nullptr;
    servesCalls = false;
  }

  Event NextEvent() {
    if (!servesCalls) {
      if (const auto event = NextReactor()) return *event;
      if (!hasClock) return {Event::ThrowsMissingClock};
      walkTime = ReadClock();
      callsLeft = calls.size();
      servesCalls = true;
    }
    return NextCall();
  }

  std::optional<Event> NextReactor() {
    for (auto entry = reactors.upper_bound(reactor); entry != reactors.end();
         entry = reactors.upper_bound(reactor)) {
      reactor = entry->first;
      Reactor& present = entry->second;
      if (present.interval != 0) {
        if (!hasClock) return Event{Event::ThrowsMissingClock};
        const std::uint64_t reading = ReadClock();
        if (reading - present.lastFired < present.interval) continue;
        present.lastFired = reading;
      }
      if (present.callable == IsEmpty) return Event{Event::ThrowsBadCall};
      if (present.callable != DoesNothing) return Event{Event::Runs, present.callable, frameNumber};
    }
    reactor = nullptr;
    return std::nullopt;
  }

  // The running call has returned: it leaves the queue.
  void FinishCall() {
    runsCall = false;
    PopCall();
  }

  // The running call has thrown: it waits for the next tick, unless it was cancelled.
  void FailCall() {
    runsCall = false;
    if (calls.front().isCancelled) PopCall();
  }

  // Cancels the calls with this id among the first `count`. A running one keeps its callable.
  void Cancel(std::uint64_t id, std::size_t count) {
    for (std::size_t index = 0; index < std::min(count, calls.size()); ++index) {
      Call& call = calls[index];
      if (call.stamp != id) continue;
      if (runsCall && index == 0) {
        call.isCancelled = true;
      } else {
        call = {id, 0, 0, DoesNothing, true};
      }
    }
  }

  Event NextCall() {
    for (; callsLeft > 0; PopCall()) {
      const Call& front = calls.front();
      if (walkTime - front.stamp < front.delay) break;
      if (front.callable == IsEmpty) return {Event::ThrowsBadCall};
      if (front.callable != DoesNothing) {
        runsCall = true;
        return {Event::Runs, front.callable, front.argument};
      }
    }
    return {Event::Returns};
  }

  void PopCall() {
    calls.pop_front();
    ++callsServed;
    --callsLeft;
  }

  std::uint64_t ReadClock() { return std::exchange(now, now + step); }

  std::size_t WaitingCalls() const {
    const auto first = calls.begin() + (runsCall ? 1 : 0);
    return static_cast<std::size_t>(
        std::count_if(first, calls.end(), [](const Call& call) { return !call.isCancelled; }));
  }

  std::uint64_t CallablesHeld() const {
    std::uint64_t count = 0;
    for (const auto& [address, present] : reactors) count += present.callable > IsEmpty;
    for (const Call& call : calls) count += call.callable > IsEmpty;
    return count;
  }

  std::map<IFrameReactor*, Reactor> reactors;
  std::deque<Call> calls;
  std::size_t callsServed = 0;
  bool hasClock = true;
  std::uint64_t now = 0;
  std::uint64_t step = 0;

  std::uint64_t frameNumber = 0;
  std::uint16_t value = 0;
  std::uint16_t previousValue = 0;
  std::optional<std::uint16_t> nextValue;

  IFrameReactor* reactor = nullptr;  // the one that was reached last in the tick under way
  bool servesCalls = false;
  bool runsCall = false;  // the front of the queue
  std::uint64_t walkTime = 0;
  std::size_t callsLeft = 0;
};

class Host {
 public:
  void Run(FuzzedDataProvider& input) {
    data = &input;
    while (data->remaining_bytes() > 0) {
      Operate();
      CheckBetweenTicks();
    }
    data = nullptr;
    StartAfresh();
  }

  // Called by the callables. The calls of an id are cancelled one by one from the front, so each
  // callable that is destroyed finds those behind it still waiting.
  void OnDestroyed(std::uint64_t number) {
    if (cancelled) {
      const auto call =
          std::find_if(model.calls.begin(), model.calls.end(),
                       [number](const Call& waiting) { return waiting.callable == number; });
      if (call != model.calls.end())
        model.Cancel(*cancelled, static_cast<std::size_t>(call - model.calls.begin()) + 1);
    }
    OperateInDestructor();
  }

  std::uint64_t callablesAlive = 0;

 private:
  enum class Inside { Nothing, ReactorCallback, CallCallback };

  std::uint64_t DrawNumber() {
    const auto kind = data->ConsumeIntegralInRange<std::uint64_t>(0, 9);
    return kind < 2 ? kind : ++lastNumber;
  }

  // Mostly small times that come due, else times whose sums wrap, which also set the clock back.
  std::uint64_t DrawTime() {
    const auto kind = data->ConsumeIntegralInRange(0, 15);
    const auto small = data->ConsumeIntegralInRange<std::uint64_t>(0, 20);
    return kind < 13 ? small : kind < 15 ? 0 - small : data->ConsumeIntegral<std::uint64_t>();
  }

  FrameCallback MakeCallback(std::uint64_t number) {
    if (number == IsEmpty) return {};
    if (number == DoesNothing) return [](std::uint64_t) {};
    return [callable = std::make_shared<Fuzz::Callable<Host>>(this, number)](std::uint64_t value) {
      callable->host->OnRun({Event::Runs, callable->number, value});
    };
  }

  void OnRun(const Event& event) {
    Check(event == model.NextEvent(), "the right callable runs with the right value");
    CheckCounts();
    inside = model.servesCalls ? Inside::CallCallback : Inside::ReactorCallback;
    for (auto left = data->ConsumeIntegralInRange(0, 3); left > 0; --left) {
      Operate();
      CheckCounts();
    }
    inside = Inside::Nothing;
    const bool throws = data->ConsumeIntegralInRange(0, 7) == 7;
    if (model.runsCall) throws ? model.FailCall() : model.FinishCall();
    if (throws) throw Fuzz::Thrown();
  }

  void Operate() {
    switch (data->ConsumeIntegralInRange(0, 11)) {
      case 0:
        if (inside == Inside::Nothing) Tick();
        break;
      case 1:
        CreateReactor();
        break;
      case 2:
        if (IFrameReactor* const reactor = DrawReactor()) SetCallback(reactor);
        break;
      case 3:
        if (IFrameReactor* const reactor = DrawReactor()) Clear(reactor);
        break;
      case 4:
        if (IFrameReactor* const reactor = DrawReactor()) Release(reactor);
        break;
      case 5:
      case 6:
        Schedule();
        break;
      case 7:
        Cancel(DrawId());
        break;
      case 8:
        SetClock(model.now + DrawTime(), model.step);
        break;
      case 9:
        SetClock(model.now, data->ConsumeIntegralInRange<std::uint64_t>(0, 3));
        break;
      case 10:
        WriteTotem();
        break;
      case 11:
        if (data->ConsumeIntegralInRange(0, 3) == 3) ToggleClock();
        break;
    }
  }

  void OperateInDestructor() {
    if (data == nullptr) return;
    const auto operation = data->ConsumeIntegralInRange(0, 7);
    if (operation == 4) Schedule();
    if (operation == 5) Cancel(DrawId());
    if (operation == 6 && !isTicking) Tick();
    if (operation == 7) SetClock(model.now + DrawTime(), model.step);
  }

  void Tick() {
    isTicking = true;
    model.BeginTick();
    try {
      frames->Tick();
      Check(model.NextEvent() == Event{Event::Returns},
            "a tick returns when all has run that is due");
    } catch (const Fuzz::Thrown&) {
    } catch (const std::bad_function_call&) {
      Check(model.NextEvent() == Event{Event::ThrowsBadCall},
            "an empty function is run when it is due");
    } catch (const Vorn::MissingInstance&) {
      Check(model.NextEvent() == Event{Event::ThrowsMissingClock},
            "a tick reads the clock when it must");
    }
    isTicking = false;
  }

  void CreateReactor() {
    const std::uint64_t interval = DrawTime();
    auto reactor = frames->CreateReactor(interval);
    IFrameReactor* const address = reactor.get();
    model.reactors.emplace(address, Reactor{std::move(reactor), interval});
  }

  // Never the one whose callback is running.
  IFrameReactor* DrawReactor() {
    if (model.reactors.empty()) return nullptr;
    const auto index = data->ConsumeIntegralInRange<std::size_t>(0, model.reactors.size() - 1);
    IFrameReactor* const drawn =
        std::next(model.reactors.begin(), static_cast<std::ptrdiff_t>(index))->first;
    return inside == Inside::ReactorCallback && drawn == model.reactor ? nullptr : drawn;
  }

  void SetCallback(IFrameReactor* reactor) {
    const std::uint64_t number = model.reactors.at(reactor).callable = DrawNumber();
    reactor->SetCallback(MakeCallback(number));
  }

  void Clear(IFrameReactor* reactor) {
    model.reactors.at(reactor).callable = DoesNothing;
    reactor->Clear();
  }

  void Release(IFrameReactor* reactor) { model.reactors.extract(reactor); }

  void Schedule() {
    const std::uint64_t number = DrawNumber();
    const std::uint64_t argument = data->ConsumeIntegral<std::uint8_t>();
    const std::uint64_t delay = DrawTime();
    if (clock == nullptr) {
      try {
        frames->ScheduleCall(MakeCallback(number), argument, delay);
        Check(false, "nothing is scheduled without a clock");
      } catch (const Vorn::MissingInstance&) {
      }
      return;
    }
    const std::uint64_t stamp = model.ReadClock();
    model.calls.push_back({stamp, delay, argument, number});
    Check(frames->ScheduleCall(MakeCallback(number), argument, delay) == stamp,
          "the id is the time");
  }

  std::uint64_t DrawId() {
    if (model.calls.empty()) return data->ConsumeIntegralInRange<std::uint64_t>(0, 20);
    return model.calls[data->ConsumeIntegralInRange<std::size_t>(0, model.calls.size() - 1)].stamp;
  }

  void Cancel(std::uint64_t id) {
    const auto outer = std::exchange(cancelled, id);
    const std::size_t end = model.callsServed + model.calls.size();  // later ones stay
    frames->CancelCall(id);
    // The rest, whose callables do not tell of their end.
    model.Cancel(id, end - std::min(end, model.callsServed));
    cancelled = outer;
  }

  void SetClock(std::uint64_t now, std::uint64_t step) {
    model.now = now;
    model.step = step;
    if (clock == nullptr) return;
    (*clock)->now = now;
    (*clock)->step = step;
  }

  void WriteTotem() {
    auto* const totem = Vorn::Service<SMessageTotem>::Get();
    model.nextValue = data->ConsumeIntegral<std::uint8_t>();
    totem->fourByteValue.Write({{*model.nextValue, 1}});
    totem->fourByteValuePrevious.Write({{*model.nextValue, 2}});  // both without effect
    totem->frameNumber.Write(*model.nextValue);
  }

  void ToggleClock() {
    model.hasClock = clock == nullptr;
    if (clock != nullptr) {
      clock.reset();
    } else {
      clock = std::make_unique<Fuzz::StoredClock>();
      SetClock(model.now, model.step);
    }
  }

  void CheckCounts() const {
    Check(frames->WaitingCalls() == model.WaitingCalls(), "what waits is counted");
    Check(callablesAlive == model.CallablesHeld(), "a callable lives as long as it is held");
  }

  void CheckBetweenTicks() const {
    CheckCounts();
    const auto* const totem = Vorn::Service<SMessageTotem>::Get();
    Check(totem->frameNumber.Read() == model.frameNumber, "the frame number counts the ticks");
    Check(totem->fourByteValue.Read().parts[0] == model.value, "the last write of a frame wins");
    Check(totem->fourByteValuePrevious.Read().parts[0] == model.previousValue,
          "the value of the frame before");
    Check(clock == nullptr || (*clock)->now == model.now,
          "the clock is read as often as it must be");
  }

  // The number of the frame and the totem's value stay.
  void StartAfresh() {
    model.reactors.clear();
    if (clock == nullptr) ToggleClock();
    for (std::size_t index = 0; index < model.calls.size(); ++index)
      Cancel(model.calls[index].stamp);
    Tick();
    SetClock(0, 0);
    Check(callablesAlive == 0, "no callable is left");
  }

  std::unique_ptr<Fuzz::StoredClock> clock = std::make_unique<Fuzz::StoredClock>();
  std::uint64_t lastNumber = IsEmpty;
  const std::unique_ptr<SFrameUtility> frames{ManufactureFrameUtility()};
  Model model;
  FuzzedDataProvider* data = nullptr;
  Inside inside = Inside::Nothing;
  bool isTicking = false;
  std::optional<std::uint64_t> cancelled;  // the id, while a CancelCall is under way
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static Host host;
  FuzzedDataProvider data(bytes, size);
  host.Run(data);
  return 0;
}
