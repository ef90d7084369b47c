#include <common/time_provider.h>

#include <utility>

#include "frame_utility_impl.h"

namespace Common {
namespace {

const Vorn::Singleton<STimeProvider, std::shared_ptr> timeProvider;

void DoNothing(std::uint64_t /*frameNumber*/) {}

}  // namespace

FrameReactorImpl::FrameReactorImpl(FrameUtilityImpl* utility, std::uint64_t minimumInterval)
    : callback(DoNothing), owner(utility), interval(minimumInterval) {}

FrameReactorImpl::~FrameReactorImpl() { owner->RemoveReactor(this); }

void FrameReactorImpl::SetCallback(FrameCallback newCallback) {
  const FrameCallback replaced = std::exchange(callback, std::move(newCallback));
}

void FrameReactorImpl::Clear() { SetCallback(DoNothing); }

void FrameReactorImpl::React(std::uint64_t frameNumber) {
  if (interval != 0) {
    const std::uint64_t now = timeProvider.Get()->Now();
    if (now - lastFired < interval) return;
    lastFired = now;
  }
  callback(frameNumber);
}

}  // namespace Common
