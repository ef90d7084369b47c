#pragma once

#include <common/frame_utility.h>
#include <common/message_totem.h>
#include <vorn_lnk/singleton>

#include <cstdint>
#include <deque>
#include <memory>
#include <utility>

#include "block_pool.h"
#include "reactor_list.h"

namespace Common {

struct DelayedCall {
  DelayedCall(std::uint64_t stamp, std::uint64_t delay, std::uint64_t argument,
              FrameCallback callback, bool isCancelled = false)
      : stamp(stamp),
        delay(delay),
        argument(argument),
        callback(std::move(callback)),
        isCancelled(isCancelled) {}

  std::uint64_t stamp;  // when it was scheduled, which is also its id
  std::uint64_t delay;
  std::uint64_t argument;
  FrameCallback callback;
  bool isCancelled;
};

// A callable is taken out of its reactor or of the queue before it is destroyed, so its destructor
// may call back into the service.
class FrameUtilityImpl final : public SFrameUtility {
 public:
  FrameUtilityImpl();
  ~FrameUtilityImpl() override;

  FrameUtilityImpl(const FrameUtilityImpl&) = delete;
  FrameUtilityImpl& operator=(const FrameUtilityImpl&) = delete;

  Vorn::IntrudablePtr<IFrameReactor> CreateReactor(std::uint64_t interval) override;
  std::uint64_t ScheduleCall(FrameCallback callback, std::uint64_t argument,
                             std::uint64_t delay) override;
  void CancelCall(std::uint64_t id) override;
  void Tick() override;
  std::size_t WaitingCalls() override;

  BlockPool& Memory() { return memory; }
  ReactorList& Reactors() { return reactors; }

 private:
  using Calls = std::deque<DelayedCall>;

  // Half open. A call's sequence number counts all calls ever scheduled, so it stays the same while
  // the call moves up in the queue.
  struct SequenceRange {
    std::uint64_t first;
    std::uint64_t end;
  };

  SequenceRange FindCandidates(std::uint64_t id);
  Calls::iterator CallAt(std::uint64_t sequence);
  std::uint64_t SequenceOf(const Calls::const_iterator& call) const;
  void Cancel(std::uint64_t sequence);

  void RunDelayedCalls();
  void RunFront();
  void PopFront();

  BlockPool memory;
  ReactorList reactors;
  std::shared_ptr<Vorn::Service<SMessageTotem>> totem;
  const std::shared_ptr<const DelayedCall> emptyCall;
  Calls delayedCalls;
  std::uint64_t callsServed = 0;   // which is also the sequence number of the front
  std::size_t cancelledCalls = 0;  // of those in the queue
  bool stampsAscend = true;        // until one falls below the one before it
  bool frontIsRunning = false;
  bool isTicking = false;
};

}  // namespace Common
