#include <common/application_error_exception.h>
#include <common/frame_utility.h>
#include <common/time_provider.h>

#include <algorithm>
#include <cassert>
#include <utility>

#include "frame_reactor.h"
#include "frame_utility_impl.h"
#include "scope_exit.h"

namespace Common {
namespace {

using TotemAccess = Vorn::Service<SMessageTotem>;

const Vorn::Service<STimeProvider> timeProvider;

// Replaces a cancelled call, all but its stamp. Each utility holds a share, since it may
// outlive this library's constants.
const auto EmptyCall = std::make_shared<const DelayedCall>(
    0, 0, 0, [](std::uint64_t) {}, true);

std::uint64_t instanceCount = 0;

std::shared_ptr<TotemAccess> RegisterTotem() {
  auto record = std::make_unique<SMessageTotem>();
  auto owner = TotemAccess::Create(record.get());
  record.release();  // the owner deletes it from here on
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

FrameUtilityImpl::FrameUtilityImpl() : totem(RegisterTotem()), emptyCall(EmptyCall) {}

FrameUtilityImpl::~FrameUtilityImpl() {
  assert(!isTicking && "a frame utility is not ended by a tick of its own");
  isTicking = true;  // a callable's destructor must not tick
  while (!delayedCalls.empty()) PopFront();
}

Vorn::IntrudablePtr<IFrameReactor> FrameUtilityImpl::CreateReactor(std::uint64_t interval) {
  return Vorn::IntrudablePtr<IFrameReactor>(new (memory) FrameReactorImpl(this, interval));
}

std::uint64_t FrameUtilityImpl::ScheduleCall(FrameCallback callback, std::uint64_t argument,
                                             std::uint64_t delay) {
  const std::uint64_t stamp = timeProvider.Get()->Now();
  const bool keepsOrder =
      delayedCalls.empty() || (stampsAscend && delayedCalls.back().stamp <= stamp);
  delayedCalls.emplace_back(stamp, delay, argument, std::move(callback));
  stampsAscend = keepsOrder;
  return stamp;
}

void FrameUtilityImpl::CancelCall(std::uint64_t id) {
  auto [sequence, end] = FindCandidates(id);
  // A callable's destructor may run a tick, which serves calls.
  for (; sequence < end; sequence = std::max(sequence + 1, callsServed)) {
    if (CallAt(sequence)->stamp == id) Cancel(sequence);
  }
}

// The calls with this id, if the stamps are in order; otherwise all calls.
FrameUtilityImpl::SequenceRange FrameUtilityImpl::FindCandidates(std::uint64_t id) {
  if (!stampsAscend) return {callsServed, callsServed + delayedCalls.size()};
  const auto first = std::lower_bound(
      delayedCalls.begin(), delayedCalls.end(), id,
      [](const DelayedCall& call, std::uint64_t sought) { return call.stamp < sought; });
  const auto end = std::find_if(first, delayedCalls.end(),
                                [id](const DelayedCall& call) { return call.stamp != id; });
  return {SequenceOf(first), SequenceOf(end)};
}

FrameUtilityImpl::Calls::iterator FrameUtilityImpl::CallAt(std::uint64_t sequence) {
  return delayedCalls.begin() + static_cast<std::ptrdiff_t>(sequence - callsServed);
}

std::uint64_t FrameUtilityImpl::SequenceOf(const Calls::const_iterator& call) const {
  return callsServed + static_cast<std::uint64_t>(call - delayedCalls.begin());
}

void FrameUtilityImpl::Cancel(std::uint64_t sequence) {
  DelayedCall& call = *CallAt(sequence);
  if (call.isCancelled) return;
  ++cancelledCalls;
  if (frontIsRunning && sequence == callsServed) {
    call.isCancelled = true;
    return;
  }
  const DelayedCall cancelled = std::exchange(call, *emptyCall);
  call.stamp = cancelled.stamp;  // the queue stays in order
}

void FrameUtilityImpl::Tick() {
  assert(!isTicking && "Tick is not called while a tick is under way or the utility ends");
  isTicking = true;
  const ScopeExit atEnd([this] { isTicking = false; });
  ApplyFrameEdge(*TotemAccess::Get());
  reactors.React(TotemAccess::Get()->frameNumber.Read());
  RunDelayedCalls();
}

// Serves at most the calls that wait at the start, so that a call which schedules another cannot
// keep the tick from ending.
void FrameUtilityImpl::RunDelayedCalls() {
  const std::uint64_t now = timeProvider.Get()->Now();
  const std::uint64_t end = callsServed + delayedCalls.size();
  while (callsServed < end) {
    const DelayedCall& front = delayedCalls.front();
    if (now - front.stamp < front.delay) return;
    RunFront();
  }
}

// Runs the callable in place, since a move might change its address. A call that throws stays at
// the front, unless it was cancelled.
void FrameUtilityImpl::RunFront() {
  const DelayedCall& front = delayedCalls.front();
  bool hasReturned = false;
  frontIsRunning = true;
  const ScopeExit atEnd([&] {
    frontIsRunning = false;
    if (hasReturned || front.isCancelled) PopFront();
  });
  front.callback(front.argument);
  hasReturned = true;
}

void FrameUtilityImpl::PopFront() {
  if (delayedCalls.front().isCancelled) --cancelledCalls;
  const FrameCallback served = std::move(delayedCalls.front().callback);
  delayedCalls.pop_front();
  ++callsServed;
}

std::size_t FrameUtilityImpl::WaitingCalls() {
  const bool countsRunningCall = frontIsRunning && !delayedCalls.front().isCancelled;
  return delayedCalls.size() - cancelledCalls - (countsRunningCall ? 1 : 0);
}

SFrameUtility* ManufactureFrameUtility() {
  ++instanceCount;
  if (instanceCount > 1) {
    // The odd spelling is part of the contract.
    throw ApplicationErrorException("Multiple instaces of frame utility!");
  }
  return new FrameUtilityImpl;
}

}  // namespace Common
