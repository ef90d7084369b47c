#include <common/application_error_exception.h>
#include <common/frame_utility.h>
#include <common/time_provider.h>

#include <algorithm>
#include <cassert>
#include <utility>

#include "frame_reactor.h"
#include "frame_utility_impl.h"

namespace Common {
namespace {

using TotemAccess = Vorn::Singleton<SMessageTotem, std::shared_ptr>;

const Vorn::Singleton<STimeProvider, std::shared_ptr> timeProvider;

// A cancelled call takes over all of this but the stamp.
const DelayedCall EmptyCall{0, 0, 0, [](std::uint64_t) {}};

std::uint64_t instanceCount = 0;

// Sets a mark for as long as it lives, also where a callback throws.
struct ScopedMark {
  explicit ScopedMark(bool* mark) : mark(mark) { *mark = true; }
  ~ScopedMark() { *mark = false; }

  ScopedMark(const ScopedMark&) = delete;
  ScopedMark& operator=(const ScopedMark&) = delete;

  bool* const mark;
};

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

FrameUtilityImpl::FrameUtilityImpl() : totem(RegisterTotem()) {}

FrameUtilityImpl::~FrameUtilityImpl() {
  assert(!isTicking && "a frame utility is not ended by a tick of its own");
  const ScopedMark ending(&isTicking);  // a callable's destructor must not tick
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
  const auto hasId = [id](const DelayedCall& call) { return call.stamp == id; };
  auto [number, end] = NumbersToSearch(id);
  while (number < end) {
    const auto match = std::find_if(CallOf(number), CallOf(end), hasId);
    number = NumberOf(match);
    if (number == end) return;
    Cancel(number);
    // The destructor of the callable may have let a tick serve calls.
    number = std::max(number + 1, callsServed);
  }
}

// The calls with this id, if the stamps are in order; otherwise all calls.
FrameUtilityImpl::Numbers FrameUtilityImpl::NumbersToSearch(std::uint64_t id) {
  if (!stampsAscend) return {callsServed, callsServed + delayedCalls.size()};
  const auto first = std::lower_bound(
      delayedCalls.begin(), delayedCalls.end(), id,
      [](const DelayedCall& call, std::uint64_t sought) { return call.stamp < sought; });
  const auto end = std::find_if(first, delayedCalls.end(),
                                [id](const DelayedCall& call) { return call.stamp != id; });
  return {NumberOf(first), NumberOf(end)};
}

FrameUtilityImpl::Calls::iterator FrameUtilityImpl::CallOf(std::uint64_t number) {
  return delayedCalls.begin() + static_cast<std::ptrdiff_t>(number - callsServed);
}

std::uint64_t FrameUtilityImpl::NumberOf(const Calls::const_iterator& call) const {
  return callsServed + static_cast<std::uint64_t>(call - delayedCalls.begin());
}

void FrameUtilityImpl::Cancel(std::uint64_t number) {
  if (frontIsRunning && number == callsServed) {
    frontIsCancelled = true;
    return;
  }
  DelayedCall& call = *CallOf(number);
  const DelayedCall cancelled = std::exchange(call, EmptyCall);
  call.stamp = cancelled.stamp;  // the queue stays in order
}

void FrameUtilityImpl::Tick() {
  assert(!isTicking && "Tick is not called while a tick is under way or the utility ends");
  const ScopedMark ticking(&isTicking);
  ApplyFrameEdge(*TotemAccess::Get());
  reactors.React(TotemAccess::Get()->frameNumber.Read());
  RunDelayedCalls();
}

// Serves at most the calls that wait at the start, so a call that schedules another cannot keep a
// tick from ending.
void FrameUtilityImpl::RunDelayedCalls() {
  const std::uint64_t now = timeProvider.Get()->Now();
  const std::uint64_t end = callsServed + delayedCalls.size();
  while (callsServed < end) {
    const DelayedCall& front = delayedCalls.front();
    if (now - front.stamp < front.delay) return;
    RunFront();
  }
}

// A callable stays where it is until it has returned: moved away it might change its address.
void FrameUtilityImpl::RunFront() {
  const DelayedCall& front = delayedCalls.front();
  frontIsRunning = true;
  frontIsCancelled = false;
  try {
    front.callback(front.argument);
  } catch (...) {
    frontIsRunning = false;
    if (frontIsCancelled) PopFront();
    throw;
  }
  frontIsRunning = false;
  PopFront();
}

void FrameUtilityImpl::PopFront() {
  const FrameCallback served = std::move(delayedCalls.front().callback);
  delayedCalls.pop_front();
  ++callsServed;
}

SFrameUtility* ManufactureFrameUtility() {
  ++instanceCount;
  if (instanceCount > 1) {
    // Hosts are promised this text, its odd spelling included.
    throw ApplicationErrorException("Multiple instaces of frame utility!");
  }
  return new FrameUtilityImpl;
}

}  // namespace Common
