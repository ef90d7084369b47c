#include <common/message_log.h>

#include <algorithm>
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

// The text with each time stamp cut down to a T.
std::string WithoutTimes(const std::string& text) {
  return std::regex_replace(text, std::regex(R"(\d{4}-[01]\d-[0-3]\d, [012]\d:[0-5]\d:[0-6]\d:)"),
                            "T");
}

std::string FileText(const fs::path& path = LogName) { return WithoutTimes(ReadBytes(path)); }

std::string Lines(int count) { return count == 0 ? "" : Lines(count - 1) + "T x\n"; }

std::string LocalTime() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  return (std::ostringstream() << std::put_time(std::localtime(&now), "%Y-%m-%d, %H:%M:%S:")).str();
}

struct MessageLog : testing::Test {
  void Start(bool live) {
    log.reset(Log::ManufactureMessageLog());
    log->SetLiveOutput(live);
  }
  void Add(int count, const std::string& text = "x") {
    while (count-- > 0) log->LogMessage(text);
  }

  const Capture out{std::cout}, err{std::cerr};
  std::unique_ptr<Log::SMessageLog> log;
};

TEST_F(MessageLog, StampsEachLineAndSendsItToItsStream) {
  Start(true);
  const std::string before = LocalTime();
  log->LogError("");
  const std::string stamp = err.Text().substr(7, before.size());
  EXPECT_LE(before, stamp);
  EXPECT_LE(stamp, LocalTime());
  log->LogWarning(" two\nlines ");
  log->LogMessage("ERROR: \xFF\n");
  log->AddSideLine("aside");
  EXPECT_EQ(log->SideLines(), std::vector<std::string>{"aside\n"});
  EXPECT_TRUE(fs::is_empty("."));
  log.reset();
  const std::string errors = "ERROR: T \n", others = "WARNING: T  two\nlines \nT ERROR: \xFF\n\n";
  EXPECT_EQ(WithoutTimes(err.Text()), errors);
  EXPECT_EQ(WithoutTimes(out.Text()), others);
  EXPECT_EQ(FileText(), OnDisk(Header + errors + others));
}

TEST_F(MessageLog, WritesBatchesWhileItIsLive) {
  WriteBytes(LogName, "previous\n");
  Start(false);
  Add(1200);
  log->SetLiveOutput(true);
  EXPECT_FALSE(fs::exists(LogName));
  EXPECT_EQ(ReadBytes(*fs::directory_iterator("old_logs")), "previous\n");
  Add(1);
  EXPECT_EQ(WithoutTimes(out.Text()), Lines(1));
  Add(499);
  EXPECT_EQ(FileText(), OnDisk(Header + Lines(1201)));
  const fs::path other = fs::current_path() / u8"h\u00E4fen.txt";
  WriteBytes(other, "kept\n");
  log->SetLogFile("h\u00E4fen.txt");
  fs::current_path(fs::temp_directory_path());
  Add(1);
  log.reset();
  EXPECT_EQ(FileText(other), "kept\n" + OnDisk(Lines(500)));
}

TEST_F(MessageLog, TakesLinesFromSeveralThreads) {
  constexpr int Count = 100'000;
  Start(true);
  std::vector<std::thread> threads;
  for (int number = 0; number < 8; ++number) {
    threads.emplace_back([this, text = std::to_string(number) + ' '] {
      for (int line = 0; line < Count; ++line) log->LogMessage(text + std::to_string(line));
    });
  }
  for (std::thread& thread : threads) thread.join();
  log.reset();
  std::istringstream file(ReadBytes(LogName));
  std::string header, date, time;
  for (int line = 0; line < 3; ++line) std::getline(file, header);
  std::vector<int> next(threads.size());
  for (int thread, line; file >> date >> time >> thread >> line;) {
    ASSERT_TRUE(next.at(static_cast<std::size_t>(thread))++ == line && date.size() == 11 &&
                time.size() == 9);
  }
  EXPECT_EQ(next, std::vector<int>(threads.size(), Count));
}

