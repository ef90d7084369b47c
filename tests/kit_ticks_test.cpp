// What the kit runs in ticks: timers and posted calls.
#include <common/kit/game_clock.h>
#include <common/kit/posted_calls.h>
#include <common/kit/timers.h>

#include <thread>

#include "support.h"

namespace Common::Test {
namespace {

using Kit::PostedCalls;
using Kit::Timers;
using Names = std::vector<std::string>;

struct KitTicks : testing::Test {
  std::function<void()> Note(const std::string& name) {
    return [this, name] { ran.push_back(name); };
  }

  // The names that are noted in one tick at this time.
  Names TickAt(std::uint64_t time) {
    clock->now = time;
    ran.clear();
    frames->Tick();
    return ran;
  }

  StoredClock clock;
  std::unique_ptr<SFrameUtility> frames{ManufactureFrameUtility()};
  Names ran;
};

// What callables may throw, make or cancel, and when, is for timers_fuzz to test, against a model.
struct KitTimers : KitTicks {
  Timers timers{*frames};
};

TEST_F(KitTimers, AreCancelledOneByOneAndGiveTheirPlaceToOthers) {
  const Timers::Id beat = timers.Every(10, Note("beat"));
  timers.After(12, Note("first"));
  EXPECT_TRUE(timers.Cancel(beat));
  EXPECT_FALSE(timers.Cancel({})) << "no timer";
  timers.After(12, Note("second"));
  EXPECT_FALSE(timers.Cancel(beat)) << "its name is never used again";
  EXPECT_EQ(TickAt(12), (Names{"first", "second"}));
  EXPECT_EQ(TickAt(24), Names()) << "where one repeated";
}

TEST_F(KitTimers, RepeatInPhaseAndNeverCatchUp) {
  timers.Every(10, Note("beat"));
  EXPECT_EQ(TickAt(13), Names{"beat"});
  EXPECT_EQ(TickAt(19), Names());
  EXPECT_EQ(TickAt(57), Names{"beat"}) << "once for 20 to 50";
  EXPECT_EQ(TickAt(60), Names{"beat"});
  timers.Every(0, Note("frame"));
  EXPECT_EQ(TickAt(60), Names{"frame"});
  EXPECT_EQ(TickAt(60), Names{"frame"}) << "an interval of 0 runs in every tick";
}

TEST_F(KitTimers, ReadTheClockOnceATickAndOnlyWhereOneWaits) {
  TickAt(0);
  EXPECT_EQ(clock->readings, 1) << "of the frame utility itself";
  timers.Every(1, [] {});
  timers.Every(1, [] {});
  clock->readings = 0;
  TickAt(1);
  EXPECT_EQ(clock->readings, 2);
  clock.Remove();
  EXPECT_EQ(FailureOf([this] { timers.After(1, {}); }), NoInstance);
  EXPECT_EQ(timers.Waiting(), 2U);
}

TEST_F(KitTimers, CountAcrossTheWrapOfTheClockAndOverHalfItsRange) {
  constexpr std::uint64_t Half = std::uint64_t{1} << 63;
  clock->now = 0 - std::uint64_t{5};
  timers.Every(Half, Note("late"));
  EXPECT_EQ(TickAt(4), Names());
  timers.After(1, Note("soon"));
  EXPECT_EQ(timers.NextDue(), 5U);
  EXPECT_EQ(TickAt(5), Names{"soon"});
  EXPECT_EQ(TickAt(Half - 6), Names());
  EXPECT_EQ(TickAt(Half - 5), Names{"late"});
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

// What calls may throw, post or end is for posted_calls_fuzz to test, against a model.
struct KitPostedCalls : KitTicks {
  PostedCalls calls{*frames};
};

TEST_F(KitPostedCalls, RunOnceInOrderAndTheNextTickRunsWhatTheyPost) {
  calls.Post(Note("1"));
  calls.Post([this] {
    calls.Post(Note("4"));
    Note("2")();
    EXPECT_EQ(calls.Waiting(), 2U);
  });
  calls.Post(Note("3"));
  EXPECT_EQ(calls.Waiting(), 3U);
  EXPECT_EQ(TickAt(0), (Names{"1", "2", "3"}));
  EXPECT_EQ(TickAt(0), Names{"4"});
  EXPECT_EQ(TickAt(0), Names());
}

TEST_F(KitPostedCalls, ComeFromAnyThreadInTheOrderOfEach) {
  constexpr std::size_t Threads = 4, Posts = 5'000;
  std::vector<std::size_t> next(Threads);
  std::size_t served = 0;
  bool isInOrder = true;
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < Threads; ++thread) {
    threads.emplace_back([&, thread] {
      for (std::size_t post = 0; post < Posts; ++post) {
        calls.Post([&, thread, post] {
          isInOrder = isInOrder && next[thread]++ == post;
          ++served;
        });
        EXPECT_LE(calls.Waiting(), Threads * Posts);
      }
    });
  }
  while (served < Threads * Posts) frames->Tick();
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(isInOrder);
  EXPECT_EQ(calls.Waiting(), 0U);
}

}  // namespace
}  // namespace Common::Test
