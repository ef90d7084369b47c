#include <common/kit/game_clock.h>
#include <common/kit/timers.h>

#include "support.h"

namespace Common::Test {
namespace {

using Kit::Timers;
using Names = std::vector<std::string>;

// Any order of making, cancelling and ending is for timers_fuzz to test, against a model.
struct KitTimers : testing::Test {
  std::function<void()> Note(const std::string& name) {
    return [this, name] { ran.push_back(name); };
  }

  // The names that were noted in one tick at this time.
  Names TickAt(std::uint64_t time) {
    clock->now = time;
    ran.clear();
    frames->Tick();
    return ran;
  }

  StoredClock clock;
  std::unique_ptr<SFrameUtility> frames{ManufactureFrameUtility()};
  std::optional<Timers> timers{*frames};
  Names ran;
};

TEST_F(KitTimers, AreCancelledOneByOne) {
  const Timers::Id first = timers->After(10, Note("first"));
  timers->After(10, Note("second"));
  EXPECT_TRUE(timers->Cancel(first));
  EXPECT_FALSE(timers->Cancel(first)) << "cancelled already";
  EXPECT_FALSE(timers->Cancel({})) << "no timer";
  timers->After(10, Note("third"));
  EXPECT_FALSE(timers->Cancel(first)) << "its name is never used again";
  EXPECT_EQ(TickAt(10), (Names{"second", "third"}));
}

TEST_F(KitTimers, RepeatInPhaseAndNeverCatchUp) {
  timers->Every(10, Note("beat"));
  EXPECT_EQ(TickAt(13), Names{"beat"});
  EXPECT_EQ(TickAt(19), Names());
  EXPECT_EQ(TickAt(57), Names{"beat"}) << "once for 20 to 50";
  EXPECT_EQ(TickAt(60), Names{"beat"});
  timers->Every(0, Note("frame"));
  EXPECT_EQ(TickAt(60), Names{"frame"});
  EXPECT_EQ(TickAt(60), Names{"frame"}) << "an interval of 0 runs in every tick";
}

TEST_F(KitTimers, MadeInACallbackWaitForTheNextTick) {
  timers->After(0, [this] {
    timers->After(0, Note("late"));
    Note("early")();
  });
  EXPECT_EQ(TickAt(0), Names{"early"});
  EXPECT_EQ(TickAt(0), Names{"late"});
}

TEST_F(KitTimers, PassAnExceptionOnAndRunTheOthersInTheNextTick) {
  const auto fail = [this](const std::string& name) {
    Note(name)();
    throw std::runtime_error(name);
  };
  timers->After(1, [=] { fail("spent"); });
  timers->Every(2, [=] { fail("beat"); });
  timers->After(3, Note("third"));
  timers->After(4, {});
  EXPECT_THROW(TickAt(5), std::runtime_error);
  EXPECT_THROW(TickAt(5), std::runtime_error);
  EXPECT_THROW(TickAt(5), std::bad_function_call);
  EXPECT_EQ(ran, Names{"third"});
  EXPECT_EQ(TickAt(5), Names());
  EXPECT_THROW(TickAt(6), std::runtime_error) << "the repeating one goes on";
}

TEST_F(KitTimers, ReadTheClockOnceATickAndOnlyWhereOneWaits) {
  TickAt(0);
  EXPECT_EQ(clock->readings, 1) << "of the frame utility itself";
  timers->Every(1, [] {});
  timers->Every(1, [] {});
  clock->readings = 0;
  TickAt(1);
  EXPECT_EQ(clock->readings, 2);
}

TEST_F(KitTimers, FollowAGameClockAndNameItsTimes) {
  Kit::GameClock game;
  Timers slow(*frames, game);
  game.SetRate(0.5);
  slow.After(10, Note("slow"));
  EXPECT_EQ(slow.NextDue(), 10U);
  EXPECT_EQ(TickAt(19), Names());
  game.Pause();
  EXPECT_EQ(TickAt(100), Names());
  game.Resume();
  EXPECT_EQ(TickAt(101), Names{"slow"});
}

}  // namespace
}  // namespace Common::Test
