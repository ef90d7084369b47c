#include <common/message_log.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <regex>
#include <thread>

#include "support.h"

namespace Common::Test {
namespace {

namespace fs = std::filesystem;

const std::string LogName = "zeb_log.txt";
const std::string Dashes(37, '-');
const std::string Header = "T " + Dashes + "\nT ZEB Log: T\nT " + Dashes + "\n";

std::string OpenFailure(const std::string& path) { return "Failed to open log file for writing: " + path + "\n"; }

// The text with each time stamp cut down to a T.
std::string WithoutTimes(const std::string& text) {
  return std::regex_replace(text, std::regex(R"(\d{4}-[01]\d-[0-3]\d, [012]\d:[0-5]\d:[0-6]\d:)"), "T");
}

std::string FileText(const fs::path& path = LogName) { return WithoutTimes(ReadBytes(path)); }

std::string Archive() {
  std::string texts;
  for (const auto& entry : fs::directory_iterator("old_logs")) texts += ReadBytes(entry);
  return texts;
}

std::string Lines(int count) {
  std::string lines;
  for (; count > 0; --count) lines += "T x\n";
  return lines;
}

std::string LocalTime() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::ostringstream text;
  text << std::put_time(std::localtime(&now), "%Y-%m-%d, %H:%M:%S:");
  return text.str();
}

// Runs with captured console streams.
struct MessageLog : testing::Test {
  void Start(bool live) {
    log.reset(Log::ManufactureMessageLog());
    log->SetLiveOutput(live);
  }
  void Add(int count) {
    while (count-- > 0) log->LogMessage("x");
  }

