#include <common/message_log.h>
#include <vorn_lnk/guid>

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <set>
#include <thread>

#include "support.h"

namespace Common::Test {
namespace {

namespace fs = std::filesystem;

const std::string LogName = "zeb_log.txt";
const std::string Dashes(37, '-');
const std::string Header = "T " + Dashes + "\nT ZEB Log: T\nT " + Dashes + "\n";
constexpr int HeaderLines = 3;
constexpr int BatchLines = 500;
const std::string FailedOpen = "Failed to open log file for writing: ";

// The text with each time stamp cut down to a T.
std::string WithoutTimes(const std::string& text) {
  return std::regex_replace(text, std::regex(R"(\d{4}-[01]\d-[0-3]\d, [012]\d:[0-5]\d:[0-6]\d:)"),
                            "T");
}

std::string FileText(const fs::path& path = LogName) { return WithoutTimes(ReadBytes(path)); }

// What `count` lines of the text "x" are, as FileText gives them.
std::string Lines(int count) {
  std::string lines;
  for (; count > 0; --count) lines += "T x\n";
  return lines;
}

std::string LocalTime() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  return (std::ostringstream() << std::put_time(std::localtime(&now), "%Y-%m-%d, %H:%M:%S:")).str();
}

struct MessageLog : testing::Test {
  void Start() { log.reset(Log::ManufactureMessageLog()); }
  void StartLive() {
    Start();
    log->SetLiveOutput(true);
  }
  void Add(int count) {
    for (; count > 0; --count) log->LogMessage("x");
  }
  void End() { log.reset(); }

  const Capture out{std::cout}, err{std::cerr};
  std::unique_ptr<Log::SMessageLog> log;
};

TEST_F(MessageLog, SendsEachKindToItsStreamAndAllToTheFileByteForByte) {
  StartLive();
  log->LogError("");
  log->LogWarning(" two\nlines ");
  log->LogMessage("ERROR: \xFF\n");
  const std::string errors = "ERROR: T \n";
  const std::string others = "WARNING: T  two\nlines \nT ERROR: \xFF\n\n";
  EXPECT_EQ(WithoutTimes(err.Text()), errors);
  EXPECT_EQ(WithoutTimes(out.Text()), others);
  EXPECT_TRUE(fs::is_empty(".")) << "no batch was full";
  End();
  EXPECT_EQ(FileText(), OnDisk(Header + errors + others));
}

TEST_F(MessageLog, WritesABatchWhenItIsFull) {
  StartLive();
  Add(BatchLines - HeaderLines - 1);
  EXPECT_FALSE(fs::exists(LogName));
  Add(1);
  EXPECT_EQ(FileText(), OnDisk(Header + Lines(BatchLines - HeaderLines)));
}

TEST_F(MessageLog, WritesABacklogWithTheFirstLiveLineAndCopiesThatLineAlone) {
  Start();
  Add(1200);
  log->SetLiveOutput(true);
  EXPECT_FALSE(fs::exists(LogName));
  Add(1);
  EXPECT_EQ(FileText(), OnDisk(Header + Lines(1201)));
  EXPECT_EQ(WithoutTimes(out.Text()), Lines(1));
}

TEST_F(MessageLog, IsSilentAgainWhenLiveOutputIsSwitchedOff) {
  StartLive();
  log->SetLiveOutput(false);
  Add(BatchLines);
  EXPECT_EQ(out.Text(), "");
  EXPECT_FALSE(fs::exists(LogName));
}

TEST_F(MessageLog, KeepsSideLinesApartUntilTheyAreCleared) {
  StartLive();
  log->AddSideLine("first");
  log->AddSideLine("second");
  EXPECT_EQ(log->SideLines(), (std::vector<std::string>{"first\n", "second\n"}));
  log->ClearSideLines();
  EXPECT_EQ(log->SideLines(), std::vector<std::string>{});
  End();
  EXPECT_EQ(out.Text(), "");
  EXPECT_EQ(FileText(), OnDisk(Header));
}

TEST_F(MessageLog, AppendsWhatWaitsToANewFileNamedFromTheFolderOfTheMoment) {
  const fs::path other = fs::current_path() / u8"h\u00E4fen.txt";
  WriteBytes(other, "kept\n");
  Start();
  log->SetLogFile("h\u00E4fen.txt");
  fs::current_path(fs::temp_directory_path());
  End();
  EXPECT_EQ(FileText(other), "kept\n" + OnDisk(Header));
}

TEST_F(MessageLog, MakesItsFileAtTheEndAlthoughNothingWaits) {
  StartLive();
  Add(BatchLines - HeaderLines);
  log->SetLogFile("empty.txt");
  End();
  EXPECT_TRUE(fs::exists("empty.txt"));
}

TEST_F(MessageLog, FlushWritesWhatWaitsOrKeepsItForAFileThatCanBeOpened) {
  Start();
  log->SetLogFile("no/folder.txt");
  EXPECT_FALSE(log->Flush());
  EXPECT_EQ(err.Text(), FailedOpen + (fs::current_path() / "no/folder.txt").string() + '\n');
  log->SetLogFile(LogName);
  EXPECT_TRUE(log->Flush());
  EXPECT_EQ(FileText(), OnDisk(Header));
  fs::remove(LogName);
  EXPECT_TRUE(log->Flush());
  EXPECT_FALSE(fs::exists(LogName)) << "nothing waited, so no file was opened";
}

// The console of a host, whose writes and flushes do what the test wants.
struct HostBuffer : std::streambuf {
  std::streamsize xsputn(const char*, std::streamsize count) override {
    onWrite();
    return count;
  }
  int sync() override { return onFlush(); }

