#include <common/frame_utility.h>
#include <common/message_totem.h>

#include <cstdlib>
#include <exception>
#include <thread>

#include "support.h"

namespace Common::Test {

using Reactor = Vorn::IntrudablePtr<IFrameReactor>;
using Calls = std::vector<std::uint64_t>;

// Runs its action when the last copy of it is destroyed.
static FrameCallback ActingAtItsEnd(std::function<void()> action) {
  const auto act = [action = std::move(action)](void*) { action(); };
  return [end = std::shared_ptr<void>(nullptr, act)](std::uint64_t) {};
}

// What is due by which clock, and what callbacks may change, throw or cancel, is for frame_fuzz to
// test, against a model.
struct Frame : testing::Test {
  // Notes what the callback is given.
  FrameCallback Note() {
    return [this](std::uint64_t value) { calls.push_back(value); };
  }

  // The time is also the argument and the id.
  void ScheduleAt(std::uint64_t now, FrameCallback callback) {
    clock->now = now;
    EXPECT_EQ(utility->ScheduleCall(std::move(callback), now, 0), now);
  }

  // What callbacks note in a tick at this time.
  Calls TickAt(std::uint64_t now) {
    clock->now = now;
    utility->Tick();
    return std::exchange(calls, {});
  }

  Reactor MakeReactor(FrameCallback callback) {
    Reactor reactor = utility->CreateReactor(0);
    reactor->SetCallback(std::move(callback));
    return reactor;
  }

  StoredClock clock;
  Calls calls;
  SFrameUtility* utility = ManufactureFrameUtility();
  std::unique_ptr<SFrameUtility> owner{utility};
};

TEST_F(Frame, WrittenValuesBecomeCurrentAtTheNextEdgeAndStay) {
  SMessageTotem& totem = *Vorn::Service<SMessageTotem>::Get();
  totem.byteOne.Write(70);
  totem.byteOne.Write(1);
  totem.byteTwo.Write(2);
  totem.byteThree.Write(3);
  totem.twelveByteValue.Write({{4, 5, 6}});
  totem.eightByteValue.Write({{7, 8}});
  totem.fourByteValue.Write({{9, 10}});
  EXPECT_EQ(totem.byteOne.Read(), 0);
  for (int tick = 0; tick < 2; ++tick) {
    TickAt(0);
    EXPECT_EQ(totem.byteOne.Read(), 1) << "the last write wins";
    EXPECT_EQ(totem.byteTwo.Read(), 2);
    EXPECT_EQ(totem.byteThree.Read(), 3);
    EXPECT_EQ(totem.twelveByteValue.Read().parts[2], 6U);
    EXPECT_EQ(totem.eightByteValue.Read().parts[1], 8U);
    EXPECT_EQ(totem.fourByteValue.Read().parts[1], 10U);
    EXPECT_EQ(totem.fourByteValuePrevious.Read().parts[1], tick == 0 ? 0U : 10U);
  }
  EXPECT_FALSE(totem.byteThree.isPending);
}

TEST_F(Frame, TickMovesTheEdgeThenRunsReactorsByAddressThenTheCallsOfItsStart) {
  std::vector<Reactor> reactors;
  for (int number = 0; number < 4; ++number) reactors.push_back(MakeReactor(Note()));
  const IFrameReactor* const released = reactors.front().get();
  reactors.erase(reactors.begin());
  reactors.push_back(utility->CreateReactor(0));
  EXPECT_EQ(reactors.back().get(), released) << "its memory is used again";
  std::vector<std::uintptr_t> order;
  for (const Reactor& reactor : reactors) {
    reactor->SetCallback([&, address = reactor.get()](std::uint64_t frame) {
      order.push_back(reinterpret_cast<std::uintptr_t>(address));
      calls.push_back(frame);
      EXPECT_EQ(Vorn::Service<SMessageTotem>::Get()->frameNumber.Read(), frame);
    });
  }
  utility->ScheduleCall(
      [this](std::uint64_t argument) {
        calls.push_back(argument);
        utility->ScheduleCall(Note(), 8, 0);
      },
      7, 0);
  EXPECT_EQ(TickAt(0), (Calls{1, 1, 1, 1, 7}));
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
  EXPECT_EQ(TickAt(0), (Calls{2, 2, 2, 2, 8}));
}

TEST_F(Frame, CallableOfAReactorMayReplaceOrReleaseItAtItsEnd) {
  Reactor reactor = utility->CreateReactor(0);
  reactor->SetCallback(ActingAtItsEnd([&] { reactor->SetCallback(Note()); }));
  reactor->Clear();
  EXPECT_EQ(TickAt(1), Calls{1});
  reactor->SetCallback(ActingAtItsEnd([&] { reactor = nullptr; }));
  reactor->Clear();
  EXPECT_EQ(TickAt(2), Calls{});
  reactor = MakeReactor(ActingAtItsEnd([this] { owner.reset(); }));
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
  EXPECT_EQ(FailureOf(Vorn::Service<SMessageTotem>::Get), NoInstance);
}

TEST(FrameFactory, CountsACallThatFails) {
  const auto owner = Vorn::Service<SMessageTotem>::Create(new SMessageTotem);
  EXPECT_EQ(FailureOf(ManufactureFrameUtility), DoubleInstancing);
  EXPECT_EQ(FailureOf(ManufactureFrameUtility), "Multiple instaces of frame utility!");
}

#ifndef _WIN32
// On a thread, which nothing catches on: a test's own handler would be found.
static void TickUncaught(SFrameUtility* utility) {
  std::thread([utility] { utility->Tick(); }).join();
}

TEST_F(Frame, WhatNobodyCatchesEndsTheProcessWithTheCallbackOnTheStack) {
  static bool isUnwound = false;
  const FrameCallback throwing = [](std::uint64_t) {
    const std::shared_ptr<void> onStack(nullptr, [](void*) { isUnwound = true; });
    throw std::runtime_error("uncaught");
  };
  std::set_terminate([] { std::_Exit(isUnwound ? 1 : 0); });
  Reactor reactor = MakeReactor(throwing);
  EXPECT_EXIT(TickUncaught(utility), testing::ExitedWithCode(0), "");
  reactor = nullptr;
  ScheduleAt(0, throwing);
  EXPECT_EXIT(TickUncaught(utility), testing::ExitedWithCode(0), "");
}
#endif

#if !defined(NDEBUG) && !defined(_WIN32)
TEST_F(Frame, MisuseStopsADebugBuild) {
  Reactor reactor = utility->CreateReactor(0);
  reactor->SetCallback([&](std::uint64_t) { utility->Tick(); });
  EXPECT_DEATH(utility->Tick(), "Tick is not called");
  reactor->SetCallback([&](std::uint64_t) { reactor->Clear(); });
  EXPECT_DEATH(utility->Tick(), "does not change its own reactor");
  reactor->SetCallback([&](std::uint64_t) { owner.reset(); });
  EXPECT_DEATH(utility->Tick(), "not ended by a tick of its own");
  const auto endTicking = [this] {
    ScheduleAt(0, ActingAtItsEnd([this] { utility->Tick(); }));
    owner.reset();
  };
  EXPECT_DEATH(endTicking(), "or the utility ends");
}
#endif

}  // namespace Common::Test
