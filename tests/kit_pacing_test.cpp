#include <common/kit/frame_pacer.h>
#include <common/kit/game_clock.h>

#include <cmath>
#include <limits>
#include <thread>

#include "support.h"

namespace Common::Test {
namespace {

using Kit::FramePacer;
using Kit::GameClock;

constexpr std::uint64_t Largest = std::numeric_limits<std::uint64_t>::max();

// ---- The frame pacer.

struct KitFramePacer : testing::Test {
  // How late the pacer finds a frame that took so long.
  std::uint64_t EndFrameAfter(std::uint64_t microseconds) {
    clock->now += microseconds;
    return pacer.WaitForNext();
  }

  StoredClock clock;
  FramePacer pacer{1'000};
};

TEST_F(KitFramePacer, KeepsTheMeanWhileWorkFitsHoweverLateWaitsEnd) {
  clock->step = 3;  // each reading takes time, so each wait ends late
  for (std::uint64_t frame = 0; frame < 600; ++frame) {
    EXPECT_EQ(EndFrameAfter(frame * 7919 % 990), 0U);
  }
  EXPECT_NEAR(static_cast<double>(clock->now), 600'000, 3);
}

TEST_F(KitFramePacer, MakesUpForOneIntervalAndStartsAgainAfterMore) {
  EXPECT_EQ(EndFrameAfter(2'000), 1'000U);
  EXPECT_EQ(EndFrameAfter(300), 300U) << "a late call does not wait";
  EXPECT_EQ(EndFrameAfter(0), 0U);
  EXPECT_EQ(clock->now, 3'000U);
  EXPECT_EQ(pacer.Missed(), 0U);
  EXPECT_EQ(EndFrameAfter(3'500), 2'500U);
  EXPECT_EQ(pacer.Missed(), 2U) << "those at 5,000 and 6,000";
  EXPECT_EQ(EndFrameAfter(100), 0U);
  EXPECT_EQ(clock->now, 7'500U) << "no burst";
}

TEST_F(KitFramePacer, ChangesItsIntervalInTheFrameUnderWayAndRefuses0) {
  EXPECT_THROW(FramePacer(0), std::invalid_argument);
  EXPECT_EQ(EndFrameAfter(10), 0U);
  pacer.SetInterval(500);
  EXPECT_THROW(pacer.SetInterval(0), std::invalid_argument);
  EXPECT_EQ(EndFrameAfter(10), 0U);
  EXPECT_EQ(clock->now, 1'500U);
  pacer.SetInterval(Largest - 5);
  for (int frame = 0; frame < 3; ++frame) EXPECT_EQ(EndFrameAfter(1), 0U);
  EXPECT_EQ(clock->now, 1'503U) << "no wait that never ends";
}

TEST_F(KitFramePacer, GoesOnWhenItsClockIsSetBackOrWraps) {
  clock->SetOrigin(400);
  EXPECT_EQ(EndFrameAfter(100), 0U);
  EXPECT_EQ(clock->now, 700U) << "a whole interval after -300, where it was found";
  EXPECT_EQ(EndFrameAfter(1'200), 200U);
}

TEST(KitPacing, NeedsAClockExceptInAPause) {
  EXPECT_EQ(FailureOf([] { FramePacer(1); }), NoInstance);
  EXPECT_EQ(FailureOf([] { GameClock(); }), NoInstance);
  std::optional<StoredClock> clock(std::in_place);
  FramePacer pacer(1);
  GameClock game;
  game.Pause();
  clock.reset();
  EXPECT_EQ(FailureOf([&] { pacer.WaitForNext(); }), NoInstance);
  EXPECT_EQ(game.Now(), 0U);
  EXPECT_EQ(FailureOf([&] { game.Resume(); }), NoInstance);
  EXPECT_TRUE(game.IsPaused());
}

// ---- The clock of the game.

struct KitGameClock : testing::Test {
  std::uint64_t NowAfter(std::uint64_t microseconds) {
    clock->now += microseconds;
    return game.Now();
  }

  StoredClock clock;
  GameClock game;
};

TEST_F(KitGameClock, PausesAndRunsAtItsRate) {
  EXPECT_EQ(NowAfter(100), 100U);
  game.SetRate(0.25);
  EXPECT_EQ(NowAfter(403), 200U) << "rounded down";
  clock->now += 8;
  game.Pause();
  game.Pause();
  EXPECT_EQ(NowAfter(1'000), 202U);
  game.SetRate(2.0);
  EXPECT_EQ(NowAfter(1'000), 202U);
  game.Resume();
  game.Resume();
  EXPECT_EQ(NowAfter(50), 302U);
}

TEST_F(KitGameClock, LosesNothingToRoundingHoweverOftenItChangesAndHoweverOld) {
  for (int frame = 0; frame < 100'000; ++frame) {
    game.SetRate(frame % 2 == 0 ? 0.5 : 0.25);
    NowAfter(1);
    game.Pause();
    game.Resume();
  }
  EXPECT_EQ(game.Now(), 37'500U);
  game.SetRate(1.0);
  constexpr std::uint64_t ThousandYears = 31'556'952'000'000'000;
  const std::uint64_t old = NowAfter(ThousandYears);
  EXPECT_EQ(NowAfter(1), old + 1);
}

TEST_F(KitGameClock, GoesOnFromWhereItIsWhenItsClockIsSetBackOrWraps) {
  EXPECT_EQ(NowAfter(100), 100U);
  clock->now = Largest - 9;
  EXPECT_EQ(NowAfter(0), 100U);
  EXPECT_EQ(NowAfter(20), 120U) << "across the wrap";
  game.Pause();
  clock->now = 0;
  game.Resume();
  EXPECT_EQ(NowAfter(5), 125U);
}

TEST_F(KitGameClock, NeverRunsBackwardsOnAnyThread) {
  clock->step = 1;
  const auto read = [this] {
    for (std::uint64_t last = 0, count = 0; count < 20'000; ++count) {
      const std::uint64_t now = game.Now();
      ASSERT_GE(now, last);
      last = now;
    }
  };
  std::thread other(read);
  for (int change = 0; change < 5'000; ++change) {
    game.SetRate(std::exp2(change * 7919 % 64 - 40));
    game.IsPaused() ? game.Resume() : game.Pause();
  }
  read();
  other.join();
}

TEST_F(KitGameClock, StaysAtItsLargestTimeAndRefusesRatesThatAreNone) {
  using Limits = std::numeric_limits<double>;
  for (const double rate : {0.0, -1.0, Limits::quiet_NaN(), Limits::infinity()}) {
    EXPECT_THROW(game.SetRate(rate), std::invalid_argument);
  }
  EXPECT_EQ(NowAfter(7), 7U) << "the old rate";
  game.SetRate(1e-300);
  EXPECT_EQ(NowAfter(1'000'000), 7U);
  game.SetRate(1e300);
  EXPECT_EQ(NowAfter(1'000'000), Largest);
  game.SetRate(1.0);
  EXPECT_EQ(NowAfter(1), Largest);
}

}  // namespace
}  // namespace Common::Test
