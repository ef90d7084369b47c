#include <common/frame_utility.h>
#include <common/message_totem.h>

#include <algorithm>
#include <stdexcept>

#include "support.h"

namespace Common::Test {

using Reactor = Vorn::IntrudablePtr<IFrameReactor>;
using Calls = std::vector<std::uint64_t>;

static void Throw(std::uint64_t) { throw std::length_error("callback"); }

// Runs its action when the last copy of it is destroyed.
static FrameCallback ActingAtItsEnd(std::function<void()> action) {
  const auto act = [action = std::move(action)](void*) { action(); };
  return [end = std::shared_ptr<void>(nullptr, act)](std::uint64_t) {};
}

struct Frame : testing::Test {
  // Notes what the callback is given, above `base`.
  FrameCallback Note(std::uint64_t base = 0) {
    return [=, this](std::uint64_t value) { calls.push_back(base + value); };
  }

  // The time is also the argument and the id.
  void ScheduleAt(std::uint64_t now, FrameCallback callback, std::uint64_t delay = 0) {
    clock->now = now;
    EXPECT_EQ(utility->ScheduleCall(std::move(callback), now, delay), now);
  }

  // What callbacks note in a tick at this time.
  Calls TickAt(std::uint64_t now) {
    clock->now = now;
    utility->Tick();
    return std::exchange(calls, {});
  }

  Reactor MakeReactor(std::uint64_t interval, FrameCallback callback) {
    Reactor reactor = utility->CreateReactor(interval);
    reactor->SetCallback(std::move(callback));
    return reactor;
  }

  // Reactors that note the number of the frame, in the order of their addresses.
  std::vector<Reactor> MakeReactors(std::size_t count, std::uint64_t interval) {
    std::vector<Reactor> reactors(count);
    for (Reactor& reactor : reactors) reactor = MakeReactor(interval, Note());
    std::sort(reactors.begin(), reactors.end());
    return reactors;
  }

