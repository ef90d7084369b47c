#include <common/application_error_exception.h>
#include <common/frame_utility.h>
#include <common/time_provider.h>

#include <algorithm>
#include <utility>

#include "frame_utility_impl.h"

namespace Common {
namespace {

using TotemAccess = Vorn::Singleton<SMessageTotem, std::shared_ptr>;

const Vorn::Singleton<STimeProvider, std::shared_ptr> timeProvider;

// What a cancelled call is overwritten with.
const DelayedCall EmptyCall{0, 0, 0, [](std::uint64_t) {}};

std::uint64_t instanceCount = 0;

std::uintptr_t AddressOf(const FrameReactorImpl* reactor) {
  return reinterpret_cast<std::uintptr_t>(reactor);
}

std::shared_ptr<TotemAccess> RegisterTotem() {
  auto record = std::make_unique<SMessageTotem>();
  auto owner = TotemAccess::Create(record.get());
  record.release();  // the owner's from here on
  return owner;
}

void ApplyFrameEdge(SMessageTotem& record) {
  record.frameNumber.Write(record.frameNumber.Read() + 1);
  record.fourByteValuePrevious.Write(record.fourByteValue.Read());  // before that one moves on
  record.frameNumber.Commit();
  record.fourByteValuePrevious.Commit();
  record.fourByteValue.Commit();
  record.byteOne.Commit();
  record.byteTwo.Commit();
  record.twelveByteValue.Commit();
  record.byteThree.Commit();
  record.eightByteValue.Commit();
}

}  // namespace

FrameUtilityImpl::FrameUtilityImpl() : totem(RegisterTotem()) {}

FrameUtilityImpl::~FrameUtilityImpl() {
  while (!delayedCalls.empty()) {
    const FrameCallback dropped = std::move(delayedCalls.front().callback);
    delayedCalls.pop_front();
  }
}

Vorn::IntrudablePtr<IFrameReactor> FrameUtilityImpl::CreateReactor(std::uint64_t interval) {
  auto* const reactor = new FrameReactorImpl(this, interval);
  Vorn::IntrudablePtr<IFrameReactor> reference(reactor);
  AddReactor(reactor);
  return reference;
}

// The reactors are linked in the order of the map, since a tick walks a list in half the time.
void FrameUtilityImpl::AddReactor(FrameReactorImpl* reactor) {
  const auto entry = reactors.emplace(AddressOf(reactor), reactor).first;
  reactor->following = std::exchange(LinkTo(entry), reactor);
}

void FrameUtilityImpl::RemoveReactor(const FrameReactorImpl* reactor) {
  const auto entry = reactors.find(AddressOf(reactor));
  if (entry == reactors.end()) return;  // there was no memory to enter it
  LinkTo(entry) = reactor->following;
  reactors.erase(entry);
}

// The link that leads, or has to lead, to the reactor of this entry.
FrameReactorImpl*& FrameUtilityImpl::LinkTo(Reactors::iterator entry) {
  return entry == reactors.begin() ? firstReactor : std::prev(entry)->second->following;
}

std::uint64_t FrameUtilityImpl::ScheduleCall(FrameCallback callback, std::uint64_t argument,
                                             std::uint64_t delay) {
  const std::uint64_t stamp = timeProvider.Get()->Now();
  delayedCalls.emplace_back(stamp, delay, argument, std::move(callback));
  return stamp;
}

void FrameUtilityImpl::CancelCall(std::uint64_t id) {
  const auto count = std::ssize(delayedCalls);
  for (std::ptrdiff_t searched = 0; searched < std::min(count, std::ssize(delayedCalls));) {
    // Found anew after each match: the destructor of a callable may have changed the queue.
    const auto begin = delayedCalls.begin();
    const auto end = begin + std::min(count, std::ssize(delayedCalls));
    const auto match = std::find_if(begin + searched, end,
                                    [id](const DelayedCall& call) { return call.stamp == id; });
    if (match == end) return;
    searched = match - begin + 1;
    const DelayedCall cancelled = std::exchange(*match, EmptyCall);
  }
}

void FrameUtilityImpl::Tick() {
  ApplyFrameEdge(*TotemAccess::Get());
  RunReactors();
  RunDelayedCalls();
}

void FrameUtilityImpl::RunReactors() {
  const std::uint64_t frameNumber = TotemAccess::Get()->frameNumber.Read();
  for (auto* reactor = firstReactor; reactor != nullptr; reactor = reactor->following)
    reactor->React(frameNumber);
}

// Serves at most the calls that wait at the start, so a call that schedules another cannot keep a
// tick from ending.
void FrameUtilityImpl::RunDelayedCalls() {
  const std::uint64_t now = timeProvider.Get()->Now();
  for (std::size_t left = delayedCalls.size(); left > 0 && !delayedCalls.empty(); --left) {
    DelayedCall& front = delayedCalls.front();
    if (now - front.stamp < front.delay) return;
    front.callback(front.argument);
    const FrameCallback served = std::move(front.callback);
    delayedCalls.pop_front();
  }
}

SFrameUtility* ManufactureFrameUtility() {
  if (++instanceCount > 1) throw ApplicationErrorException("Multiple instaces of frame utility!");
  return new FrameUtilityImpl;
}

}  // namespace Common
