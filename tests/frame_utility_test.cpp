#include <common/frame_utility.h>
#include <common/message_totem.h>

#include <algorithm>
#include <set>
#include <stdexcept>

#include "support.h"

namespace Common::Test {
namespace {

using Reactor = Vorn::IntrudablePtr<IFrameReactor>;
using Calls = std::vector<std::uint64_t>;

class Frame : public testing::Test {
 protected:
  // A callback that notes its argument.
  FrameCallback Note() {
    return [this](std::uint64_t argument) { calls.push_back(argument); };
  }

  // What callbacks note in a tick at this time.
  Calls TickAt(std::uint64_t now) {
    clock->now = now;
    utility->Tick();
    return std::exchange(calls, {});
  }

  StoredClock clock;
  Calls calls;
  const std::unique_ptr<SFrameUtility> utility{ManufactureFrameUtility()};
};

TEST_F(Frame, EdgeMakesWhatWasWrittenCurrent) {
  auto* const totem = Access<SMessageTotem>::Get();
  const auto previous = [&] { return totem->fourByteValuePrevious.Read().parts[1]; };
  for (std::uint64_t frame = 0; frame < 3; ++frame) {
    EXPECT_EQ(totem->frameNumber.Read(), frame);
    totem->frameNumber.Write(70);
    totem->fourByteValuePrevious.Write({{8, 8}});
    if (frame == 0) {
      totem->byteOne.Write(9);
      totem->byteOne.Write(1);
      totem->byteTwo.Write(2);
      totem->byteThree.Write(3);
      totem->fourByteValue.Write({{0, 4}});
      totem->twelveByteValue.Write({{0, 0, 12}});
      totem->eightByteValue.Write({{0, 8}});
      EXPECT_EQ(totem->byteOne.Read() + totem->eightByteValue.Read().parts[1], 0U);
    }
    utility->Tick();
    EXPECT_EQ(previous(), frame == 0 ? 0U : 4U);
    EXPECT_EQ(totem->fourByteValue.Read().parts[1], 4U);
    EXPECT_EQ(totem->byteOne.Read(), 1U);
    EXPECT_EQ(totem->byteTwo.Read(), 2U);
    EXPECT_EQ(totem->byteThree.Read(), 3U);
    EXPECT_EQ(totem->twelveByteValue.Read().parts[2], 12U);
    EXPECT_EQ(totem->eightByteValue.Read().parts[1], 8U);
  }
}

TEST_F(Frame, ReactorsRunInTheOrderOfTheirAddresses) {
  std::vector<Reactor> dropped(64);
  std::set<Reactor> reactors;
  for (Reactor& reactor : dropped) {
    reactor = utility->CreateReactor(1);
    if (reactors.size() < 32) reactors.insert(utility->CreateReactor(0));
  }
  dropped.clear();
  while (reactors.size() < 64) reactors.insert(utility->CreateReactor(10));
  Calls expected;
  for (const Reactor& reactor : reactors) {
    const std::uint64_t place = expected.size();
    expected.push_back(place);
    reactor->SetCallback([this, place](std::uint64_t frameNumber) {
      EXPECT_EQ(frameNumber, 1U);
      calls.push_back(place);
    });
  }
  EXPECT_EQ(TickAt(10), expected);
  EXPECT_EQ(clock->readings, 32 + 1) << "one for each timed reactor, one for the queue";
}

TEST_F(Frame, ReactorsKeepTheirIntervalAndDrift) {
  const Reactor timed = utility->CreateReactor(16);
  const Reactor idle = utility->CreateReactor(0);
  timed->SetCallback(Note());
  Calls fired;
  for (std::uint64_t now = 10; now <= 70; now += 10) {
    for (const std::uint64_t frame : TickAt(now)) fired.push_back(frame);
  }
  EXPECT_EQ(fired, (Calls{2, 4, 6}));
  EXPECT_EQ(TickAt(1000), Calls{8}) << "lost time is not made up";
  EXPECT_EQ(TickAt(1015), Calls{});
  EXPECT_EQ(TickAt(500), Calls{10}) << "a clock set back wraps";
}

TEST_F(Frame, ReactorThatThrowsHasFired) {
  std::set<Reactor> reactors{utility->CreateReactor(10), utility->CreateReactor(10), utility->CreateReactor(10)};
  for (const Reactor& reactor : reactors) reactor->SetCallback(Note());
  const Reactor thrower = *std::next(reactors.begin());
  thrower->SetCallback([](std::uint64_t) { throw std::length_error("reactor"); });
  utility->ScheduleCall(Note(), 7, 0);
  EXPECT_THROW(TickAt(10), std::length_error);
  EXPECT_EQ(std::exchange(calls, {}), Calls{1});
  EXPECT_EQ(TickAt(11), (Calls{2, 7})) << "only what had to wait";
  thrower->SetCallback(nullptr);
  EXPECT_THROW(TickAt(20), std::bad_function_call);
}

TEST_F(Frame, ReactorsCallbackMayChangeTheOthers) {
  std::vector<Reactor> reactors(4);
  for (Reactor& reactor : reactors) reactor = utility->CreateReactor(0);
  std::sort(reactors.begin(), reactors.end());
  for (const Reactor& reactor : reactors) reactor->SetCallback(Note());
  const std::uint64_t cancelled = utility->ScheduleCall(Note(), 99, 0);
  Reactor late;
  const auto noteOwn = [this](std::uint64_t own) { return [this, own](std::uint64_t) { calls.push_back(own); }; };
  reactors[0]->SetCallback([&](std::uint64_t frameNumber) {
    if (frameNumber > 1) return;
    utility->CancelCall(cancelled);
    clock->now = 1;
    utility->ScheduleCall(Note(), 50, 0);
    reactors[1] = nullptr;
    reactors[2]->Clear();
    reactors[3]->SetCallback(noteOwn(30));
    late = utility->CreateReactor(0);
    late->SetCallback(noteOwn(40));
  });
  Calls noted = TickAt(0);
  EXPECT_EQ(std::erase(noted, 40U), late > reactors[0] ? 1U : 0U);
  EXPECT_EQ(noted, (Calls{30, 50}));
  noted = TickAt(2);
  std::sort(noted.begin(), noted.end());
  EXPECT_EQ(noted, (Calls{30, 40}));
}

TEST_F(Frame, DelayedCallsRunInTheOrderOfScheduling) {
  clock->now = 100;
  EXPECT_EQ(utility->ScheduleCall(Note(), 1, 50), 100U);
  clock->now = 101;
  utility->ScheduleCall(Note(), 2, 1);
  utility->ScheduleCall(Note(), 3, 60);
  const std::uint64_t last = utility->ScheduleCall(Note(), 4, 0);
  EXPECT_EQ(TickAt(149), Calls{});
  clock->readings = 0;
  EXPECT_EQ(TickAt(150), (Calls{1, 2}));
  EXPECT_EQ(clock->readings, 1);
  utility->CancelCall(last + 1);
  EXPECT_EQ(TickAt(160), Calls{});
  EXPECT_EQ(TickAt(99), (Calls{3, 4})) << "a clock set back wraps";
}

TEST_F(Frame, CancellingTakesAllCallsOfTheIdAndLetsTheRestPass) {
  utility->CancelCall(0);
  for (const std::uint64_t now : {5U, 5U, 6U, 5U}) {
    clock->now = now;
    EXPECT_EQ(utility->ScheduleCall(Note(), now, now == 5 ? 1'000'000 : 1), now);
  }
  const auto alive = std::make_shared<int>();
  utility->ScheduleCall([alive](std::uint64_t) {}, 0, 9);
  utility->CancelCall(5);
  EXPECT_EQ(alive.use_count(), 1);
  utility->CancelCall(0);
  EXPECT_EQ(TickAt(7), Calls{6});
}

TEST_F(Frame, DelayedCallThatThrowsStaysAtTheFront) {
  clock->now = 1;
  utility->ScheduleCall([](std::uint64_t) { throw std::length_error("call"); }, 0, 0);
  clock->now = 2;
  utility->ScheduleCall(nullptr, 0, 0);
  clock->now = 3;
  utility->ScheduleCall(Note(), 7, 0);
  for (const std::uint64_t now : {4U, 5U}) EXPECT_THROW(TickAt(now), std::length_error);
  utility->CancelCall(1);
  for (const std::uint64_t now : {6U, 7U}) EXPECT_THROW(TickAt(now), std::bad_function_call);
  utility->CancelCall(2);
  EXPECT_EQ(TickAt(8), Calls{7});
}

TEST_F(Frame, DelayedCallMayChangeAllButItself) {
  Reactor cleared = utility->CreateReactor(0), released = utility->CreateReactor(0), late;
  cleared->SetCallback(Note());
  released->SetCallback(Note());
  FrameCallback again = [&](std::uint64_t) {
    cleared->Clear();
    released = nullptr;
    late = utility->CreateReactor(0);
    late->SetCallback(Note());
    utility->CancelCall(2);
    utility->ScheduleCall(again, 0, 0);
    calls.push_back(70);
  };
  clock->now = 1;
  utility->ScheduleCall(again, 0, 0);
  clock->now = 2;
  utility->ScheduleCall(Note(), 99, 0);
  clock->now = 3;
  utility->ScheduleCall(Note(), 80, 0);
  EXPECT_EQ(TickAt(4), (Calls{1, 1, 70, 80}));
  EXPECT_EQ(TickAt(5), (Calls{2, 70})) << "one round a tick";
}

TEST_F(Frame, CallablesMayCallBackAtTheirEnd) {
  int ended = 0;
  SFrameUtility* const service = utility.get();
  Reactor reactor = utility->CreateReactor(0), other = utility->CreateReactor(0);
  const auto atEnd = [&](std::function<void()> action) -> FrameCallback {
    const auto end = [&, action](void*) {
      ++ended;
      for (int count = 0; count < 500; ++count) service->ScheduleCall(Note(), 9, 0);
      service->CancelCall(1);
      if (action) action();
    };
    return [held = std::shared_ptr<void>(nullptr, end)](std::uint64_t) {};
  };
  clock->now = 1;
  utility->ScheduleCall(atEnd({}), 0, 0);
  utility->ScheduleCall(atEnd({}), 0, 0);
  clock->now = 2;
  utility->CancelCall(1);
  EXPECT_EQ(ended, 2);
  utility->ScheduleCall(atEnd({}), 0, 0);
  EXPECT_EQ(TickAt(3).size(), 1000U);
  EXPECT_EQ(ended, 3);
  EXPECT_EQ(TickAt(4).size(), 500U);
  reactor->SetCallback(atEnd([&] { reactor->SetCallback(Note()); }));
  reactor->Clear();
  EXPECT_EQ(TickAt(5).size(), 501U) << "what the old one has set stays";
  other->SetCallback(atEnd([&] { reactor = nullptr; }));
  reactor->SetCallback(atEnd([&] { other = nullptr; }));
  other->Clear();
  EXPECT_EQ(ended, 6);
}

TEST(FrameEnd, DropsWhatWaitsAndTheTotem) {
  std::unique_ptr<SFrameUtility> utility(ManufactureFrameUtility());
  SFrameUtility* const service = utility.get();
  EXPECT_EQ(FailureOf([&] { service->ScheduleCall(nullptr, 0, 0); }), NoInstance);
  Reactor reactor = utility->CreateReactor(0);
  int fired = 0;
  reactor->SetCallback([&](std::uint64_t) { ++fired; });
  EXPECT_EQ(FailureOf([&] { service->Tick(); }), NoInstance) << "the queue asks for the time";
  EXPECT_EQ(Access<SMessageTotem>::Get()->frameNumber.Read(), 1U);
  EXPECT_EQ(fired, 1);
  const StoredClock clock;
  service->Tick();
  bool ended = false;
  const auto atEnd = [&](void*) {
    service->ScheduleCall([&](std::uint64_t) { ++fired; }, 0, 0);
    reactor = nullptr;
    ended = Access<SMessageTotem>::Get() != nullptr;
  };
  utility->ScheduleCall([&, held = std::shared_ptr<void>(nullptr, atEnd)](std::uint64_t) { ++fired; }, 0, 0);
  utility.reset();
  EXPECT_TRUE(ended);
  EXPECT_EQ(fired, 2) << "the reactor alone";
  EXPECT_EQ(FailureOf(Access<SMessageTotem>::Get), NoInstance);
}

}  // namespace
}  // namespace Common::Test
