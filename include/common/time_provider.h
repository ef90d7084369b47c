// The engine's clock: one monotonic time in whole microseconds, counted from the clock's
// manufacture. It waits to the microsecond, fills scopes with time, and makes periodic signals.
//
// Enter it into the storage right after manufacture; the frame utility, the seed provider and the
// signals find it there:
//
//   auto clock = Vorn::Singleton<Common::STimeProvider,
//   std::shared_ptr>::Create(Common::ManufactureTimeProvider());
#pragma once

#include <common/common_services_export.h>
#include <common/periodic.h>
#include <vorn_lnk/intrudable>
#include <vorn_lnk/singleton>

#include <cstdint>

namespace Common {

// The wave of a signal, over a phase that runs from 0.0 to 1.0 in each period. Any other value
// makes a signal that is always 1.0 and needs no clock.
enum class PeriodicKind : std::uint32_t {
  Sine = 0,             // one full turn a period, from 0.0 up
  Square = 1,           // 1.0 while the phase is below the duty, then 0.0
  Triangle = 2,         // up to 1.0 where the phase reaches the duty, then back down
  RisingSawtooth = 3,   // the phase
  FallingSawtooth = 4,  // 1.0 less the phase
};

struct VORN_LNK_SHARED_TYPE STimeProvider {
  virtual ~STimeProvider() = default;

  // Makes `rawMicroseconds`, a reading of the platform's steady clock, the new zero of this clock.
  // SetOrigin(0) makes Now return the raw reading; an origin in the future makes it wrap to huge
  // values. REQUIRES: no other thread uses the clock or a signal at the same time.
  virtual void SetOrigin(std::uint64_t rawMicroseconds) = 0;

  // Microseconds since the origin, which is the moment of manufacture unless SetOrigin changed it.
  // Differences are to be taken in unsigned arithmetic. Costs one reading of the system's clock.
  // Any thread.
  virtual std::uint64_t Now() = 0;

  // Returns once `microseconds` of this clock have passed. Sleeps in steps of 1 ms while much
  // remains and yields in a spin for the rest, so the last stretch keeps one processor busy. That
  // stretch is as long as two sleeps of 1 ms took at manufacture: 2 ms and a little as a rule, some
  // 30 ms where the system's timer is coarse. Any thread. REQUIRES: no SetOrigin at the same time.
  virtual void Wait(std::uint64_t microseconds) = 0;

  // A scope that lasts at least `microseconds`: when the last reference goes, it waits, as Wait
  // does, for what is left of them since this call. Any thread. REQUIRES: the filler ends before
  // the clock does.
  virtual Vorn::IntrudablePtr<Vorn::IScoped> MakeTimeFiller(std::uint64_t microseconds) = 0;

  // Fills six scopes of 1000 down to 30 ms and prints to std::cout how long each really took; about
  // 2 s in all. Measures the clock in the storage, and throws Vorn::MissingInstance if there is
  // none. Does not flush. For one thread at a time.
  virtual void RunTimingCheck() = 0;

  // A signal of `period` microseconds. `duty`, the share of the period at which a square falls and
  // a triangle peaks, is clamped to 0.0..1.0; what is not a number counts as 0.0. A period of 0
  // holds the phase at 0.0. Beyond 16.8 s the phase moves in steps, as single precision does. Any
  // thread.
  virtual Vorn::IntrudablePtr<IPeriodic> MakePeriodic(PeriodicKind kind, std::uint64_t period,
                                                      float duty) = 0;
};

// Makes the process's one clock, which the caller owns. Blocks for one sleep of 1 ms to learn how
// long such a sleep takes here. Throws ApplicationErrorException on every call but the first, also
// after that clock is gone. For one thread at a time.
COMMON_SERVICES_EXPORT STimeProvider* ManufactureTimeProvider();

}  // namespace Common
