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

// Callables are destroyed only after they have been taken out of the reactor or the queue that held
// them, so their destructors may call back into the service.
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

  // Half open. A call's sequence number counts from the first call that was ever scheduled: a call
  // moves up in the queue whenever one leaves, but keeps its number.
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
