#include <common/kit/game_clock.h>
#include <common/kit/timers.h>
#include <common/time_provider.h>
#include <vorn_lnk/singleton>

#include <algorithm>
#include <cassert>
#include <limits>
#include <utility>
#include <vector>

namespace Common::Kit {
namespace {

constexpr std::size_t NoSlot = std::numeric_limits<std::size_t>::max();
constexpr std::uint64_t Never = std::numeric_limits<std::uint64_t>::max();

enum class Kind { Once, Repeating };

// A waiting timer. Slots are reused; the sequence tells their timers apart.
struct Slot {
  std::function<void()> callback;  // empty while it runs
  std::uint64_t sequence = 0;      // 0 in a free slot
  std::uint64_t interval = 0;
  Kind kind = Kind::Once;
  std::size_t nextFree = NoSlot;  // of a free slot
};

// When a timer is due, in microseconds since the origin. May outlive its timer.
struct Due {
  std::uint64_t time = 0;
  std::uint64_t sequence = 0;
  std::size_t slot = 0;
};

// The earliest is on top of the heap.
bool IsLater(const Due& left, const Due& right) {
  return left.time != right.time ? left.time > right.time : left.sequence > right.sequence;
}

std::uint64_t AddWithinRange(std::uint64_t time, std::uint64_t delay) {
  return delay < Never - time ? time + delay : Never;
}

// The first time of the phase that is after `now`.
std::uint64_t NextTime(std::uint64_t due, std::uint64_t interval, std::uint64_t now) {
  if (interval == 0) return now;
  const std::uint64_t late = now - due;
  return AddWithinRange(now - late % interval, interval);
}

std::uint64_t ReadStoredClock() { return Vorn::Service<STimeProvider>::Get()->Now(); }

}  // namespace

class Timers::State {
 public:
  State(SFrameUtility& frames, std::function<std::uint64_t()> readClock)
      : readClock(std::move(readClock)), reactor(frames.CreateReactor(0)) {
    reactor->SetCallback([this](std::uint64_t /*frameNumber*/) { RunDueTimers(); });
  }

  State(const State&) = delete;
  State& operator=(const State&) = delete;

  // Not in the destructor: callables may call back while they are destroyed, and need the state.
  void DropAll() {
    assert(!isRunning && "Timers ended inside the callback of one of their timers");
    reactor = nullptr;
    while (!heap.empty()) Cancel(IdOf(heap.front()));
  }

  Id Start(std::uint64_t delay, Kind kind, std::function<void()> callback) {
    const std::uint64_t now = readClock();
    MakeRoomForOne();
    if (waiting == 0) origin = now;

    const std::size_t index = firstFree;
    Slot& slot = slots[index];
    firstFree = slot.nextFree;
    slot.callback.swap(callback);
    slot.sequence = ++lastSequence;
    slot.interval = delay;
    slot.kind = kind;
    ++waiting;
    const Due due{AddWithinRange(now - origin, delay), slot.sequence, index};
    PutIntoHeap(due);
    return IdOf(due);
  }

  bool Cancel(Id id) {
    if (!IsWaiting(id)) return false;
    const std::function<void()> callback = TakeFromSlot(id.slot);
    DropCancelled();
    return true;
  }

  std::size_t Waiting() const { return waiting; }

  std::optional<std::uint64_t> NextDue() const {
    const auto isWaiting = [this](const Due& due) { return IsWaiting(IdOf(due)); };
    const auto first =
        std::find_if(batch.begin() + static_cast<std::ptrdiff_t>(served), batch.end(), isWaiting);
    if (first != batch.end()) return origin + first->time;
    if (!heap.empty()) return origin + heap.front().time;
    return std::nullopt;
  }

 private:
  // Puts the timers that an exception kept from running back into the heap.
  class BatchRun {
   public:
    explicit BatchRun(State& timers) : timers(timers) { timers.isRunning = true; }
    ~BatchRun() {
      timers.isRunning = false;
      while (!IsOver()) {
        const Due& due = TakeNext();
        if (timers.IsWaiting(IdOf(due))) timers.PutIntoHeap(due);
      }
      timers.batch.clear();
      timers.served = 0;
    }

    BatchRun(const BatchRun&) = delete;
    BatchRun& operator=(const BatchRun&) = delete;

    bool IsOver() const { return timers.served == timers.batch.size(); }
    const Due& TakeNext() { return timers.batch[timers.served++]; }

   private:
    State& timers;
  };

  // Holds a repeating timer's callable while it runs, and returns it unless it was cancelled.
  class CallbackLoan {
   public:
    CallbackLoan(State& timers, Id id)
        : callback(std::move(timers.slots[id.slot].callback)), timers(timers), id(id) {}
    ~CallbackLoan() {
      if (timers.IsWaiting(id)) timers.slots[id.slot].callback.swap(callback);
    }

