#include <common/message_log.h>
#include <vorn_lnk/guid>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <set>
#include <thread>

#include "support.h"

namespace Common::Test {
namespace {

namespace fs = std::filesystem;

constexpr int HeaderLines = 3;
constexpr int BatchLines = 500;
const std::string FailedOpen = "Failed to open log file for writing: ";

// What `count` lines of the text "x" are, as LogText gives them.
std::string Lines(int count) {
  std::string lines;
  for (; count > 0; --count) lines += "T x\n";
  return lines;
}

std::string LocalTime() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  return (std::ostringstream() << std::put_time(std::localtime(&now), "%Y-%m-%d, %H:%M:%S:")).str();
}

// The console of a host, whose writes and flushes do what the test wants.
struct HostConsole : std::streambuf {
  std::streamsize xsputn(const char*, std::streamsize count) override {
    onWrite();
    return count;
  }
  int sync() override { return onFlush(); }

  std::function<void()> onWrite = [] {};
  std::function<int()> onFlush = [] { return 0; };
};

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

  HostConsole console;
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
  EXPECT_EQ(LogText(LogName), OnDisk(LogHeader + errors + others));
}

TEST_F(MessageLog, WritesABacklogWithTheFirstLiveLineAndCopiesLiveLinesAlone) {
  Start();
  Add(1200);
  log->SetLiveOutput(true);
  EXPECT_FALSE(fs::exists(LogName));
  Add(1);
  log->SetLiveOutput(false);
  Add(BatchLines);
  EXPECT_EQ(LogText(LogName), OnDisk(LogHeader + Lines(1201)));
  EXPECT_EQ(WithoutTimes(out.Text()), Lines(1));
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
  EXPECT_EQ(LogText(LogName), OnDisk(LogHeader));
}

TEST_F(MessageLog, AppendsWhatWaitsToANewFileNamedFromTheFolderOfTheMoment) {
  const fs::path other = fs::current_path() / u8"h\u00E4fen.txt";
  WriteBytes(other, "kept\n");
  Start();
  log->SetLogFile("h\u00E4fen.txt");
  fs::current_path(fs::temp_directory_path());
  End();
  EXPECT_EQ(LogText(other), "kept\n" + OnDisk(LogHeader));
}

TEST_F(MessageLog, FlushWritesWhatWaitsOrKeepsItForAFileThatCanBeOpened) {
  Start();
  log->SetLogFile("no/folder.txt");
  EXPECT_FALSE(log->Flush());
  EXPECT_EQ(err.Text(), FailedOpen + (fs::current_path() / "no/folder.txt").string() + '\n');
  log->SetLogFile(LogName);
  EXPECT_TRUE(log->Flush());
  EXPECT_EQ(LogText(LogName), OnDisk(LogHeader));
  fs::remove(LogName);
  EXPECT_TRUE(log->Flush());
  EXPECT_FALSE(fs::exists(LogName)) << "nothing waited, so no file was opened";
  End();
  EXPECT_TRUE(fs::exists(LogName)) << "the end opens it all the same";
}