struct ThrowingDate : std::time_put<char> {
  iter_type do_put(iter_type, std::ios_base&, char, const std::tm*, char, char) const override {
    throw "no date";
  }
};

TEST_F(MessageLog, KeepsToItselfWhatStreamsAndLocaleOfAHostThrow) {
  std::filebuf closed;
  Start(true);
  for (std::ostream* const stream : {&std::cout, &std::cerr}) {
    stream->rdbuf(&closed);
    stream->exceptions(std::ios::badbit);
  }
  log->SetLogFile("no/folder.txt");
  EXPECT_NO_THROW(Add(497));
  log->SetLogFile(LogName);
  EXPECT_NO_THROW(log->LogError("x"));
  std::locale::global(std::locale(std::locale::classic(), new ThrowingDate));
  EXPECT_NO_THROW(log->LogError("x"));
  log.reset();
  EXPECT_EQ(FileText(), OnDisk("ERROR: T x\nERROR:  x\n"));
}

// A host's own way to write a date, which differs from call to call.
struct CountingDate : std::time_put<char> {
  iter_type do_put(iter_type to, std::ios_base&, char, const std::tm*, char, char) const override {
    return std::fill_n(to, ++calls, '#');
  }
  mutable int calls = 0;
};

TEST_F(MessageLog, StampsFollowTheSecondAndTheGlobalLocale) {
  Start(true);
  Add(1);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  Add(1);
  std::locale::global(std::locale(std::locale::classic(), new CountingDate));
  Add(2);
  std::locale::global(std::locale::classic());
  Add(1);
  const std::string lines = out.Text();
  const std::size_t lineSize = lines.find('\n') + 1;
  EXPECT_LT(lines.substr(0, lineSize), lines.substr(lineSize, lineSize));
  EXPECT_TRUE(
      std::regex_match(WithoutTimes(lines), std::regex("(T x\n){2}#\\W+#.* x\n###.* x\nT x\n")))
      << lines;
}

TEST_F(MessageLog, AddsThePreviousLogToTheArchive) {
  WriteBytes(LogName, "previous\n");
  WriteBytes("old_logs/earlier.txt", "earlier\n");
  Start(true);
  EXPECT_EQ(std::distance(fs::directory_iterator("old_logs"), {}), 2);
  EXPECT_EQ(ReadBytes("old_logs/earlier.txt"), "earlier\n");
}

TEST_F(MessageLog, DropsThePreviousLogWhereAFileStandsForTheArchive) {
  WriteBytes(LogName, "previous\n");
  WriteBytes("old_logs", "a file\n");
  Start(true);
  EXPECT_EQ(ReadBytes("old_logs"), "a file\n");
  log.reset();
  EXPECT_EQ(FileText(), OnDisk(Header));
}

// What stands for the archive: a folder that nothing can be moved into, or a link to nowhere.
struct FailedRotation : MessageLog, testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Archive, FailedRotation, testing::Values("/proc", "nowhere"));

TEST_P(FailedRotation, LeavesALogWithoutTarget) {
  WriteBytes(LogName, "previous\n");
#ifdef _WIN32
  const std::ifstream reader(LogName);  // keeps the file from being renamed
#else
  fs::create_directory_symlink(GetParam(), "old_logs");
#endif
  Start(true);
  Add(500);
  const std::string failure = "Failed to open log file for writing: ";
  EXPECT_EQ(err.Text(), failure + "\n");
  log->SetLogFile("no/folder.txt");
  Add(500);
  EXPECT_EQ(err.Text(),
            failure + "\n" + failure + (fs::current_path() / "no/folder.txt").string() + "\n");
  log->SetLogFile("healed.txt");
  Add(499);
  log.reset();
  EXPECT_EQ(FileText("healed.txt"), OnDisk(Lines(499)));
  EXPECT_EQ(ReadBytes(LogName), "previous\n");
}

}  // namespace
}  // namespace Common::Test
