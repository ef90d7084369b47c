/// @file
/// Independent timers: each runs in the first tick that finds its time passed, and none holds back
/// another. The delayed calls of the frame utility, in contrast, are a queue and run strictly in
/// the order of scheduling.
///
/// ```cpp
/// Common::Kit::Timers timers(*frames);
/// const Common::Kit::Timers::Id storm = timers.After(90'000'000, [] { CloseHarbor(); });
/// timers.Every(1'000'000, [&] {
///   if (WindHasDropped()) timers.Cancel(storm);
/// });
/// ```
#pragma once

#include <common/frame_utility.h>
#include <common/time_provider.h>
#include <vorn_lnk/singleton>

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace Common::Kit {

/// One-shot and repeating timers on one reactor of interval 0, timed by the clock in the storage.
///
/// A tick first settles which timers it runs: those whose time has passed by one reading of the
/// clock, in the order of their due times, equal ones in the order of their making. Where nothing
/// waits it reads no clock. To make or to cancel one of n timers takes a time that grows as the
/// logarithm of n.
///
/// A callback may make timers, which run in the next tick at the earliest, and cancel any timer,
/// its own included; so may the destructor of a callable. A callable that runs lives until it has
/// returned. A timer that is made in the callback of another reactor may run in the same tick.
///
/// An exception leaves Tick. A one-shot timer that threw is spent, a repeating one goes on; the
/// others that were due run in the next tick, in their order. An empty function throws
/// std::bad_function_call in the same way.
///
/// For the thread that ticks. REQUIRES: it ends before the frame utility does, and not inside one
/// of its own callbacks; the clock's SetOrigin is not called while a timer waits.
class Timers {
 public:
  /// Names one timer for its Timers, where no other ever gets the same name. It means nothing to
  /// another Timers.
  struct Id {
    /// Whether both name the same timer, or none.
    bool operator==(const Id&) const = default;

   private:
    friend class Timers;

    std::uint64_t sequence = 0;  // counts the timers that were made; 0 names none
    std::size_t slot = 0;
  };

  /// Makes the reactor that runs the timers. Throws what SFrameUtility::CreateReactor does.
  /// REQUIRES: `frames` outlives this object.
  explicit Timers(SFrameUtility& frames) : reactor(frames.CreateReactor(0)) {
    reactor->SetCallback([this](std::uint64_t /*frameNumber*/) { RunDueTimers(); });
  }

  /// Drops all timers that wait, unrun. REQUIRES: not called inside a callback of a timer.
  ~Timers() {
    assert(!isRunning && "Timers ended inside the callback of one of their timers");
    reactor = nullptr;
    while (heapSize > 0) Cancel(NameOf(heap[heapSize - 1]));
  }

  Timers(const Timers&) = delete;
  Timers& operator=(const Timers&) = delete;

  /// Runs `callback` once, in the first tick that finds `delay` microseconds passed since this
  /// call; 0 means the next tick. A delay may be as long as 2^63.
  ///
  /// Returns the timer's name for Cancel. Throws Vorn::MissingInstance without a clock, and
  /// std::bad_alloc; after either, nothing has changed.
  Id After(std::uint64_t delay, std::function<void()> callback) {
    return Start(delay, NoRepeat, std::move(callback));
  }

  /// Runs `callback` each time that `interval` microseconds have passed, counted from this call
  /// on, until it is cancelled. An interval of 0 runs it in every tick, from the next on.
  ///
  /// The timer keeps its phase: a late tick does not move the times behind it. It never runs twice
  /// a tick to catch up: times that have passed together count as one.
  ///
  /// Returns the timer's name for Cancel. Throws as After does.
  Id Every(std::uint64_t interval, std::function<void()> callback) {
    return Start(interval, Repeat, std::move(callback));
  }

  /// Makes sure that the timer does not run again, and destroys its callable before it returns. A
  /// callable that is running is destroyed once it has returned.
  ///
  /// Returns whether the timer was still waiting. A one-shot timer that runs is not; a repeating
  /// one that runs waits for its next time. False for the name of a timer that is spent or
  /// cancelled, and for a default-made one. Throws nothing.
  bool Cancel(Id id) {
    if (!IsWaiting(id)) return false;
    if (slots[id.slot].place != InBatch) TakeFromHeap(slots[id.slot].place);
    const std::function<void()> callback = TakeFromSlot(id.slot);
    return true;
  }

  /// How many timers wait for their time, or for their turn in this tick.
  std::size_t Waiting() const { return waiting; }

 private:
  enum Kind : bool { NoRepeat, Repeat };

  // In parentheses, since <windows.h> may have made a macro of the name.
  static constexpr std::size_t InBatch = (std::numeric_limits<std::size_t>::max)();
  static constexpr std::size_t NoSlot = InBatch;
  static constexpr std::uint64_t Never = (std::numeric_limits<std::uint64_t>::max)();

  // What a timer keeps while it waits. A slot is used again for later timers, whose sequence tells
  // them apart.
  struct Slot {
    std::function<void()> callback;  // empty while it runs
    std::uint64_t sequence = 0;      // 0 in a free slot
    std::uint64_t interval = 0;
    bool repeats = false;
    std::size_t place = InBatch;    // in the heap
    std::size_t nextFree = NoSlot;  // of a free slot
  };

  // When a timer is due, in microseconds since `origin`.
  struct Due {
    bool operator<(const Due& other) const {
      return time != other.time ? time < other.time : sequence < other.sequence;
    }

    std::uint64_t time = 0;
    std::uint64_t sequence = 0;
    std::size_t slot = 0;
  };

  // Gives back to the heap what an exception kept from running.
  class BatchRun {
   public:
    explicit BatchRun(Timers& timers) : timers(timers) { timers.isRunning = true; }
    ~BatchRun() {
      timers.isRunning = false;
      for (; next < timers.batchSize; ++next) {
        const Due& due = timers.batch[next];
        if (timers.IsWaiting(NameOf(due))) timers.PutIntoHeap(due);
      }
      timers.batchSize = 0;
    }

    BatchRun(const BatchRun&) = delete;
    BatchRun& operator=(const BatchRun&) = delete;

    bool IsOver() const { return next == timers.batchSize; }
    const Due& TakeNext() { return timers.batch[next++]; }

   private:
    Timers& timers;
    std::size_t next = 0;
  };

  // Gives the callable of a repeating timer back to it when it has run, by whatever way, unless the
  // timer was cancelled meanwhile.
  class CallbackLoan {
   public:
    CallbackLoan(Timers& timers, Id id)
        : callback(std::move(timers.slots[id.slot].callback)), timers(timers), id(id) {}
    ~CallbackLoan() {
      if (timers.IsWaiting(id)) timers.slots[id.slot].callback.swap(callback);
    }

    CallbackLoan(const CallbackLoan&) = delete;
    CallbackLoan& operator=(const CallbackLoan&) = delete;

    std::function<void()> callback;

   private:
    Timers& timers;
    const Id id;
  };

  static Id NameOf(const Due& due) {
    Id id;
    id.sequence = due.sequence;
    id.slot = due.slot;
    return id;
  }

  static std::uint64_t ReadClock() {
    return Vorn::Singleton<STimeProvider, std::shared_ptr>::Get()->Now();
  }

  static std::uint64_t AddWithinRange(std::uint64_t time, std::uint64_t delay) {
    return delay < Never - time ? time + delay : Never;
  }

  bool IsWaiting(Id id) const {
    return id.sequence != 0 && id.slot < slots.size() && slots[id.slot].sequence == id.sequence;
  }

  Id Start(std::uint64_t delay, Kind kind, std::function<void()> callback) {
    const std::uint64_t now = ReadClock();
    if (firstFree == NoSlot) AddSlot();
    if (waiting == 0) origin = now;

    const std::size_t index = firstFree;
    Slot& slot = slots[index];
    firstFree = slot.nextFree;
    slot.callback.swap(callback);
    slot.sequence = ++lastSequence;
    slot.interval = delay;
    slot.repeats = kind == Repeat;
    ++waiting;
    const Due due{AddWithinRange(now - origin, delay), slot.sequence, index};
    PutIntoHeap(due);
    return NameOf(due);
  }

  // Heap and batch get room for every slot, so that nothing but the making of a timer can run out
  // of memory.
  void AddSlot() {
    const std::size_t index = slots.size();
    heap.resize(index + 1);
    batch.resize(index + 1);
    slots.emplace_back();
    firstFree = index;
  }

  // The slot is free before the callable, which the caller destroys, can call back.
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
    if (heapSize == 0 || isRunning) return;  // a tick inside a tick, which the host must not make
    const std::uint64_t now = ReadClock() - origin;
    while (heapSize > 0 && heap[0].time <= now) {
      const Due due = heap[0];
      TakeFromHeap(0);
      slots[due.slot].place = InBatch;
      batch[batchSize++] = due;
    }
    for (BatchRun run(*this); !run.IsOver();) {
      const Due due = run.TakeNext();
      if (IsWaiting(NameOf(due))) RunTimer(due, now);
    }
  }

  void RunTimer(const Due& due, std::uint64_t now) {
    if (!slots[due.slot].repeats) {
      const std::function<void()> callback = TakeFromSlot(due.slot);
      callback();
      return;
    }
    const std::uint64_t next = NextTime(due.time, slots[due.slot].interval, now);
    PutIntoHeap({next, due.sequence, due.slot});
    const CallbackLoan loan(*this, NameOf(due));
    loan.callback();
  }

  // The first time of the phase that `now` has not reached.
  static std::uint64_t NextTime(std::uint64_t due, std::uint64_t interval, std::uint64_t now) {
    if (interval == 0) return now;
    const std::uint64_t late = now - due;
    return AddWithinRange(now - late % interval, interval);
  }

  // A binary heap whose top is due first. Each slot knows its place.
  void PutIntoHeap(const Due& due) { MoveUp(heapSize++, due); }

  void TakeFromHeap(std::size_t place) {
    const Due last = heap[--heapSize];
    if (place == heapSize) return;
    if (place > 0 && last < heap[(place - 1) / 2]) {
      MoveUp(place, last);
    } else {
      MoveDown(place, last);
    }
  }

  void MoveUp(std::size_t place, const Due& due) {
    while (place > 0) {
      const std::size_t parent = (place - 1) / 2;
      if (!(due < heap[parent])) break;
      SetPlace(place, heap[parent]);
      place = parent;
    }
    SetPlace(place, due);
  }

  void MoveDown(std::size_t place, const Due& due) {
    for (;;) {
      std::size_t child = 2 * place + 1;
      if (child >= heapSize) break;
      if (child + 1 < heapSize && heap[child + 1] < heap[child]) ++child;
      if (!(heap[child] < due)) break;
      SetPlace(place, heap[child]);
      place = child;
    }
    SetPlace(place, due);
  }

  void SetPlace(std::size_t place, const Due& due) {
    heap[place] = due;
    slots[due.slot].place = place;
  }

  std::uint64_t origin = 0;  // the clock when the first of those that wait was made
  std::uint64_t lastSequence = 0;
  std::size_t waiting = 0;
  std::vector<Slot> slots;
  std::size_t firstFree = NoSlot;
  std::vector<Due> heap;
  std::size_t heapSize = 0;
  std::vector<Due> batch;  // what this tick runs
  std::size_t batchSize = 0;
  bool isRunning = false;
  Vorn::IntrudablePtr<IFrameReactor> reactor;
};

}  // namespace Common::Kit