TEST_F(MessageLog, WritesALineLongerThanItsBufferBehindThoseThatWait) {
  Start();
  const std::string text(40'000, 'y');
  log->LogMessage(text);
  Add(1);
  End();
  EXPECT_TRUE(LogText(LogName) == OnDisk(LogHeader + "T " + text + '\n' + Lines(1)));
}

TEST_F(MessageLog, FlushInsideALogCallReturnsAtOnce) {
  bool flushed = true;
  console.onWrite = [&] { flushed = log->Flush(); };
  std::cout.rdbuf(&console);
  StartLive();
  Add(1);
  EXPECT_FALSE(flushed);
}

#if !defined(NDEBUG) && !defined(_WIN32)
TEST_F(MessageLog, LogCallInsideALogCallStopsADebugBuild) {
  console.onWrite = [this] { Add(1); };
  std::cout.rdbuf(&console);
  StartLive();
  EXPECT_DEATH(Add(1), "a log call was made from inside a log call");
}
#endif

TEST_F(MessageLog, TakesLinesFromSeveralThreadsWholeAndInTheirOrderBesideFlushes) {
  constexpr int Threads = 8, Count = 20'000;
  StartLive();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < Threads; ++thread) {
    threads.emplace_back([this, text = std::to_string(thread) + ' '] {
      for (int line = 0; line < Count; ++line) {
        log->LogMessage(text + std::to_string(line));
        if (line % 16 == 0) log->Flush();
      }
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

TEST_F(MessageLog, LosesNoLineToConsolesThatThrow) {
  HostConsole unwritable;
  unwritable.onWrite = [] { throw "no write"; };
  console.onFlush = []() -> int { throw "no flush"; };
  Start();
  for (std::ostream* const stream : {&std::cout, &std::cerr}) {
    stream->rdbuf(stream == &std::cerr ? &unwritable : &console);
    stream->setf(std::ios::unitbuf);
    stream->exceptions(std::ios::badbit);
  }
  log->SetLiveOutput(true);
  Add(1);
  log->SetLogFile("no/folder.txt");
  EXPECT_FALSE(log->Flush()) << "and std::cerr cannot show why";
  log->SetLogFile(LogName);
  End();
  for (std::ostream* const stream : {&std::cout, &std::cerr}) {
    EXPECT_TRUE(stream->bad());
    stream->exceptions({});
  }
  EXPECT_EQ(LogText(LogName), OnDisk(LogHeader + Lines(1)));
}

TEST_F(MessageLog, FlushesTheConsoleAndWhatIsTiedToItAsTheirSettingsAsk) {
  std::string done;
  console.onWrite = [&done] { done += "write "; };
  console.onFlush = [&done] {
    done += "flush ";
    return 0;
  };
  StartLive();
  std::cout.rdbuf(&console);
  Add(1);
  EXPECT_EQ(std::exchange(done, ""), "write ");
  std::cout << std::unitbuf;
  Add(1);
  EXPECT_EQ(std::exchange(done, ""), "write flush ");
  std::cout << std::nounitbuf;
  std::ostream tied(&console);
  std::cout.tie(&tied);
  Add(1);
  EXPECT_EQ(std::exchange(done, ""), "flush write ");
  tied.rdbuf(nullptr);
  Add(1);
  EXPECT_EQ(std::exchange(done, ""), "write ");
  std::cout.tie(nullptr);
  console.onFlush = [] { return -1; };
  std::cout << std::unitbuf;
  Add(2);
  EXPECT_EQ(done, "write ") << "nothing is written to a console that has failed";
  std::cout << std::nounitbuf;
  std::cout.clear();
  std::filebuf closed;
  std::cout.rdbuf(&closed);
  Add(1);
  EXPECT_TRUE(std::cout.bad());
  std::cout.clear();
}

TEST_F(MessageLog, StampsFollowTheLocalTime) {
  StartLive();
  std::this_thread::sleep_for(std::chrono::seconds(1));  // the header's stamp is of another second
  const std::string before = LocalTime();
  Add(1);
  EXPECT_LE(before + " x\n", out.Text());
  EXPECT_LE(out.Text(), LocalTime() + " x\n");
}

TEST_F(MessageLog, AsksTheLocaleOfTheHostForEachStampAndKeepsWhatItWroteBeforeItThrew) {
  struct Counting : std::time_put<char> {
    iter_type do_put(iter_type stamp, std::ios_base&, char, const std::tm*, char,
                     char) const override {
      static char next = '1';
      *stamp = next++;
      throw "no time";
    }
  };
  StartLive();
  std::locale::global(std::locale(std::locale::classic(), new Counting));
  Add(2);
  EXPECT_EQ(out.Text(), "1 x\n2 x\n");
}

#ifdef __GLIBC__
TEST_F(MessageLog, KeepsNoMemoryOfAHugeLine) {
  const auto bytesInUse = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
  Start();
  const std::size_t before = bytesInUse();
  log->LogMessage(std::string(10'000'000, 'x'));
  log->Flush();
  EXPECT_LT(bytesInUse(), before + 1'000'000);
}
#endif

TEST_F(MessageLog, MovesThePreviousLogIntoTheArchiveUnderAGuid) {
  WriteBytes(LogName, "previous");
  Start();
  EXPECT_FALSE(fs::exists(LogName));
  const fs::path archived = fs::directory_iterator("old_logs")->path();
  EXPECT_EQ(ReadBytes(archived), "previous");
  const std::regex guid(
      "[0-9a-f]{8}-[0-9a-f]{4}-7[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}\\.txt");
  EXPECT_TRUE(std::regex_match(archived.filename().string(), guid)) << archived;
}

TEST_F(MessageLog, DropsThePreviousLogWhereAFileStandsForTheArchive) {
  WriteBytes(LogName, "previous\n");
  WriteBytes("old_logs", "a file\n");
  Start();
  EXPECT_EQ(ReadBytes("old_logs"), "a file\n");
  End();
  EXPECT_EQ(LogText(LogName), OnDisk(LogHeader));
}

TEST_F(MessageLog, IsWithoutHeaderAndFileWhereThePreviousLogCannotBeMoved) {
  WriteBytes(LogName, "previous\n");
#ifdef _WIN32
  const std::ifstream reader(LogName);  // keeps the file from being renamed
#else
  fs::create_directory_symlink("/proc", "old_logs");  // into which nothing can be moved
#endif
  StartLive();
  Add(BatchLines);
  EXPECT_EQ(err.Text(), FailedOpen + '\n') << "once a batch";
  log->SetLogFile("healed.txt");
  Add(1);
  End();
  EXPECT_EQ(LogText("healed.txt"), OnDisk(Lines(1)));
  EXPECT_EQ(ReadBytes(LogName), "previous\n");
}

TEST(Guid, AscendsAndOpensOnlyOnceOnAllThreads) {
  constexpr std::size_t Count = 20'000;
  std::vector<std::string> here, there;
  const auto makeOpenings = [](std::vector<std::string>& made) {
    while (made.size() < Count) made.push_back(Vorn::CreateGuid().substr(0, 18));
  };
  std::thread other([&] { makeOpenings(there); });
  makeOpenings(here);
  other.join();
  EXPECT_TRUE(std::is_sorted(here.begin(), here.end()));
  std::set<std::string> openings(here.begin(), here.end());
  openings.insert(there.begin(), there.end());
  EXPECT_EQ(openings.size(), 2 * Count);
}

TEST(Guid, OpensWithTheMillisecondsSince1970) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const std::string guid = Vorn::CreateGuid();
  EXPECT_NE(guid.substr(18), Vorn::CreateGuid().substr(18)) << "the random bits";
  const std::string digits = guid.substr(0, 8) + guid.substr(9, 4);
  const std::chrono::milliseconds made(std::stoll(digits, nullptr, 16));
  EXPECT_GE(made, std::chrono::floor<std::chrono::milliseconds>(now));
  EXPECT_LT(made, now + std::chrono::hours(1));
}

}  // namespace
}  // namespace Common::Test
