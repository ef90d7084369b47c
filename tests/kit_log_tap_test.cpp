#include <common/kit/log_tap.h>

#include <future>
#include <thread>

#include "support.h"

namespace Common::Test {
namespace {

using Kit::LogTap;
using Kit::StandInLog;
using Log::LogKind;
using Texts = std::vector<std::string>;

// A log that keeps the name of a guard file and does not want messages.
struct PoorLog : StandInLog {
  bool SetGuardFile(const std::string& fileName) override { return fileName == "guard"; }
  bool Wants(LogKind kind) override { return kind != LogKind::Message; }
};

// What listeners may throw, log or end is for log_tap_fuzz to test, against a model.
struct KitLogTap : testing::Test {
  Texts LastLines(std::uint64_t after = 0) const {
    Texts texts;
    for (const LogTap::Line& line : tap.LastLines(after)) {
      texts.push_back(std::to_string(line.sequence) + " " + line.text);
    }
    return texts;
  }
  auto Hear(Texts& heard) {
    return tap.Listen([&heard](const LogTap::Line& line) { heard.push_back(line.text); });
  }

  PoorLog& log = *new PoorLog;
  LogTap tap{std::unique_ptr<Log::SMessageLog>(&log), 3};
};

TEST_F(KitLogTap, PassesWhatIsGraveEnoughAndCountsAll) {
  EXPECT_FALSE(tap.Wants(LogKind::Message)) << "nobody behind it does";
  EXPECT_TRUE(tap.Wants(LogKind::Warning));
  tap.LogMessage("m1");
  tap.SetLowest(LogKind::Error);
  EXPECT_FALSE(tap.Wants(LogKind::Warning));
  EXPECT_TRUE(tap.Wants(LogKind::Error));
  tap.LogMessage("m2");
  tap.LogWarning("w1");
  tap.LogError("e1");
  tap.SetLowest(LogKind::Warning);
  tap.LogMessage("m3");
  tap.LogWarning("w2");
  EXPECT_EQ(tap.Count(LogKind::Message), 3U);
  EXPECT_EQ(tap.Count(LogKind::Warning), 2U);
  EXPECT_EQ(tap.Count(LogKind::Error), 1U);
  const std::vector<StandInLog::Line> behind{
      {LogKind::Message, "m1"}, {LogKind::Error, "e1"}, {LogKind::Warning, "w2"}};
  EXPECT_EQ(log.lines, behind);
  EXPECT_EQ(log.TextsOf(LogKind::Error), Texts{"e1"});
  EXPECT_EQ(LastLines(), (Texts{"1 m1", "2 e1", "3 w2"}));
  EXPECT_EQ(tap.LastLines(2).front().kind, LogKind::Warning);
}

TEST_F(KitLogTap, NeedsALogAndPassesAllElseOnToIt) {
  EXPECT_THROW(LogTap(nullptr), std::invalid_argument);
  EXPECT_TRUE(tap.SetGuardFile("guard"));
  EXPECT_FALSE(tap.SetGuardFile("other"));
  tap.SetLogFile("file");
  tap.SetLiveOutput(true);
  EXPECT_TRUE(log.logFile == "file" && log.liveOutput);
  tap.AddSideLine("side");
  EXPECT_EQ(tap.SideLines(), Texts{"side\n"});
  tap.ClearSideLines();
  EXPECT_EQ(log.SideLines(), Texts());
  EXPECT_TRUE(tap.Flush());
  EXPECT_EQ(log.flushes, 1);
}

TEST_F(KitLogTap, EndsAListenerAfterItsCallAndLetsOthersLogMeanwhile) {
  std::promise<void> started;
  std::promise<void> maySleep;
  std::atomic<bool> hasReturned = false;
  Texts heard;
  auto slow = tap.Listen([&](const LogTap::Line&) {
    started.set_value();
    maySleep.get_future().wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // for an end that does not wait
    hasReturned = true;
  });
  const auto other = Hear(heard);
  std::thread logger([this] { tap.LogMessage("a"); });
  started.get_future().wait();
  tap.LogMessage("b");
  EXPECT_EQ(LastLines(), (Texts{"1 a", "2 b"}));
  maySleep.set_value();
  slow = nullptr;
  EXPECT_TRUE(hasReturned);
  logger.join();
  EXPECT_EQ(heard, (Texts{"a", "b"}));
}

TEST_F(KitLogTap, NumbersAndPassesLinesOfAllThreadsInTheOrderOfTheLogBehind) {
  constexpr int Threads = 4, LinesEach = 2'000;
  auto& behind = *new StandInLog;
  LogTap all(std::unique_ptr<Log::SMessageLog>(&behind), 10'000);
  std::vector<StandInLog::Line> heard, kept;
  const auto listening = all.Listen([&](const LogTap::Line& line) {
    heard.push_back({line.kind, line.text});
    if (heard.size() % 100 == 0) all.LogWarning("inside");
  });
  std::vector<std::thread> threads;
  for (int thread = 0; thread < Threads; ++thread) {
    threads.emplace_back([&all, thread] {
      for (int line = 0; line < LinesEach; ++line) {
        const auto shortLived = all.Listen([](const LogTap::Line&) {});
        all.LogMessage(std::to_string(thread) + " " + std::to_string(line));
        if (line % 500 == 0) all.LastLines();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const LogTap::Line& line : all.LastLines()) {
    kept.push_back({line.kind, line.text});
    ASSERT_EQ(line.sequence, kept.size());
  }
  EXPECT_EQ(kept, behind.lines);
  EXPECT_EQ(heard.size(), Threads * LinesEach);
  std::erase_if(kept, [](const StandInLog::Line& line) { return line.kind == LogKind::Warning; });
  EXPECT_EQ(heard, kept);
}

}  // namespace
}  // namespace Common::Test
