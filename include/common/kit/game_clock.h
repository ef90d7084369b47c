/// @file
/// The time of the game, which can be paused and slowed down while the clock in the storage goes
/// on. What belongs to the game counts by it: timers, cooldowns, animations. What belongs to the
/// player, such as menus and frame pacing, counts by the clock.
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

/// Counts microseconds of the game from its making, where it reads 0, at rate 1 at first. It never
/// runs backwards: it goes on from where it is when the rate changes and after a pause, and when
/// the clock in the storage, which it asks for at each use, wraps, is set back or is replaced. A
/// clock that is set forward moves it on.
///
/// However often it is read, paused or given another rate, it loses no time to rounding: parts of a
/// microsecond are kept. At the largest value, where extreme rates lead, it stays.
///
/// Any thread. REQUIRES: from one use to the next less than 2^63 microseconds pass.
class GameClock {
 public:
  /// Starts at 0. Throws Vorn::MissingInstance without a clock, and std::bad_alloc.
  GameClock();

  ~GameClock();

  GameClock(const GameClock&) = delete;
  GameClock& operator=(const GameClock&) = delete;

  /// Reads the time of the game, rounded down; never less than before, on whichever thread. Costs a
  /// lock and a reading of the clock. Throws Vorn::MissingInstance without a clock, unless it is
  /// paused.
  std::uint64_t Now() const;

  /// Stops the time. Does nothing if it stands still already. Throws Vorn::MissingInstance without
  /// a clock, and has then changed nothing.
  void Pause();

  /// Lets the time go on from where it is, however often it was paused. Does nothing if it is not
  /// paused. Throws as Pause does.
  void Resume();

  /// Whether the time stands still.
  bool IsPaused() const;

  /// Makes the time run at `rate` times the clock's from now on: 0.5 is slow motion at half speed,
  /// 2.0 is twice as fast. Does not end a pause.
  ///
  /// Throws std::invalid_argument for a rate that is not above 0 or not finite, and
  /// Vorn::MissingInstance without a clock, unless it is paused. After either, nothing has changed.
  void SetRate(double rate);

 private:
  struct State;

  const std::unique_ptr<State> state;
};

}  // namespace Common::Kit
