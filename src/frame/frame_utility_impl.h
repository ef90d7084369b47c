#pragma once

#include <common/frame_utility.h>
#include <common/message_totem.h>
#include <vorn_lnk/singleton>

#include <cstdint>
#include <deque>
#include <memory>
#include <utility>

#include "reactor_list.h"
#include "reactor_memory.h"

namespace Common {

struct DelayedCall {
  DelayedCall(std::uint64_t stamp, std::uint64_t delay, std::uint64_t argument,
              FrameCallback callback)
      : stamp(stamp), delay(delay), argument(argument), callback(std::move(callback)) {}

  std::uint64_t stamp;  // when it was scheduled, which is also its id
  std::uint64_t delay;
  std::uint64_t argument;
  FrameCallback callback;
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

  ReactorMemory& Memory() { return memory; }
  ReactorList& Reactors() { return reactors; }

 private:
  using Calls = std::deque<DelayedCall>;

  // From the first of them to behind the last. A call's number counts from the first call that was
  // ever scheduled: a call moves up in the queue whenever one leaves, but keeps its number.
  struct Numbers {
    std::uint64_t first;
    std::uint64_t end;
  };

  Numbers NumbersToSearch(std::uint64_t id);
  Calls::iterator CallOf(std::uint64_t number);
  std::uint64_t NumberOf(const Calls::const_iterator& call) const;
  void Cancel(std::uint64_t number);

  void RunDelayedCalls();
  void RunFront();
  void PopFront();

  ReactorMemory memory;
  ReactorList reactors{&memory};
  std::shared_ptr<Vorn::Singleton<SMessageTotem, std::shared_ptr>> totem;
  Calls delayedCalls;
  std::uint64_t callsServed = 0;  // which is also the number of the front
  bool stampsAscend = true;       // until one falls below the one before it
  bool frontIsRunning = false;
  bool frontIsCancelled = false;
  bool isTicking = false;
};

}  // namespace Common
