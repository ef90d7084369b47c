#include <common/frame_utility.h>
#include <common/message_totem.h>

#include <algorithm>
#include <stdexcept>

#include "support.h"

namespace Common::Test {

using Reactor = Vorn::IntrudablePtr<IFrameReactor>;
using Calls = std::vector<std::uint64_t>;

static void Throw(std::uint64_t) { throw std::length_error("callback"); }

struct Frame : testing::Test {
  FrameCallback Note(std::uint64_t base = 0) {
    return [=, this](auto value) { calls.push_back(base + value); };
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

  // In the order of their addresses.
  std::vector<Reactor> MakeReactors(std::size_t count, std::uint64_t interval) {
    std::vector<Reactor> reactors(count);
    for (Reactor& reactor : reactors)
      (reactor = utility->CreateReactor(interval))->SetCallback(Note());
    std::sort(reactors.begin(), reactors.end());
    return reactors;
  }

  StoredClock clock;
  Calls calls;
  SFrameUtility* utility = ManufactureFrameUtility();
  std::unique_ptr<SFrameUtility> owner{utility};
};

TEST_F(Frame, EdgeMakesCurrentWhatWasWritten) {
  SMessageTotem& totem = *Access<SMessageTotem>::Get();
  const auto current = [&totem] {
    const unsigned bytes = totem.byteOne.Read() + totem.byteTwo.Read() + totem.byteThree.Read();
    const unsigned wide =
        totem.twelveByteValue.Read().parts[2] + totem.eightByteValue.Read().parts[1];
    const unsigned before = totem.fourByteValuePrevious.Read().parts[1];
    return Calls{totem.frameNumber.Read(), before, totem.fourByteValue.Read().parts[1], bytes,
                 wide};
  };
  totem.frameNumber.Write(70);
  totem.fourByteValuePrevious.Write({{70, 70}});
  totem.byteOne.Write(70);
  for (auto* byte : {&totem.byteOne, &totem.byteTwo, &totem.byteThree}) byte->Write(5);
  totem.fourByteValue.Write({{0, 4}});
  totem.twelveByteValue.Write({{0, 0, 10}});
  totem.eightByteValue.Write({{0, 100}});
  EXPECT_EQ(current(), Calls(5));
  TickAt(0);
  EXPECT_EQ(current(), (Calls{1, 0, 4, 15, 110}));
  TickAt(0);
  EXPECT_EQ(current(), (Calls{2, 4, 4, 15, 110}));
}

TEST_F(Frame, ReactorsRunInTheOrderOfTheirAddresses) {
  std::vector<Reactor> reactors = MakeReactors(64, 0);
  reactors.resize(32);  // the next ones fill the gap in any order
  while (reactors.size() < 64) reactors.push_back(utility->CreateReactor(10));
  std::sort(reactors.begin(), reactors.end());
  Calls expected;
  for (const Reactor& reactor : reactors) {
    reactor->SetCallback(Note(expected.size()));
    expected.push_back(expected.size() + 1);
  }
  EXPECT_EQ(TickAt(10), expected);
  EXPECT_EQ(clock->readings, 32 + 1) << "one for each timed reactor, one for the queue";
}

TEST_F(Frame, ReactorsDriftAndHaveFiredWhenTheyThrow) {
  const std::vector<Reactor> reactors = MakeReactors(3, 16);
  reactors[1]->SetCallback(Throw);
  EXPECT_EQ(TickAt(10), Calls{});
  ScheduleAt(20, Note());
  EXPECT_THROW(TickAt(20), std::length_error);
  EXPECT_EQ(TickAt(30), (Calls{2, 3, 20})) << "only what had to wait";
  for (const std::size_t place : {1U, 2U}) reactors[place]->Clear();
  for (const std::uint64_t now : {40U, 50U, 60U, 70U, 1000U, 1015U, 500U})
    clock->now = now, utility->Tick();
  EXPECT_EQ(calls, (Calls{4, 6, 8, 10})) << "the last because a clock set back wraps";
}

TEST_F(Frame, CallbacksMayChangeAllButThemselves) {
  std::vector<Reactor> reactors = MakeReactors(5, 0);
  Reactor late;
  std::size_t round = 0;
  const auto change = [&](std::uint64_t) {
    utility->CancelCall(5);
    ScheduleAt(7, Note());
    reactors[++round] = nullptr;
    reactors[3]->Clear();
    reactors[4]->SetCallback(Note(100 * round));
    (late = utility->CreateReactor(0))->SetCallback(Note(1000));
  };
  for (const std::uint64_t now : {4U, 5U, 6U})
    ScheduleAt(now, now == 4 ? FrameCallback(change) : Note());
  EXPECT_EQ(TickAt(6), (Calls{1, 1, 1, 1, 1, 6})) << "what a delayed call schedules waits";
  reactors[0]->SetCallback(change);
  ScheduleAt(5, Note());
  Calls noted = TickAt(6);
  EXPECT_EQ(std::erase(noted, 1002U), late > reactors[0] ? 1U : 0U);
  EXPECT_EQ(noted, (Calls{202, 7, 7})) << "what a reactor schedules may run";
}

TEST_F(Frame, DelayedCallsRunInTheOrderOfScheduling) {
  ScheduleAt(100, Note(), 50);
  ScheduleAt(101, Note(), 1);
  ScheduleAt(102, Note(), 60);
  ScheduleAt(103, Note());
  EXPECT_EQ(TickAt(149), Calls{});
  EXPECT_EQ(TickAt(150), (Calls{100, 101}));
  EXPECT_EQ(clock->readings, 4 + 2) << "one for the whole queue";
  EXPECT_EQ(TickAt(99), (Calls{102, 103})) << "a clock set back wraps";
  clock.Remove();
  EXPECT_EQ(FailureOf([&] { utility->ScheduleCall(Throw, 0, 0); }), NoInstance);
  EXPECT_EQ(FailureOf([&] { utility->Tick(); }), NoInstance);
  EXPECT_EQ(Access<SMessageTotem>::Get()->frameNumber.Read(), 4U) << "the edge stays applied";
}

TEST_F(Frame, DelayedCallThatFailsBlocksUntilItIsCancelled) {
  ScheduleAt(5, Note(), 1'000'000);
  ScheduleAt(6, Throw);
  ScheduleAt(7, nullptr);
  ScheduleAt(5, Note(), 1'000'000);
  ScheduleAt(8, Note());
  EXPECT_EQ(TickAt(9), Calls{});
  for (const std::uint64_t id : {5U, 0U, 4U}) utility->CancelCall(id);
  for (int tries = 0; tries < 2; ++tries) EXPECT_THROW(TickAt(9), std::length_error);
  utility->CancelCall(6);
  EXPECT_THROW(TickAt(9), std::bad_function_call);
  utility->CancelCall(7);
  EXPECT_EQ(TickAt(9), Calls{8});
}

TEST_F(Frame, CallablesMayCallBackAtTheirEnd) {
  Reactor reactor = utility->CreateReactor(0);
  std::function<void()> action;
  const auto alive = std::make_shared<int>();
  const FrameCallback note = [this, alive](std::uint64_t) { calls.push_back(9); };
  const auto atEnd = [&](void*) {
    for (int count = 0; count < 500; ++count) utility->ScheduleCall(note, 0, 0);
    utility->CancelCall(1);
    if (action) action();
  };
  const auto make = [&]() -> FrameCallback {
    return [end = std::shared_ptr<void>(nullptr, atEnd)](std::uint64_t) {};
  };
  for (const std::uint64_t now : {1U, 1U, 2U}) ScheduleAt(now, make());
  clock->now = 3;
  utility->CancelCall(1);
  EXPECT_EQ(TickAt(4).size(), 1000U);
  reactor->SetCallback(make());
  action = [&] { reactor->SetCallback(make()); };
  reactor->Clear();
  EXPECT_EQ(TickAt(5).size(), 1000U);
  action = [&] { reactor = nullptr; };
  reactor->Clear();
  ScheduleAt(6, make());
  owner.reset();
  EXPECT_TRUE(!reactor && calls.empty() && alive.use_count() == 2) << "what waits is dropped";
  EXPECT_EQ(FailureOf(Access<SMessageTotem>::Get), NoInstance);
}

}  // namespace Common::Test
