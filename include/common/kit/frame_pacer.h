/// @file
/// Frames at fixed times. A time filler around a frame never makes up for a frame that came late,
/// so a game that runs on fillers falls behind. The pacer waits for deadlines that lie one interval
/// apart: lateness does not add up, and the mean frame is as long as the interval.
///
/// ```cpp
/// Common::Kit::FramePacer pacer(16'667);  // 60 frames a second
/// while (!WindHasDropped()) {
///   Simulate();
///   Draw();
///   const std::uint64_t late = pacer.WaitForNext();
///   if (late > 8'000) log->LogWarning("A frame took " + std::to_string(late) + " us too long");
/// }
/// ```
#pragma once

#include <cstdint>
#include <memory>

namespace Common::Kit {

/// Deadlines on the clock in the storage, which is asked for at each use. It may wrap. If it is
/// set back, or replaced by one that reads less, the deadlines start again from there; a step
/// forward counts as lateness.
///
/// For one thread, as a rule the one that ticks.
class FramePacer {
 public:
  /// Sets the first deadline `interval` microseconds after this call, so make it when the frames
  /// begin.
  ///
  /// Throws std::invalid_argument for an interval of 0, Vorn::MissingInstance without a clock, and
  /// std::bad_alloc. An interval of 2^63 or more counts as passed, as it does for
  /// `STimeProvider::Wait`.
  explicit FramePacer(std::uint64_t interval);

  ~FramePacer();

  FramePacer(const FramePacer&) = delete;
  FramePacer& operator=(const FramePacer&) = delete;

  /// Ends a frame: waits for the next deadline with the clock's `Wait`, which is as exact as it
  /// says there. Returns how many microseconds after the deadline this call came, 0 when in time.
  ///
  /// A late call returns at once. Up to one interval late it keeps the deadlines where they are, so
  /// the next frame is shorter. Beyond that it gives up the deadlines that have passed meanwhile,
  /// and the next one lies a whole interval after this call: after a long stall frames are not run
  /// in a burst.
  ///
  /// Throws Vorn::MissingInstance without a clock, and has then changed nothing.
  std::uint64_t WaitForNext();

  /// Changes the interval. The next deadline now lies `interval` microseconds after the one before
  /// it, so the frame under way gets the new length, and may be late by it.
  ///
  /// Throws std::invalid_argument for an interval of 0, and has then changed nothing.
  void SetInterval(std::uint64_t interval);

  /// How many deadlines were given up. The deadline that a late call came for does not count.
  std::uint64_t Missed() const;

 private:
  struct State;

  const std::unique_ptr<State> state;
};

}  // namespace Common::Kit