  StoredClock clock;
  Calls calls;
  SFrameUtility* utility = ManufactureFrameUtility();
  std::unique_ptr<SFrameUtility> owner{utility};
};

TEST_F(Frame, WrittenValuesBecomeCurrentAtTheNextEdgeAndStay) {
  SMessageTotem& totem = *Access<SMessageTotem>::Get();
  totem.byteOne.Write(70);
  totem.byteOne.Write(1);
  totem.byteTwo.Write(2);
  totem.byteThree.Write(3);
  totem.twelveByteValue.Write({{4, 5, 6}});
  totem.eightByteValue.Write({{7, 8}});
  EXPECT_EQ(totem.byteOne.Read(), 0);
  for (int tick = 0; tick < 2; ++tick) {
    TickAt(0);
    EXPECT_EQ(totem.byteOne.Read(), 1) << "the last write wins";
    EXPECT_EQ(totem.byteTwo.Read(), 2);
    EXPECT_EQ(totem.byteThree.Read(), 3);
    EXPECT_EQ(totem.twelveByteValue.Read().parts[0], 4U);
    EXPECT_EQ(totem.twelveByteValue.Read().parts[2], 6U);
    EXPECT_EQ(totem.eightByteValue.Read().parts[1], 8U);
    EXPECT_FALSE(totem.byteOne.isPending) << "nothing waits any more";
  }
}

TEST_F(Frame, FieldsOfTheUtilityTakeNothingFromHosts) {
  SMessageTotem& totem = *Access<SMessageTotem>::Get();
  totem.frameNumber.Write(70);
  totem.fourByteValuePrevious.Write({{70, 70}});
  totem.fourByteValue.Write({{3, 4}});
  TickAt(0);
  EXPECT_EQ(totem.frameNumber.Read(), 1U);
  EXPECT_EQ(totem.fourByteValue.Read().parts[1], 4);
  EXPECT_EQ(totem.fourByteValuePrevious.Read().parts[1], 0);
  TickAt(0);
  EXPECT_EQ(totem.frameNumber.Read(), 2U);
  EXPECT_EQ(totem.fourByteValuePrevious.Read().parts[1], 4);
}

TEST_F(Frame, ReactorsRunInTheOrderOfTheirAddresses) {
  std::vector<Reactor> reactors = MakeReactors(64, 0);
  reactors.resize(32);  // the next ones fill the gap in any order
  while (reactors.size() < 64) reactors.push_back(utility->CreateReactor(10));
  std::sort(reactors.begin(), reactors.end());
  constexpr std::uint64_t FirstFrame = 1;
  Calls expected;
  for (const Reactor& reactor : reactors) {
    reactor->SetCallback(Note(expected.size()));
    expected.push_back(expected.size() + FirstFrame);
  }
  EXPECT_EQ(TickAt(10), expected);
  EXPECT_EQ(clock->readings, 32 + 1) << "one for each timed reactor, one for the queue";
}

TEST_F(Frame, ReactorOfAnIntervalDriftsWithTheTicks) {
  const Reactor reactor = MakeReactor(16, Note());
  Calls fired;
  for (const std::uint64_t now : {10U, 20U, 30U, 40U, 1000U, 1015U, 1016U}) {
    if (!TickAt(now).empty()) fired.push_back(now);
  }
  EXPECT_EQ(fired, (Calls{20, 40, 1000, 1016}));
  EXPECT_FALSE(TickAt(500).empty()) << "a clock that is set back";
}

TEST_F(Frame, ReactorThatThrowsHasFiredAndTheOthersWait) {
  const std::vector<Reactor> reactors = MakeReactors(3, 16);
  reactors[1]->SetCallback(Throw);
  ScheduleAt(20, Note());
  EXPECT_THROW(TickAt(20), std::length_error);
  EXPECT_EQ(std::exchange(calls, {}), Calls{1}) << "the first reactor";
  EXPECT_EQ(TickAt(30), (Calls{2, 20})) << "the last reactor and the queue";
}

TEST_F(Frame, ReactorCallbacksMayChangeOtherReactorsAndTheQueue) {
  const std::uint64_t fromNewReactor = 1000;
  std::vector<Reactor> reactors = MakeReactors(4, 0);
  ScheduleAt(5, Note());
  Reactor made;
  reactors[0]->SetCallback([&](std::uint64_t) {
    utility->CancelCall(5);
    ScheduleAt(7, Note());
    reactors[1] = nullptr;
    reactors[2]->Clear();
    reactors[3]->SetCallback(Note(100));
    made = MakeReactor(0, Note(fromNewReactor));
  });
  Calls noted = TickAt(6);
  EXPECT_EQ(std::erase(noted, fromNewReactor + 1), made > reactors[0] ? 1U : 0U);
  EXPECT_EQ(noted, (Calls{101, 7}));
}

TEST_F(Frame, DelayedCallsRunInTheOrderOfScheduling) {
  ScheduleAt(100, Note(), 50);
  ScheduleAt(101, Note(), 1);
  ScheduleAt(102, Note(), 60);
  ScheduleAt(103, Note());
  clock->readings = 0;
  EXPECT_EQ(TickAt(149), Calls{});
  EXPECT_EQ(TickAt(150), (Calls{100, 101}));
  EXPECT_EQ(clock->readings, 2) << "one a tick";
  EXPECT_EQ(TickAt(99), (Calls{102, 103})) << "a clock that is set back";
}

TEST_F(Frame, WithoutAClockNothingIsScheduledAndTheEdgeIsApplied) {
  clock.Remove();
  EXPECT_EQ(FailureOf([&] { utility->ScheduleCall(Note(), 0, 0); }), NoInstance);
  EXPECT_EQ(FailureOf([&] { utility->Tick(); }), NoInstance);
  EXPECT_EQ(Access<SMessageTotem>::Get()->frameNumber.Read(), 1U);
}

TEST_F(Frame, DelayedCallThatFailsBlocksUntilItIsCancelled) {
  ScheduleAt(6, Throw);
  ScheduleAt(7, nullptr);
  ScheduleAt(8, Note());
  EXPECT_THROW(TickAt(9), std::length_error);
  EXPECT_THROW(TickAt(9), std::length_error);
  utility->CancelCall(6);
  EXPECT_THROW(TickAt(9), std::bad_function_call);
  utility->CancelCall(7);
  EXPECT_EQ(TickAt(9), Calls{8});
}

TEST_F(Frame, CancelFindsEveryCallOfAnIdAlsoAfterTheClockWasSetBack) {
  const std::uint64_t never = 1'000'000;
  for (const std::uint64_t stamp : {5U, 6U, 6U, 7U, 5U}) ScheduleAt(stamp, Note(), never);
  utility->CancelCall(6);
  utility->CancelCall(4);
  utility->CancelCall(0);
  EXPECT_EQ(TickAt(9), Calls{}) << "the first call of id 5 holds back all";
  utility->CancelCall(5);
  EXPECT_EQ(TickAt(9), Calls{}) << "now the call of id 7 does";
  utility->CancelCall(7);
  ScheduleAt(8, Note());
  EXPECT_EQ(TickAt(9), Calls{8});
}

TEST_F(Frame, RunningCallThatIsCancelledLivesUntilItHasReturned) {
  const auto alive = std::make_shared<int>();
  ScheduleAt(5, [this, alive](std::uint64_t) {
    utility->CancelCall(5);  // which the other call shares
    calls.push_back(static_cast<std::uint64_t>(alive.use_count()));
  });
  ScheduleAt(5, Note());
  ScheduleAt(6, Note());
  EXPECT_EQ(TickAt(9), (Calls{2, 6}));
  EXPECT_EQ(alive.use_count(), 1);
}

TEST_F(Frame, RunningCallThatIsCancelledAndThrowsIsGone) {
  ScheduleAt(5, [this](std::uint64_t id) {
    utility->CancelCall(id);
    Throw(id);
  });
  ScheduleAt(6, Note());
  EXPECT_THROW(TickAt(9), std::length_error);
  EXPECT_EQ(TickAt(9), Calls{6});
}

TEST_F(Frame, CancelSkipsNothingWhenADestructorTicks) {
  ScheduleAt(1, Note());
  ScheduleAt(2, ActingAtItsEnd([this] { TickAt(3); }));
  ScheduleAt(3, Note(), 1'000'000);
  ScheduleAt(2, Note());  // set back, so that the queue is walked
  utility->CancelCall(2);
  utility->CancelCall(3);
  EXPECT_EQ(TickAt(4), Calls{}) << "the last call of id 2 is cancelled too";
}

TEST_F(Frame, CallableOfAReactorMayReplaceOrReleaseItAtItsEnd) {
  Reactor reactor = utility->CreateReactor(0);
  reactor->SetCallback(ActingAtItsEnd([&] { reactor->SetCallback(Note()); }));
  reactor->Clear();
  EXPECT_EQ(TickAt(1), Calls{1});
  reactor->SetCallback(ActingAtItsEnd([&] { reactor = nullptr; }));
  reactor->Clear();
  EXPECT_EQ(TickAt(2), Calls{});
  reactor = MakeReactor(0, ActingAtItsEnd([this] { owner.reset(); }));
  reactor = nullptr;
  EXPECT_FALSE(owner);
}

TEST_F(Frame, CallsThatWaitAtTheEndAreDroppedUnrun) {
  const auto alive = std::make_shared<int>();
  const FrameCallback holding = [this, alive](std::uint64_t) { calls.push_back(0); };
  ScheduleAt(6, ActingAtItsEnd([&] { ScheduleAt(7, holding); }));
  owner.reset();
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(alive.use_count(), 2) << "here and in `holding`";
  EXPECT_EQ(FailureOf(Access<SMessageTotem>::Get), NoInstance);
}

#if !defined(NDEBUG) && !defined(_WIN32)
TEST_F(Frame, MisuseStopsADebugBuild) {
  Reactor reactor = utility->CreateReactor(0);
  reactor->SetCallback([&](std::uint64_t) { utility->Tick(); });
  EXPECT_DEATH(utility->Tick(), "Tick is not called");
  reactor->SetCallback([&](std::uint64_t) { reactor->Clear(); });
  EXPECT_DEATH(utility->Tick(), "does not change its own reactor");
  reactor->SetCallback([&](std::uint64_t) { reactor = nullptr; });
  EXPECT_DEATH(utility->Tick(), "not released by its own callback");
  EXPECT_DEATH(owner.reset(), "released before its frame utility ends");
}
#endif

}  // namespace Common::Test
