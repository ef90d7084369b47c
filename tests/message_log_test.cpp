#include <common/message_log.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <regex>
#include <thread>

#include "support.h"

namespace Common::Test {
namespace {

namespace fs = std::filesystem;

using Log::SMessageLog;

const std::string LogName = "zeb_log.txt";
const std::string Dashes = "-------------------------------------";
const std::string Header = "T " + Dashes + "\nT ZEB Log: T\nT " + Dashes + "\n";

std::unique_ptr<SMessageLog> MakeLog() { return std::unique_ptr<SMessageLog>(Log::ManufactureMessageLog()); }

// The text with each time stamp cut down to a T.
std::string WithoutTimes(const std::string& text) {
  static const std::regex stamp(R"(\d{4}-[01]\d-[0-3]\d, [012]\d:[0-5]\d:[0-6]\d:)");
  return std::regex_replace(text, stamp, "T");
}

std::string FileText(const fs::path& path = LogName) { return WithoutTimes(ReadBytes(path)); }

std::string Lines(std::size_t count) {
  std::string lines;
  while (count-- > 0) lines += "T x\n";
  return lines;
}

void AddLines(SMessageLog& log, int count) {
  while (count-- > 0) log.LogMessage("x");
}

std::string OpenFailure(const std::string& path) { return "Failed to open log file for writing: " + path + "\n"; }

std::string LocalTime() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::ostringstream text;
  text << std::put_time(std::localtime(&now), "%Y-%m-%d, %H:%M:%S:");
  return text.str();
}

TEST(MessageLog, StampsEachLineAndSendsItToItsStream) {
#ifndef _WIN32
  setenv("TZ", "TST-05:45", 1);
  tzset();
#endif
  auto log = MakeLog();
  const Capture out(std::cout), err(std::cerr);
  log->LogError("not live");
  log->SetLiveOutput(true);
  const std::string before = LocalTime();
  log->LogError("");
  const std::string after = LocalTime();
  log->LogWarning(" two\nlines ");
  log->LogMessage("ERROR: \xFF\n");
  log->SetLiveOutput(false);
  log->LogMessage("not live");
  log->AddSideLine("aside");
  EXPECT_EQ(log->SideLines(), std::vector<std::string>{"aside\n"});
  log->ClearSideLines();
  EXPECT_TRUE(log->SideLines().empty());

  const std::string stamp = err.Text().substr(7, before.size());
  EXPECT_LE(before, stamp);
  EXPECT_LE(stamp, after);
  const std::string errors = "ERROR: T \n", others = "WARNING: T  two\nlines \nT ERROR: \xFF\n\n";
  EXPECT_EQ(WithoutTimes(err.Text()), errors);
  EXPECT_EQ(WithoutTimes(out.Text()), others);
  log.reset();
  EXPECT_EQ(FileText(), OnDisk(Header + "ERROR: T not live\n" + errors + others + "T not live\n"));
  EXPECT_EQ(WithoutTimes(out.Text()), others) << "the end copies nothing to the console";
}

TEST(MessageLog, WritesABatchOfFiveHundredLines) {
  auto log = MakeLog();
  const Capture out(std::cout);
  log->SetLiveOutput(true);
  AddLines(*log, 496);
  EXPECT_FALSE(fs::exists(LogName));
  AddLines(*log, 1);
  EXPECT_EQ(FileText(), OnDisk(Header + Lines(497)));
  AddLines(*log, 499);
  WriteBytes(
      "h\xC3\xA4"
      "fen.txt",
      "");
  const fs::path other(u8"h\u00E4fen.txt");
  WriteBytes(other, "kept\n");
  log->SetLogFile(
      "h\xC3\xA4"
      "fen.txt");
  fs::create_directory("elsewhere");
  fs::current_path("elsewhere");
  AddLines(*log, 1);
  fs::current_path("..");
  EXPECT_EQ(FileText(other), "kept\n" + OnDisk(Lines(500)));
  EXPECT_EQ(FileText(), OnDisk(Header + Lines(497)));
  log->SetLogFile((fs::current_path() / "empty.txt").string());
  log.reset();
  EXPECT_TRUE(fs::is_empty("empty.txt"));
}

TEST(MessageLog, KeepsItsBacklogUntilTheFirstLiveLine) {
  const auto log = MakeLog();
  const Capture out(std::cout);
  AddLines(*log, 1200);
  log->SetLiveOutput(true);
  EXPECT_FALSE(fs::exists(LogName));
  AddLines(*log, 1);
  EXPECT_EQ(FileText(), OnDisk(Header + Lines(1201)));
  EXPECT_EQ(WithoutTimes(out.Text()), Lines(1));
}

TEST(MessageLog, DropsABatchThatCannotBeWritten) {
  auto log = MakeLog();
  const Capture out(std::cout), err(std::cerr);
  log->SetLiveOutput(true);
  log->SetLogFile("no/folder.txt");
  AddLines(*log, 497);
  const std::string failure = OpenFailure((fs::current_path() / "no/folder.txt").string());
  EXPECT_EQ(err.Text(), failure);
  AddLines(*log, 499);
  EXPECT_EQ(err.Text(), failure);
  log->SetLogFile("file.txt");
  AddLines(*log, 1);
  EXPECT_EQ(FileText("file.txt"), OnDisk(Lines(500)));
  log->SetLogFile("no/folder.txt");
  log.reset();
  EXPECT_EQ(err.Text(), failure + failure);
}

TEST(MessageLog, TakesLinesFromSeveralThreads) {
  constexpr int ThreadCount = 4;
  constexpr int LineCount = 1000;
  auto log = MakeLog();
  const Capture out(std::cout);
  log->SetLiveOutput(true);
  std::vector<std::thread> threads;
  for (int number = 0; number < ThreadCount; ++number) {
    threads.emplace_back([&log, name = std::string(50, static_cast<char>('a' + number))] {
      for (int line = 0; line < LineCount; ++line) log->LogMessage(name + std::to_string(line));
    });
  }
  for (std::thread& thread : threads) thread.join();
  log.reset();
  const std::string console = WithoutTimes(out.Text());
  EXPECT_EQ(FileText(), OnDisk(Header + console));
  std::istringstream lines(console);
  std::vector<int> counts(ThreadCount);
  for (std::string line; std::getline(lines, line);) {
    const char name = line.at(2);
    EXPECT_EQ(line, "T " + std::string(50, name) + std::to_string(counts.at(static_cast<std::size_t>(name - 'a'))++));
  }
  EXPECT_EQ(counts, std::vector<int>(ThreadCount, LineCount));
}

TEST(MessageLog, KeepsWhatAHostsStreamsThrowToItself) {
  struct : std::streambuf {
  } refusing;
  std::ostream* const streams[] = {&std::cout, &std::cerr};
  std::vector<std::streambuf*> buffers;
  auto log = MakeLog();
  log->SetLiveOutput(true);
  for (std::ostream* const stream : streams) {
    buffers.push_back(stream->rdbuf(&refusing));
    stream->exceptions(std::ios::badbit);
  }
  log->SetLogFile("no/folder.txt");
  EXPECT_NO_THROW(AddLines(*log, 497));
  log->SetLogFile(LogName);
  EXPECT_NO_THROW(log->LogError("x"));
  EXPECT_NO_THROW(log->LogMessage("x"));
  log.reset();
  for (std::size_t index = 0; index < buffers.size(); ++index) {
    streams[index]->exceptions(std::ios::goodbit);
    streams[index]->rdbuf(buffers[index]);
  }
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

TEST(MessageLog, StampsFollowTheSecondAndTheGlobalLocale) {
  const auto log = MakeLog();
  log->SetLiveOutput(true);
  const auto nextLine = [&log] {
    const Capture out(std::cout);
    AddLines(*log, 1);
    return out.Text();
  };
  const std::string first = nextLine();
  std::string later;
  do {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    later = LocalTime();
  } while (first.starts_with(later));
  EXPECT_GE(nextLine().substr(0, later.size()), later);
  for (int round = 0; round < 2; ++round) {
    std::locale::global(std::locale(std::locale::classic(), new CountingDate));
    const std::string line = nextLine();
    EXPECT_TRUE(line.starts_with("date 1")) << line;
    EXPECT_NE(nextLine(), line);
  }
  std::locale::global(std::locale::classic());
  EXPECT_EQ(WithoutTimes(nextLine()), Lines(1));
}

// What lies in the archive, in the order of the texts; all under names that end in .txt.
std::vector<std::string> Archive() {
  std::vector<std::string> texts;
  for (const auto& entry : fs::directory_iterator("old_logs")) {
    EXPECT_EQ(entry.path().extension(), ".txt");
    texts.push_back(ReadBytes(entry.path()));
  }
  std::sort(texts.begin(), texts.end());
  return texts;
}

TEST(LogRotation, LeavesNoTraceUntilTheFirstBatch) {
  auto log = MakeLog();
  EXPECT_TRUE(fs::is_empty("."));
  log->SetLogFile("named.txt");
  log.reset();
  EXPECT_EQ(FileText("named.txt"), OnDisk(Header));
  EXPECT_FALSE(fs::exists(LogName));
}

TEST(LogRotation, MakesTheArchive) {
  WriteBytes(LogName, "previous\n");
  const auto log = MakeLog();
  EXPECT_EQ(Archive(), std::vector<std::string>{"previous\n"});
  EXPECT_FALSE(fs::exists(LogName));
}

TEST(LogRotation, AddsToTheArchive) {
  WriteBytes("old_logs/earlier.txt", "earlier\n");
  WriteBytes(LogName, "previous\n");
  MakeLog().reset();
  EXPECT_EQ(Archive(), (std::vector<std::string>{"earlier\n", "previous\n"}));
  EXPECT_EQ(FileText(), OnDisk(Header));
}

TEST(LogRotation, DropsThePreviousLogIfAFileStandsForTheArchive) {
  WriteBytes("old_logs", "a file\n");
  WriteBytes(LogName, "previous\n");
  MakeLog().reset();
  EXPECT_EQ(ReadBytes("old_logs"), "a file\n");
  EXPECT_EQ(FileText(), OnDisk(Header));
}

TEST(LogRotation, ThatFailsLeavesALogWithoutTarget) {
  WriteBytes(LogName, "previous\n");
#ifdef _WIN32
  const std::ifstream reader(LogName);  // keeps the file from being renamed
#else
  fs::create_directory_symlink("/proc", "old_logs");  // there, but never to be renamed into
#endif
  const Capture out(std::cout), err(std::cerr);
  auto log = MakeLog();
  EXPECT_EQ(err.Text(), "");
  log->SetLiveOutput(true);
  AddLines(*log, 500);
  EXPECT_EQ(err.Text(), OpenFailure(""));
  EXPECT_EQ(WithoutTimes(out.Text()), Lines(500));
  AddLines(*log, 1);
  log->SetLogFile("healed.txt");
  log.reset();
  EXPECT_EQ(FileText("healed.txt"), OnDisk(Lines(1)));
  EXPECT_EQ(ReadBytes(LogName), "previous\n");
}

#ifndef _WIN32
TEST(LogRotation, NeedsAWorkingDirectory) {
  const fs::path before = fs::current_path();
  fs::create_directory("gone");
  fs::current_path("gone");
  fs::remove("../gone");
  EXPECT_EQ(FailureOf(Log::ManufactureMessageLog), "filesystem_error");
  fs::current_path(before);
  EXPECT_EQ(FailureOf(Log::ManufactureMessageLog), "Multiple instances of SMessageLog!");
}
#endif

}  // namespace
}  // namespace Common::Test
