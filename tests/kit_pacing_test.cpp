#include <common/kit/frame_pacer.h>
#include <common/kit/game_clock.h>

#include <cmath>
#include <limits>
#include <random>

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

TEST_F(KitFramePacer, KeepsTheMeanWhileWorkFitsWhateverWaitAndWorkTake) {
  clock->step = 3;  // each reading takes time, so each wait ends late
  for (std::uint64_t frame = 0; frame < 600; ++frame) {
    EXPECT_EQ(EndFrameAfter(frame * 7919 % 990), 0U);
  }
  EXPECT_NEAR(static_cast<double>(clock->now), 600'000, 3);
  EXPECT_EQ(pacer.Missed(), 0U);
}

TEST_F(KitFramePacer, MakesUpForLatenessOfUpToOneInterval) {
  EXPECT_EQ(EndFrameAfter(1'400), 400U);
  EXPECT_EQ(clock->now, 1'400U) << "a late call does not wait";
  EXPECT_EQ(EndFrameAfter(100), 0U);
  EXPECT_EQ(clock->now, 2'000U);
  EXPECT_EQ(EndFrameAfter(2'000), 1'000U);
  EXPECT_EQ(EndFrameAfter(0), 0U);
  EXPECT_EQ(clock->now, 4'000U);
  EXPECT_EQ(pacer.Missed(), 0U);
}

TEST_F(KitFramePacer, StartsAgainAfterAStallAndCountsWhatItGaveUp) {
  EXPECT_EQ(EndFrameAfter(3'500), 2'500U);
  EXPECT_EQ(pacer.Missed(), 2U) << "those at 2,000 and 3,000";
  EXPECT_EQ(EndFrameAfter(100), 0U);
  EXPECT_EQ(clock->now, 4'500U) << "no burst";
  EXPECT_EQ(EndFrameAfter(2'001), 1'001U);
  EXPECT_EQ(pacer.Missed(), 3U);
}

TEST_F(KitFramePacer, ChangesItsIntervalInTheFrameUnderWay) {
  EXPECT_EQ(EndFrameAfter(10), 0U);
  pacer.SetInterval(500);
  EXPECT_EQ(EndFrameAfter(10), 0U);
  EXPECT_EQ(clock->now, 1'500U);
}

TEST_F(KitFramePacer, RefusesAnIntervalOf0AndDoesNotWaitForAgesAsTheClockDoesNot) {
  EXPECT_THROW(FramePacer(0), std::invalid_argument);
  EXPECT_THROW(pacer.SetInterval(0), std::invalid_argument);
  EXPECT_EQ(EndFrameAfter(0), 0U);
  EXPECT_EQ(clock->now, 1'000U) << "the old interval";
  pacer.SetInterval(Largest - 5);
  for (int frame = 0; frame < 3; ++frame) EXPECT_EQ(EndFrameAfter(1), 0U);
  EXPECT_EQ(clock->now, 1'003U);
}

TEST_F(KitFramePacer, GoesOnWhenTheClockWrapsIsSetBackOrIsMissing) {
  clock->SetOrigin(400);
  EXPECT_EQ(EndFrameAfter(100), 0U);
  EXPECT_EQ(clock->now, 700U) << "a whole interval after the clock was found set back to -300";
  EXPECT_EQ(EndFrameAfter(1'200), 200U);
  clock->now = 0;
  EXPECT_EQ(EndFrameAfter(0), 0U);
  EXPECT_EQ(clock->now, 1'000U);
}

TEST(KitFramePacerAlone, NeedsAClock) {
  EXPECT_EQ(FailureOf([] { FramePacer(1); }), NoInstance);
  std::optional<StoredClock> clock(std::in_place);
  FramePacer pacer(1);
  clock.reset();
  EXPECT_EQ(FailureOf([&] { pacer.WaitForNext(); }), NoInstance);
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
  game.Pause();
  game.Pause();
  EXPECT_TRUE(game.IsPaused());
  EXPECT_EQ(NowAfter(1'000), 200U);
  game.SetRate(2.0);
  EXPECT_EQ(NowAfter(1'000), 200U);
  game.Resume();
  EXPECT_FALSE(game.IsPaused());
  game.Resume();
  EXPECT_EQ(NowAfter(50), 300U);
}

TEST_F(KitGameClock, LosesNothingToRoundingHoweverOftenItIsReadAndChanged) {
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

TEST_F(KitGameClock, NeverRunsBackwardsWhateverItsClockDoes) {
  std::mt19937_64 random(7);
  std::uint64_t last = 0;
  for (int step = 0; step < 100'000; ++step) {
    switch (random() % 8) {
      case 0:
        game.SetRate(std::exp2(static_cast<double>(random() % 64) - 40));
        break;
      case 1:
        game.IsPaused() ? game.Resume() : game.Pause();
        break;
      case 2:
        clock->now = 0 - random() % 1'000;  // set back, or shortly before the wrap
        break;
      default:
        clock->now += random() % 1'000;
    }
    ASSERT_GE(game.Now(), last);
    last = game.Now();
  }
  EXPECT_GT(last, 1'000'000U);
}

TEST_F(KitGameClock, GoesOnFromWhereItIsWhenItsClockIsSetBackAndCountsAcrossTheWrap) {
  EXPECT_EQ(NowAfter(100), 100U);
  clock->now = 60;
  EXPECT_EQ(NowAfter(0), 100U);
  EXPECT_EQ(NowAfter(5), 105U);
  clock->now = Largest - 9;  // also set back
  EXPECT_EQ(NowAfter(0), 105U);
  EXPECT_EQ(NowAfter(20), 125U);
  game.Pause();
  clock->now = 0;
  game.Resume();
  EXPECT_EQ(NowAfter(5), 130U);
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

TEST(KitGameClockAlone, NeedsAClockExceptInAPause) {
  EXPECT_EQ(FailureOf([] { GameClock(); }), NoInstance);
  std::optional<StoredClock> clock(std::in_place);
  GameClock game;
  game.Pause();
  clock.reset();
  EXPECT_EQ(game.Now(), 0U);
  EXPECT_EQ(FailureOf([&] { game.Resume(); }), NoInstance);
  EXPECT_TRUE(game.IsPaused());
}

}  // namespace
}  // namespace Common::Test