    CallbackLoan(const CallbackLoan&) = delete;
    CallbackLoan& operator=(const CallbackLoan&) = delete;

    void Run() const { callback(); }

   private:
    std::function<void()> callback;
    State& timers;
    const Id id;
  };

  static Id IdOf(const Due& due) {
    Id id;
    id.sequence = due.sequence;
    id.slot = due.slot;
    return id;
  }

  bool IsWaiting(Id id) const {
    return id.sequence != 0 && id.slot < slots.size() && slots[id.slot].sequence == id.sequence;
  }

  // Heap and batch each get room for all timers, so only making a timer may run out of memory.
  void MakeRoomForOne() {
    const std::size_t held = heap.size() + batch.size() - served;
    if (heap.capacity() <= held) heap.reserve(2 * held + 1);
    batch.reserve(heap.capacity());
    if (firstFree == NoSlot) {
      slots.emplace_back();
      firstFree = slots.size() - 1;
    }
  }

  // Frees the slot before the caller destroys the callable, which may call back.
  std::function<void()> TakeFromSlot(std::size_t index) {
    Slot& slot = slots[index];
    std::function<void()> callback = std::move(slot.callback);
    slot.callback = nullptr;
    slot.sequence = 0;
    slot.nextFree = firstFree;
    firstFree = index;
    --waiting;
    return callback;
  }

  void RunDueTimers() {
    if (heap.empty() || isRunning) return;  // a host must not tick inside a tick
    const std::uint64_t now = readClock() - origin;
    while (!heap.empty() && heap.front().time <= now) {
      batch.push_back(heap.front());
      TakeTop();
      DropCancelledTop();
    }
    for (BatchRun run(*this); !run.IsOver();) {
      const Due due = run.TakeNext();
      if (IsWaiting(IdOf(due))) RunTimer(due, now);
    }
  }

  void RunTimer(const Due& due, std::uint64_t now) {
    const Slot& slot = slots[due.slot];
    if (slot.kind == Kind::Once) {
      const std::function<void()> callback = TakeFromSlot(due.slot);
      callback();
      return;
    }
    PutIntoHeap({NextTime(due.time, slot.interval, now), due.sequence, due.slot});
    const CallbackLoan loan(*this, IdOf(due));
    loan.Run();
  }

  // Cancelled timers may stay in the heap, but never on top. A cancel drops them all if they are
  // most of it.

  void PutIntoHeap(const Due& due) {
    heap.push_back(due);
    std::push_heap(heap.begin(), heap.end(), IsLater);
  }

  void TakeTop() {
    std::pop_heap(heap.begin(), heap.end(), IsLater);
    heap.pop_back();
  }

  void DropCancelledTop() {
    while (!heap.empty() && !IsWaiting(IdOf(heap.front()))) TakeTop();
  }

  void DropCancelled() {
    DropCancelledTop();
    if (heap.size() / 2 <= waiting) return;
    std::erase_if(heap, [this](const Due& due) { return !IsWaiting(IdOf(due)); });
    std::make_heap(heap.begin(), heap.end(), IsLater);
  }

  const std::function<std::uint64_t()> readClock;
  std::uint64_t origin = 0;  // the clock when a timer was last made while none waited
  std::uint64_t lastSequence = 0;
  std::size_t waiting = 0;
  std::vector<Slot> slots;
  std::size_t firstFree = NoSlot;
  std::vector<Due> heap;
  std::vector<Due> batch;  // what this tick runs
  std::size_t served = 0;  // of the batch
  bool isRunning = false;
  Vorn::IntrudablePtr<IFrameReactor> reactor;
};

Timers::Timers(SFrameUtility& frames) : state(std::make_unique<State>(frames, ReadStoredClock)) {}

Timers::Timers(SFrameUtility& frames, const GameClock& clock)
    : state(std::make_unique<State>(frames, [&clock] { return clock.Now(); })) {}

Timers::~Timers() { state->DropAll(); }

Timers::Id Timers::After(std::uint64_t delay, std::function<void()> callback) {
  return state->Start(delay, Kind::Once, std::move(callback));
}

Timers::Id Timers::Every(std::uint64_t interval, std::function<void()> callback) {
  return state->Start(interval, Kind::Repeating, std::move(callback));
}

bool Timers::Cancel(Id id) { return state->Cancel(id); }

std::size_t Timers::Waiting() const { return state->Waiting(); }

std::optional<std::uint64_t> Timers::NextDue() const { return state->NextDue(); }

}  // namespace Common::Kit
