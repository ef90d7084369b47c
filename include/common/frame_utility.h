// The per-frame scheduler. Once a frame the host calls Tick, which makes the waiting values of
// SMessageTotem current, runs the reactors, and runs the delayed calls that are due; between two
// ticks nothing happens. All times are microseconds of the clock in the storage.
//
//   auto reactor = frame->CreateReactor(16'000);
//   reactor->SetCallback([](std::uint64_t frameNumber) { ... });
//   frame->ScheduleCall([](std::uint64_t ship) { ... }, shipNumber, 2'000'000);
#pragma once

#include <common/common_services_export.h>
#include <vorn_lnk/intrudable>

#include <cstdint>
#include <functional>

namespace Common {

using FrameCallback = std::function<void(std::uint64_t)>;

// A callback that runs in ticks for as long as the host holds a reference. Release the last one, on
// the thread that ticks and before the utility ends, to take the reactor out. Inside its callback a
// reactor must not be changed or released; other reactors may be.
struct VORN_LNK_SHARED_TYPE IFrameReactor : Vorn::Intrudable {
  // Replaces the callback, which gets the frame number. The old callable is destroyed before this
  // returns. An empty function makes the tick throw std::bad_function_call.
  virtual void SetCallback(FrameCallback callback) = 0;

  // Replaces the callback by one that does nothing. The reactor stays where it is.
  virtual void Clear() = 0;
};

// For one thread at a time, which is also the thread that callbacks run on.
struct VORN_LNK_SHARED_TYPE SFrameUtility {
  virtual ~SFrameUtility() = default;

  // A reactor that fires in the first tick that finds `interval` microseconds gone since it last
  // fired, counted from the clock's zero at first; never twice a tick, and lost time is not made
  // up. An interval of 0 fires in every tick. Made inside a reactor's callback it may fire in the
  // same tick or not, as addresses fall; made inside a delayed call it waits for the next.
  virtual Vorn::IntrudablePtr<IFrameReactor> CreateReactor(std::uint64_t interval) = 0;

  // Queues a call of `callback` with `argument` for the first tick that finds `delay` microseconds
  // gone. Returns the call's id, which calls scheduled in the same microsecond share. Calls run
  // strictly in the order of scheduling: one that is not yet due holds back all behind it. A call
  // that throws, as an empty function does, stays at the front and is tried again in each tick
  // until it succeeds or is cancelled. Scheduled inside a reactor's callback it may run in the same
  // tick; inside a delayed call it waits for the next. Throws Vorn::MissingInstance without a
  // clock, and then queues nothing.
  virtual std::uint64_t ScheduleCall(FrameCallback callback, std::uint64_t argument,
                                     std::uint64_t delay) = 0;

  // Takes the callables of all calls with this id away; nothing happens if there are none. What
  // stays of such a call keeps its place in the queue, is due at once and does nothing. A delayed
  // call must not cancel itself.
  virtual void CancelCall(std::uint64_t id) = 0;

  // One frame: the edge of SMessageTotem, then every reactor in the order of addresses, then the
  // delayed calls in the order of scheduling. Lets every exception of a callback through; the edge
  // stays applied, and what has not run waits for the next tick. Throws Vorn::MissingInstance where
  // it needs a clock that is not there. REQUIRES: not called from inside a callback.
  virtual void Tick() = 0;
};

// Makes the process's one frame utility, which the caller owns, and enters SMessageTotem into the
// storage until the utility ends. Queued calls are then dropped unrun. Throws
// ApplicationErrorException on every call but the first, and Vorn::MissingInstance if a totem
// stands in the storage already. For one thread at a time.
COMMON_SERVICES_EXPORT SFrameUtility* ManufactureFrameUtility();

}  // namespace Common
