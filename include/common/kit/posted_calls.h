/// @file
/// Brings work from other threads into the tick. The frame utility, and most of a game with it, is
/// for one thread. A thread that loads or computes posts what the next tick does with its result.
///
/// ```cpp
/// Common::Kit::PostedCalls posted(*frames);
/// std::thread forecast([&] {
///   if (!WindHasDropped()) posted.Post(CloseHarbor);
/// });
/// frames->Tick();  // closes the harbor, if the forecast is there by now
/// forecast.join();
/// ```
#pragma once

#include <common/frame_utility.h>

#include <cstddef>
#include <functional>
#include <memory>

namespace Common::Kit {

/// A queue that any thread fills and one reactor of interval 0 runs. Each call runs once, in the
/// order of posting: a tick runs those that wait when it reaches the reactor. A call posted by one
/// of them, or by the destructor of its callable, runs in the next tick; one posted by the callback
/// of another reactor may run in the same tick.
///
/// An exception leaves Tick. The call that threw is gone; those behind it run in the next tick, in
/// order. An empty function throws std::bad_function_call in the same way.
///
/// No callable is called or destroyed under the lock. Each is destroyed right after it has run, on
/// the thread that ticks.
class PostedCalls {
 public:
  /// Makes the reactor that runs the calls. Throws what SFrameUtility::CreateReactor does. For the
  /// thread that ticks. REQUIRES: `frames` outlives this object.
  explicit PostedCalls(SFrameUtility& frames);

  /// Drops the waiting calls without running them, and those that their destructors post. For the
  /// thread that ticks. REQUIRES: no other thread uses this object, and none of its calls runs.
  ~PostedCalls();

  PostedCalls(const PostedCalls&) = delete;
  PostedCalls& operator=(const PostedCalls&) = delete;

  /// Queues `call` for the next tick. Any thread. If it throws std::bad_alloc, nothing has changed.
  void Post(std::function<void()> call);

  /// How many calls wait for a tick, or for their turn in this one. Any thread.
  std::size_t Waiting() const;

 private:
  struct State;

  const std::unique_ptr<State> state;
};

}  // namespace Common::Kit