  const Capture out{std::cout}, err{std::cerr};
  std::unique_ptr<Log::SMessageLog> log;
};

TEST_F(MessageLog, StampsEachLineAndSendsItToItsStream) {
#ifndef _WIN32
  setenv("TZ", "TST-05:45", 1);
  tzset();
#endif
  Start(false);
  log->LogError("not live");
  log->SetLiveOutput(true);
  const std::string before = LocalTime();
  log->LogError("");
  const std::string after = LocalTime();
  log->LogWarning(" two\nlines ");
  log->LogMessage("ERROR: \xFF\n");
  log->AddSideLine("aside");
  EXPECT_EQ(log->SideLines(), std::vector<std::string>{"aside\n"});
  log->ClearSideLines();
  EXPECT_TRUE(log->SideLines().empty());
  const std::string stamp = err.Text().substr(7, before.size());
  EXPECT_LE(before, stamp);
  EXPECT_LE(stamp, after);
  EXPECT_TRUE(fs::is_empty("."));
  log.reset();
  const std::string errors = "ERROR: T \n", others = "WARNING: T  two\nlines \nT ERROR: \xFF\n\n";
  EXPECT_EQ(WithoutTimes(err.Text()), errors);
  EXPECT_EQ(WithoutTimes(out.Text()), others);
  EXPECT_EQ(FileText(), OnDisk(Header + "ERROR: T not live\n" + errors + others));
}

TEST_F(MessageLog, WritesBatchesWhileItIsLive) {
  WriteBytes(LogName, "previous\n");
  Start(false);
  Add(1200);
  log->SetLiveOutput(true);
  EXPECT_FALSE(fs::exists(LogName));
  Add(1);
  EXPECT_EQ(Archive(), "previous\n");
  EXPECT_EQ(WithoutTimes(out.Text()), Lines(1));
  Add(499);
  EXPECT_EQ(FileText(), OnDisk(Header + Lines(1201)));
  const fs::path other(u8"h\u00E4fen.txt");
  WriteBytes(other, "kept\n");
  log->SetLogFile("h\u00E4fen.txt");
  fs::create_directory("elsewhere");
  fs::current_path("elsewhere");
  Add(1);
  fs::current_path("..");
  EXPECT_EQ(FileText(other), "kept\n" + OnDisk(Lines(500)));
  log->SetLogFile((fs::current_path() / "empty.txt").string());
  log.reset();
  EXPECT_TRUE(fs::is_empty("empty.txt"));
}

TEST_F(MessageLog, TakesLinesFromSeveralThreads) {
  Start(true);
  std::vector<std::thread> threads;
  for (const char name : {'a', 'b', 'c', 'd'}) {
    threads.emplace_back([this, text = std::string(50, name)] {
      for (int line = 1; line <= 1000; ++line) log->LogMessage(text + std::to_string(line));
    });
  }
  for (std::thread& thread : threads) thread.join();
  log.reset();
  std::istringstream lines(WithoutTimes(out.Text()));
  EXPECT_EQ(FileText(), OnDisk(Header + lines.str()));
  std::map<char, int> counts;
  for (std::string line; std::getline(lines, line);) {
    const char name = line.at(2);
    EXPECT_EQ(line, "T " + std::string(50, name) + std::to_string(++counts[name]));
  }
  EXPECT_EQ(counts, (std::map<char, int>{{'a', 1000}, {'b', 1000}, {'c', 1000}, {'d', 1000}}));
}

TEST_F(MessageLog, KeepsToItselfWhatTheStreamsOfAHostThrow) {
  struct : std::streambuf {
  } refusing;
  Start(true);
  for (std::ostream* const stream : {&std::cout, &std::cerr}) {
    stream->rdbuf(&refusing);
    stream->exceptions(std::ios::badbit);
  }
  log->SetLogFile("no/folder.txt");
  EXPECT_NO_THROW(Add(497));
  log->SetLogFile(LogName);
  EXPECT_NO_THROW(log->LogError("x"));
  EXPECT_NO_THROW(log->LogMessage("x"));
  log.reset();
  EXPECT_EQ(FileText(), OnDisk("ERROR: T x\nT x\n"));
}

// A host's own way to write a date, which differs from call to call.
struct CountingDate : std::time_put<char> {
  iter_type do_put(iter_type to, std::ios_base&, char, const std::tm*, char, char) const override {
    const std::string text = "date " + std::to_string(++calls);
    return std::copy(text.begin(), text.end(), to);
  }
  mutable int calls = 0;
};

TEST_F(MessageLog, StampsFollowTheSecondAndTheGlobalLocale) {
  Start(true);
  const auto nextLine = [this] {
    const std::size_t before = out.Text().size();
    Add(1);
    return out.Text().substr(before);
  };
  const std::string first = nextLine();
  std::string later;
  do {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    later = LocalTime();
  } while (first.starts_with(later));
  EXPECT_GE(nextLine(), later);
  for (int round = 0; round < 2; ++round) {
    std::locale::global(std::locale(std::locale::classic(), new CountingDate));
    const std::string line = nextLine();
    EXPECT_TRUE(line.starts_with("date 1")) << line;
    EXPECT_NE(nextLine(), line);
  }
  std::locale::global(std::locale::classic());
  EXPECT_EQ(WithoutTimes(nextLine()), Lines(1));
}

// Runs after an earlier run.
struct LogRotation : MessageLog {
  LogRotation() { WriteBytes(LogName, "previous\n"); }
};

TEST_F(LogRotation, AddsToTheArchive) {
  WriteBytes("old_logs/earlier.txt", "previous\n");
  Start(true);
  EXPECT_EQ(Archive(), "previous\nprevious\n");
  EXPECT_FALSE(fs::exists(LogName));
}

TEST_F(LogRotation, DropsThePreviousLogWhereAFileStandsForTheArchive) {
  WriteBytes("old_logs", "a file\n");
  Start(true);
  EXPECT_EQ(ReadBytes("old_logs"), "a file\n");
  log.reset();
  EXPECT_EQ(FileText(), OnDisk(Header));
}

TEST_F(LogRotation, ThatFailsLeavesALogWithoutTarget) {
#ifdef _WIN32
  const std::ifstream reader(LogName);  // keeps the file from being renamed
#else
  fs::create_directory_symlink("/proc", "old_logs");  // there, but nothing can be moved into it
#endif
  Start(true);
  Add(499);
  EXPECT_EQ(err.Text(), "");
  Add(1);
  EXPECT_EQ(err.Text(), OpenFailure(""));
  log->SetLogFile("healed.txt");
  Add(500);
  EXPECT_EQ(FileText("healed.txt"), OnDisk(Lines(500)));
  log->SetLogFile("no/folder.txt");
  log.reset();
  EXPECT_EQ(err.Text(), OpenFailure("") + OpenFailure((fs::current_path() / "no/folder.txt").string()));
  EXPECT_EQ(ReadBytes(LogName), "previous\n");
}

}  // namespace
}  // namespace Common::Test
