/// @file
/// Frames at fixed times. Time fillers never make up for a late frame, so a game that uses them
/// falls behind. The pacer waits for deadlines one interval apart: lateness does not add up, and
/// the mean frame is as long as the interval.
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

/// Deadlines on the clock in the storage, looked up at each use. That clock may wrap. If it is set
/// back, or replaced by one that reads less, the deadlines start again from there. A step forward
/// counts as lateness.
///
/// For one thread, usually the one that ticks.
class FramePacer {
 public:
  /// Sets the first deadline `interval` microseconds from now, so make it when the frames begin.
  ///
  /// Throws std::invalid_argument for an interval of 0, Vorn::MissingInstance without a clock, and
  /// std::bad_alloc. An interval of 2^63 or more counts as passed, as in `STimeProvider::Wait`.
  explicit FramePacer(std::uint64_t interval);

  ~FramePacer();

  FramePacer(const FramePacer&) = delete;
  FramePacer& operator=(const FramePacer&) = delete;

  /// Ends a frame: waits for the next deadline, as exactly as the clock's `Wait`. Returns by how
  /// many microseconds this call was late, 0 when in time.
  ///
  /// A late call returns at once. Up to one interval late, the deadlines stay where they are, so
  /// the next frame is shorter. Beyond that, the deadlines that have passed are given up and the
  /// next one is a whole interval after this call: no burst of frames follows a long stall.
  ///
  /// Throws Vorn::MissingInstance without a clock, and has then changed nothing.
  std::uint64_t WaitForNext();

  /// Changes the interval, in microseconds, from the frame under way on: its deadline is now
  /// `interval` after its start, and may have passed already.
  ///
  /// Throws std::invalid_argument for an interval of 0, and has then changed nothing.
  void SetInterval(std::uint64_t interval);

  /// How many deadlines were given up. The one that a late call has just missed does not count.
  std::uint64_t Missed() const;

 private:
  struct State;

  const std::unique_ptr<State> state;
};

}  // namespace Common::Kit
