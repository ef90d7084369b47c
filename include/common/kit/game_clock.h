/// @file
/// The time of the game, which can be paused and slowed down while the clock in the storage runs
/// on. It is for what belongs to the game: timers, cooldowns, animations. What belongs to the
/// player, such as menus and frame pacing, uses the clock.
///
/// ```cpp
/// Common::Kit::GameClock gameClock;
/// Common::Kit::Timers timers(*frames, gameClock);
/// timers.After(90'000'000, [] { CloseHarbor(); });
/// gameClock.SetRate(0.5);  // slow motion: the harbor closes in 180 s
/// gameClock.Pause();       // and not before the game goes on
/// ```
#pragma once

#include <cstdint>
#include <memory>

namespace Common::Kit {

/// Counts microseconds of the game, from 0 and at first at rate 1. It never runs backwards on any
/// thread: it goes on from where it is after a pause or a change of rate, and when the clock in the
/// storage, looked up at each use, wraps, is set back or replaced. A clock set forward moves it on.
///
/// Reading, pausing and changing the rate lose no time to rounding: parts of a microsecond are
/// kept. At the largest value, which only extreme rates reach, it stops.
///
/// Any thread. REQUIRES: less than 2^63 microseconds pass between two uses.
class GameClock {
 public:
  /// Throws Vorn::MissingInstance without a clock, and std::bad_alloc.
  GameClock();

  ~GameClock();

  GameClock(const GameClock&) = delete;
  GameClock& operator=(const GameClock&) = delete;

  /// The time of the game, rounded down. Takes a lock and reads the clock. Throws
  /// Vorn::MissingInstance without a clock, unless paused.
  std::uint64_t Now() const;

  /// Stops the time. Throws Vorn::MissingInstance without a clock, unless paused already, and has
  /// then changed nothing.
  void Pause();

  /// Ends a pause, however often Pause was called. If there is a pause and no clock, throws
  /// Vorn::MissingInstance, and the pause goes on.
  void Resume();

  /// Whether the time is paused.
  bool IsPaused() const;

  /// Runs the time at `rate` times the clock's speed from now on: 0.5 is half speed, 2.0 is double
  /// speed. Does not end a pause.
  ///
  /// Throws std::invalid_argument if the rate is not above 0 or not finite, and
  /// Vorn::MissingInstance without a clock, unless paused. Nothing has changed then.
  void SetRate(double rate);

 private:
  struct State;

  const std::unique_ptr<State> state;
};

}  // namespace Common::Kit
