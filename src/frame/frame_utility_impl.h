#pragma once

#include <common/frame_utility.h>
#include <common/message_totem.h>
#include <vorn_lnk/singleton>

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <utility>

namespace Common {

class FrameUtilityImpl;

class FrameReactorImpl final : public IFrameReactor {
 public:
  ~FrameReactorImpl() override;

  void SetCallback(FrameCallback newCallback) override;

  // Runs the callback if its interval has passed. An interval of 0 needs no clock.
  void React(std::uint64_t frameNumber);

 private:
  friend class FrameUtilityImpl;

  FrameReactorImpl(FrameUtilityImpl* utility, std::uint64_t minimumInterval);

  void Clear() override;

  FrameCallback callback;
  FrameUtilityImpl* const owner;
  const std::uint64_t interval;
  std::uint64_t lastFired = 0;
  FrameReactorImpl* following = nullptr;  // the next one in the order of addresses
};

struct DelayedCall {
  DelayedCall(std::uint64_t now, std::uint64_t wait, std::uint64_t value, FrameCallback function)
      : stamp(now), delay(wait), argument(value), callback(std::move(function)) {}

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

  Vorn::IntrudablePtr<IFrameReactor> CreateReactor(std::uint64_t interval) override;
  std::uint64_t ScheduleCall(FrameCallback callback, std::uint64_t argument,
                             std::uint64_t delay) override;
  void CancelCall(std::uint64_t id) override;
  void Tick() override;

  void RemoveReactor(const FrameReactorImpl* reactor);

 private:
  using Reactors = std::map<std::uintptr_t, FrameReactorImpl*>;

  void AddReactor(FrameReactorImpl* reactor);
  FrameReactorImpl*& LinkTo(Reactors::iterator entry);
  void RunReactors();
  void RunDelayedCalls();

  Reactors reactors;  // not owning
  std::shared_ptr<Vorn::Singleton<SMessageTotem, std::shared_ptr>> totem;
  std::deque<DelayedCall> delayedCalls;
  FrameReactorImpl* firstReactor = nullptr;
};

}  // namespace Common
