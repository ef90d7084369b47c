/// @file
/// Independent timers: each runs in the first tick that finds its time passed, and none holds up
/// another. The frame utility's delayed calls instead run strictly in the order of scheduling.
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

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace Common::Kit {

class GameClock;

/// One-shot and repeating timers on one reactor of interval 0.
///
/// A tick reads the clock once, or not at all if no timer waits. It runs the timers whose time has
/// passed by then, in the order of their due times, equal ones in the order of their making. Making
/// or cancelling one of n timers takes O(log n) on average.
///
/// A callback may make timers, which run in the next tick at the earliest, and cancel any timer,
/// its own included; so may the destructor of a callable. A running callable lives until it has
/// returned. A timer made in the callback of another reactor may run in the same tick.
///
/// An exception leaves Tick. A one-shot timer that threw is gone, a repeating one goes on; the
/// others that were due run in the next tick, in order. An empty function throws
/// std::bad_function_call in the same way.
///
/// For the thread that ticks. REQUIRES: it does not end inside one of its own callbacks, and the
/// clock's SetOrigin is not called while a timer waits.
class Timers {
 public:
  /// Names one timer. The same Timers never uses it again, and to another Timers it means nothing.
  struct Id {
    /// Whether both name the same timer, or none.
    bool operator==(const Id&) const = default;

   private:
    friend class Timers;

    std::uint64_t sequence = 0;  // counts the timers that were made; 0 names none
    std::size_t slot = 0;
  };

  /// Makes the reactor that runs the timers, timed by the clock in the storage. Throws what
  /// SFrameUtility::CreateReactor does. REQUIRES: `frames` outlives this object.
  explicit Timers(SFrameUtility& frames);

  /// The same, timed by `clock`: the timers stop while it is paused, and follow its rate. REQUIRES:
  /// `frames` and `clock` outlive this object.
  Timers(SFrameUtility& frames, const GameClock& clock);

  /// Drops all waiting timers without running them.
  ~Timers();

  Timers(const Timers&) = delete;
  Timers& operator=(const Timers&) = delete;

  /// Runs `callback` once, in the first tick that finds `delay` microseconds passed since this
  /// call; 0 means the next tick. A delay may be as long as 2^63. Returns the timer's id.
  ///
  /// Throws Vorn::MissingInstance without a clock, and std::bad_alloc; nothing has changed then.
  Id After(std::uint64_t delay, std::function<void()> callback);

  /// Runs `callback` every `interval` microseconds, counted from this call, until it is cancelled.
  /// An interval of 0 runs it in every tick, from the next on.
  ///
  /// The timer keeps its phase: a late tick does not move the times behind it. It never runs twice
  /// a tick to catch up: times that have passed together count as one.
  ///
  /// Returns and throws as After does.
  Id Every(std::uint64_t interval, std::function<void()> callback);

  /// Keeps the timer from running again, and destroys its callable before it returns. A callable
  /// that is running is destroyed once it has returned.
  ///
  /// Returns whether the timer was waiting. A running one-shot timer was not; a running repeating
  /// one was, for its next time. False too for a timer that is gone or cancelled, and for a
  /// default-made id. Throws nothing.
  bool Cancel(Id id);

  /// How many timers wait for their time, or for their turn in this tick.
  std::size_t Waiting() const;

  /// When the first waiting timer is due, on the clock that times it: a time in the past if it
  /// waits for its turn in this tick or for the next. None if no timer waits. Reads no clock.
  std::optional<std::uint64_t> NextDue() const;

 private:
  class State;

  std::unique_ptr<State> state;
};

}  // namespace Common::Kit
