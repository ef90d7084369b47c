#include "frame_reactor.h"

#include <common/time_provider.h>

#include <cassert>
#include <utility>

#include "frame_utility_impl.h"

namespace Common {
namespace {

const Vorn::Service<STimeProvider> timeProvider;

void DoNothing(std::uint64_t /*frameNumber*/) {}

}  // namespace

FrameReactorImpl::FrameReactorImpl(FrameUtilityImpl* owner, std::uint64_t interval)
    : callback(DoNothing), owner(owner), interval(interval) {
  owner->Reactors().Enter(this);
}

FrameReactorImpl::~FrameReactorImpl() {
  assert(!owner->Reactors().IsRunning(this) && "a reactor is not released by its own callback");
  owner->Reactors().Remove(this);
}

void* FrameReactorImpl::operator new(std::size_t size, BlockPool& memory) {
  return memory.Allocate(size);
}

void FrameReactorImpl::operator delete(void* block, BlockPool& memory) { memory.Free(block); }

void FrameReactorImpl::operator delete(FrameReactorImpl* reactor,
                                       std::destroying_delete_t /*tag*/) {
  // Destroyed last, since its destructor may end the utility, which owns the memory.
  const FrameCallback dropped = std::move(reactor->callback);
  BlockPool& memory = reactor->owner->Memory();
  reactor->~FrameReactorImpl();
  memory.Free(reactor);
}

void FrameReactorImpl::SetCallback(FrameCallback newCallback) {
  assert(!owner->Reactors().IsRunning(this) && "a callback does not change its own reactor");
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
