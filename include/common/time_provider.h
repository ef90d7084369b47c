/// @file
/// The engine's clock. It counts whole microseconds from its manufacture, waits to within a few of
/// them, fills scopes with time, and makes periodic signals. Enter it into the storage right after
/// manufacture: the frame utility, the seed provider and the signals look for it there.
///
/// ```cpp
/// using Clock = Vorn::Service<Common::STimeProvider>;
/// const auto owner = Clock::Create(Common::ManufactureTimeProvider());
/// const auto frame = Clock::Get()->MakeTimeFiller(16'667);  // this scope lasts a frame of 60 Hz
/// ```
#pragma once

#include <common/common_services_export.h>
#include <common/periodic.h>
#include <vorn_lnk/intrudable>
#include <vorn_lnk/singleton>

#include <cstdint>

namespace Common {

/// The wave of a signal, over a phase that runs from 0.0 to 1.0 in each period. Any other value
/// makes a signal that is always 1.0 and needs no clock.
enum class PeriodicKind : std::uint32_t {
  Sine = 0,             ///< one full turn a period, from 0.0 upwards
  Square = 1,           ///< 1.0 while the phase is below the duty, then 0.0
  Triangle = 2,         ///< up to 1.0 where the phase reaches the duty, then back down
  RisingSawtooth = 3,   ///< the phase
  FallingSawtooth = 4,  ///< 1.0 less the phase
};

/// The clock. Any thread may use it, but for `SetOrigin` and `RunTimingCheck`.
struct VORN_LNK_SHARED_TYPE STimeProvider {
  /// Ends the clock. REQUIRES: all its fillers have ended, and no thread is using it.
  virtual ~STimeProvider() = default;

  /// Makes another moment the zero of this clock. `rawMicroseconds` is a reading of the platform's
  /// steady clock: `SetOrigin(0)` makes `Now` return that clock's own reading, and a moment in the
  /// future makes `Now` wrap to huge values until it comes. Best called right after manufacture.
  ///
  /// Earlier readings of `Now` no longer compare with later ones. Signals jump to their new phase.
  /// For a filler that is alive, a shift forward counts as time that has passed and a shift
  /// backward as time still to come, but it never waits for more than its whole length. For
  /// reactors and delayed calls, see `<common/frame_utility.h>`.
  ///
  /// One thread. REQUIRES: no other thread is using the clock, a filler or a signal.
  virtual void SetOrigin(std::uint64_t rawMicroseconds) = 0;

  /// Reads the clock: whole microseconds, rounded down, since its manufacture or since the origin
  /// that was set. Costs one reading of the system's clock. Compare two readings by their unsigned
  /// difference, which is right across the wrap of the 64 bits too. Any thread.
  virtual std::uint64_t Now() = 0;

  /// Returns once `microseconds` of this clock have passed. Sleeps in steps of 1 ms while much time
  /// remains, then spins and yields, so the last stretch keeps one processor busy. That stretch is
  /// twice as long as the sleep of 1 ms that was measured at manufacture: usually a little over 2
  /// ms, about 30 ms if the system's timer is coarse.
  ///
  /// A wait may cross the wrap of the clock. A length of 2^63 microseconds or more, such as a
  /// negative number that was converted, counts as passed: it returns at once, as for 0.
  ///
  /// Any thread. REQUIRES: no `SetOrigin` at the same time.
  virtual void Wait(std::uint64_t microseconds) = 0;

  /// Makes a scope last for at least `microseconds`: when the last reference to the result goes, it
  /// waits, as `Wait` does, for what is left of them since this call. It does not wait if the scope
  /// has taken longer, nor for a length of 2^63 or more. Keep the result in a variable: one that is
  /// dropped at once waits for its whole length. `pthread_cancel` ends a thread in the middle of
  /// `Wait`, but not of a filler's wait.
  ///
  /// Throws std::bad_alloc. Any thread. REQUIRES: the filler ends before the clock does.
  virtual Vorn::IntrudablePtr<Vorn::IScoped> MakeTimeFiller(std::uint64_t microseconds) = 0;

  /// Shows how exact waiting is on this machine: fills six scopes of 1000 down to 30 ms and prints
  /// a line to `std::cout` for each, such as `250003us : 0.250003s`. Takes about 2 s. Format, width
  /// and locale of the stream do not change the lines. They are not flushed unless the stream has
  /// `std::unitbuf` set.
  ///
  /// Measures the clock in the storage, and throws Vorn::MissingInstance if there is none. No
  /// trouble with the console reaches the caller. One thread at a time, as for any use of
  /// `std::cout` together with other output.
  virtual void RunTimingCheck() = 0;

  /// Makes a signal of this clock; see `IPeriodic`. `period` is in microseconds; if it is 0, the
  /// phase stays at 0.0. `duty` is the share of the period at which a square falls and a triangle
  /// peaks: it is clamped to 0.0 to 1.0, a NaN counts as 0.0, and other kinds ignore it. With
  /// periods above 16.8 s the phase moves in steps and may reach 1.0, because it is computed in
  /// single precision.
  ///
  /// Throws std::bad_alloc. Any thread.
  virtual Vorn::IntrudablePtr<IPeriodic> MakePeriodic(PeriodicKind kind, std::uint64_t period,
                                                      float duty) = 0;
};

/// Makes the process's one clock, which the caller owns. Blocks for one sleep of 1 ms to learn how
/// long such a sleep takes here.
///
/// Throws ApplicationErrorException on every call but the first, also if that one failed or its
/// clock has ended; and std::bad_alloc. For one thread at a time.
[[nodiscard]] COMMON_SERVICES_EXPORT STimeProvider* ManufactureTimeProvider();

}  // namespace Common