  std::function<void()> onWrite = [] {};
  std::function<int()> onFlush = [] { return 0; };
};

TEST_F(MessageLog, FlushInsideALogCallReturnsAtOnce) {
  HostBuffer buffer;
  bool flushed = true;
  buffer.onWrite = [&] { flushed = log->Flush(); };
  std::cout.rdbuf(&buffer);
  StartLive();
  Add(1);
  EXPECT_FALSE(flushed);
}

#if !defined(NDEBUG) && !defined(_WIN32)
TEST_F(MessageLog, LogCallInsideALogCallStopsADebugBuild) {
  HostBuffer buffer;
  buffer.onWrite = [this] { Add(1); };
  std::cout.rdbuf(&buffer);
  StartLive();
  EXPECT_DEATH(Add(1), "a log call was made from inside a log call");
}
#endif

TEST_F(MessageLog, TakesLinesFromSeveralThreadsWholeAndInTheirOrder) {
  constexpr int Threads = 8, Count = 100'000;
  StartLive();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < Threads; ++thread) {
    threads.emplace_back([this, text = std::to_string(thread) + ' '] {
      for (int line = 0; line < Count; ++line) log->LogMessage(text + std::to_string(line));
    });
  }
  for (std::thread& thread : threads) thread.join();
  End();
  std::istringstream file(ReadBytes(LogName));
  std::string headerLine, date, time;
  for (int line = 0; line < HeaderLines; ++line) std::getline(file, headerLine);
  std::vector<int> next(Threads);
  for (int thread, line; file >> date >> time >> thread >> line;) {
    ASSERT_EQ(line, next.at(static_cast<std::size_t>(thread))++) << "of thread " << thread;
  }
  EXPECT_EQ(next, std::vector<int>(Threads, Count));
}

struct BadConsole : MessageLog {
  void ExpectThatNoLineIsLost() {
    Start();
    for (std::ostream* const stream : {&std::cout, &std::cerr}) {
      stream->rdbuf(&buffer);
      stream->setf(std::ios::unitbuf);
      stream->exceptions(std::ios::badbit);
    }
    log->SetLiveOutput(true);
    Add(1);
    log->SetLogFile("no/folder.txt");
    EXPECT_FALSE(log->Flush()) << "and std::cerr cannot show why";
    log->SetLogFile(LogName);
    End();
    EXPECT_EQ(FileText(), OnDisk(Header + Lines(1)));
  }
  void TearDown() override {
    for (std::ostream* const stream : {&std::cout, &std::cerr}) stream->exceptions({});
  }

  HostBuffer buffer;
};

TEST_F(BadConsole, MayThrowFromAWrite) {
  buffer.onWrite = [] { throw "no write"; };
  ExpectThatNoLineIsLost();
}

TEST_F(BadConsole, MayThrowFromAFlush) {
  buffer.onFlush = []() -> int { throw "no flush"; };
  ExpectThatNoLineIsLost();
}

TEST_F(BadConsole, MayFailToFlush) {
  buffer.onFlush = [] { return -1; };
  ExpectThatNoLineIsLost();
}

TEST_F(MessageLog, FlushesTheConsoleAsItsOwnSettingsAsk) {
  HostBuffer buffer, tiedBuffer;
  int flushes = 0, tiedFlushes = 0;
  buffer.onFlush = [&] { return flushes++, 0; };
  tiedBuffer.onFlush = [&] { return tiedFlushes++, 0; };
  std::ostream tied(&tiedBuffer);
  StartLive();
  std::cout.rdbuf(&buffer);
  Add(1);
  EXPECT_EQ(flushes, 0);
  std::cout << std::unitbuf;
  std::cout.tie(&tied);
  Add(1);
  std::cout.tie(nullptr);
  EXPECT_EQ(flushes, 1);
  EXPECT_EQ(tiedFlushes, 1);
}

