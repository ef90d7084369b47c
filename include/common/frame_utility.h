/// @file
/// The per-frame scheduler. Once a frame the host calls `Tick`, which makes the pending values of
/// `SMessageTotem` current, then runs the reactors and the delayed calls that are due. Nothing runs
/// between ticks. All times are microseconds of the clock in the storage.
///
/// ```cpp
/// auto reactor = frames->CreateReactor(16'000);
/// reactor->SetCallback([](std::uint64_t frameNumber) { ... });
/// frames->ScheduleCall([](std::uint64_t ship) { ... }, shipNumber, 2'000'000);
/// frames->Tick();
/// ```
#pragma once

#include <common/common_services_export.h>
#include <vorn_lnk/intrudable>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace Common {

/// What ticks run. A reactor's callback gets the frame number, a delayed call its own argument.
using FrameCallback = std::function<void(std::uint64_t)>;

/// A callback that runs in ticks for as long as the host holds a reference to the reactor.
///
/// For the thread that ticks. References may be copied and dropped on any thread, but the last one
/// only on that thread. REQUIRES: the last reference goes before the utility does, and not inside
/// the reactor's own callback.
struct VORN_LNK_SHARED_TYPE IFrameReactor : Vorn::Intrudable {
  /// Replaces the callback, and destroys the old callable before it returns. The interval and the
  /// time of the last firing stay. An empty function makes `Tick` throw `std::bad_function_call`.
  ///
  /// REQUIRES: not called inside the reactor's own callback. Other callbacks may call it.
  virtual void SetCallback(FrameCallback callback) = 0;

  /// Replaces the callback by one that does nothing, and destroys the old callable before it
  /// returns. The reactor goes on firing. REQUIRES: as `SetCallback`.
  virtual void Clear() = 0;
};

/// The scheduler of a process. For one thread at a time, which is also the thread that callbacks
/// run on.
///
/// When `STimeProvider::SetOrigin` moves the clock forward, what waits is due earlier by as much;
/// when it sets the clock back, later. But a call is due at once if the clock then reads less than
/// when it was scheduled, and so is a reactor if the clock reads less than when it last fired. Ids
/// do not change, so one may be given out again.
struct VORN_LNK_SHARED_TYPE SFrameUtility {
  /// Drops the waiting calls without running them, and takes `SMessageTotem` out of the storage. A
  /// second utility cannot be made in the same process.
  ///
  /// REQUIRES: every reactor has been released, and no tick is under way.
  virtual ~SFrameUtility() = default;

  /// Makes a reactor that fires in the first tick that finds `interval` microseconds passed since
  /// it last fired. An interval of 0 fires in every tick. Until `SetCallback` is called, firing
  /// does nothing.
  ///
  /// The result holds the only reference, so `frames->CreateReactor(0)->SetCallback(...)` never
  /// runs. Throws `std::bad_alloc`, and has then changed nothing. For the thread that ticks.
  ///
  /// The first interval counts from the clock's zero, so a reactor made long after that fires in
  /// the next tick. A reactor fires at most once a tick, and lost time is not made up. Reactors run
  /// in the order of their addresses, not of their making. One made inside a reactor's callback
  /// fires in the same tick only if its address is higher; one made inside a delayed call fires in
  /// the next tick at the earliest.
  virtual Vorn::IntrudablePtr<IFrameReactor> CreateReactor(std::uint64_t interval) = 0;

  /// Queues a call of `callback` with `argument` for the first tick that finds `delay` microseconds
  /// passed. Returns the call's id, which is the time of the clock. Calls that are scheduled in the
  /// same microsecond, as two in a row nearly always are, share one id; see `CancelCall`.
  ///
  /// Throws `Vorn::MissingInstance` without a clock, and `std::bad_alloc`. Nothing is queued then.
  /// For the thread that ticks.
  ///
  /// Calls run strictly in the order of scheduling: one that is not yet due holds back all behind
  /// it. A call that throws, as an empty function does, stays at the front and is tried again in
  /// each tick until it returns or is cancelled. A call scheduled inside a reactor's callback may
  /// run in the same tick; one scheduled inside a delayed call waits for the next tick.
  virtual std::uint64_t ScheduleCall(FrameCallback callback, std::uint64_t argument,
                                     std::uint64_t delay) = 0;

  /// Cancels every call with this id: calls that share an id are cancelled together. Their
  /// callables are destroyed before this returns. Does nothing if no call has the id. For the
  /// thread that ticks, also inside callbacks.
  ///
  /// A cancelled call keeps its place in the queue, is due at once and does nothing. A running call
  /// may cancel its own id, even by chance: its callable lives until it has returned or thrown, and
  /// is then gone in either case.
  ///
  /// Takes a binary search of the waiting calls. If a call was scheduled after the clock had been
  /// set back, it takes a walk over all of them, until the queue has run empty.
  virtual void CancelCall(std::uint64_t id) = 0;

  /// Runs one frame: applies the edge of `SMessageTotem`, then runs every reactor that is due, in
  /// the order of addresses, then the delayed calls that are due, in the order of scheduling.
  ///
  /// Lets every exception of a callback through. The edge stays applied, a reactor that threw has
  /// fired, and what has not run waits for the next tick. The same holds for
  /// `Vorn::MissingInstance`, which every tick throws if there is no clock.
  ///
  /// REQUIRES: no tick is under way, so it is not called inside a callback, nor by the destructor
  /// of a callable that a tick, or the utility at its own end, destroys.
  virtual void Tick() = 0;

  /// How many delayed calls wait. A cancelled call does not count, nor does the running one; if
  /// that throws, it waits again. Takes constant time. A class that does not override this returns
  /// 0. For the thread that ticks, also inside callbacks.
  virtual std::size_t WaitingCalls() { return 0; }
};

/// Makes the process's one frame utility, which the caller owns, and enters `SMessageTotem` into
/// the storage until the utility ends. Needs no clock yet.
///
/// Throws `ApplicationErrorException` on every call but the first, also if that one failed or its
/// utility has ended; `Vorn::MissingInstance` if a totem is in the storage already; and
/// `std::bad_alloc`. For one thread at a time.
[[nodiscard]] COMMON_SERVICES_EXPORT SFrameUtility* ManufactureFrameUtility();

}  // namespace Common