// A host's own way to write a date, which works for one conversion.
struct CountingDate : std::time_put<char> {
  iter_type do_put(iter_type to, std::ios_base&, char, const std::tm*, char, char) const override {
    if (calls > 0) throw "no date";
    ++calls;
    return std::fill_n(to, 1, '#');
  }
  mutable int calls = 0;
};

TEST_F(MessageLog, StampsFollowTheLocalTimeAndTheGlobalLocale) {
  StartLive();
  const std::string before = LocalTime();
  Add(1);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  Add(1);
  const std::string after = LocalTime();
  std::locale::global(std::locale(std::locale::classic(), new CountingDate));
  Add(2);
  std::locale::global(std::locale::classic());
  std::istringstream lines(out.Text());
  std::string first, second, hosts, refused;
  for (std::string* const line : {&first, &second, &hosts, &refused}) std::getline(lines, *line);
  EXPECT_LE(before + " x", first);
  EXPECT_LT(first, second);
  EXPECT_LE(second, after + " x");
  EXPECT_EQ(hosts.front(), '#');
  EXPECT_EQ(refused, " x") << "a stamp that the host's locale cannot make costs no line";
}

TEST_F(MessageLog, AddsThePreviousLogToTheArchive) {
  WriteBytes(LogName, "previous\n");
  WriteBytes("old_logs/earlier.txt", "earlier\n");
  Start();
  std::set<std::string> archived;
  for (const auto& entry : fs::directory_iterator("old_logs")) {
    archived.insert(ReadBytes(entry.path()));
  }
  EXPECT_EQ(archived, (std::set<std::string>{"earlier\n", "previous\n"}));
  EXPECT_FALSE(fs::exists(LogName));
}

TEST_F(MessageLog, DropsThePreviousLogWhereAFileStandsForTheArchive) {
  WriteBytes(LogName, "previous\n");
  WriteBytes("old_logs", "a file\n");
  Start();
  EXPECT_EQ(ReadBytes("old_logs"), "a file\n");
  End();
  EXPECT_EQ(FileText(), OnDisk(Header));
}

// What stands for the archive: a folder that nothing can be moved into, or a link to nowhere.
struct FailedRotation : MessageLog, testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Archive, FailedRotation, testing::Values("/proc", "nowhere"));

TEST_P(FailedRotation, LeavesALogWithoutHeaderAndFileUntilOneIsNamed) {
  WriteBytes(LogName, "previous\n");
#ifdef _WIN32
  const std::ifstream reader(LogName);  // keeps the file from being renamed
#else
  fs::create_directory_symlink(GetParam(), "old_logs");
#endif
  StartLive();
  Add(BatchLines);
  EXPECT_EQ(err.Text(), FailedOpen + '\n') << "once a batch";
  log->SetLogFile("healed.txt");
  Add(1);
  End();
  EXPECT_EQ(FileText("healed.txt"), OnDisk(Lines(1)));
  EXPECT_EQ(ReadBytes(LogName), "previous\n");
}

TEST(Guid, AscendsAndIsNeverGivenTwiceOnSeveralThreads) {
  constexpr std::size_t Count = 5'000;
  std::vector<std::string> guids[2];
  const auto fill = [](std::vector<std::string>& made) {
    while (made.size() < Count) made.push_back(Vorn::CreateGuid());
  };
  std::thread other(fill, std::ref(guids[1]));
  fill(guids[0]);
  other.join();
  std::set<std::string> different;
  for (const auto& made : guids) {
    EXPECT_TRUE(std::is_sorted(made.begin(), made.end()));
    different.insert(made.begin(), made.end());
  }
  EXPECT_EQ(different.size(), 2 * Count);
}

TEST(Guid, OpensWithTheMillisecondsSince1970) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const std::string guid = Vorn::CreateGuid();
  const std::regex version7(
      "([0-9a-f]{8})-([0-9a-f]{4})-7[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
  std::smatch part;
  ASSERT_TRUE(std::regex_match(guid, part, version7)) << guid;
  const std::chrono::milliseconds made(std::stoll(part.str(1) + part.str(2), nullptr, 16));
  EXPECT_GE(made, std::chrono::floor<std::chrono::milliseconds>(now));
  EXPECT_LT(made, now + std::chrono::minutes(1));
}

}  // namespace
}  // namespace Common::Test
