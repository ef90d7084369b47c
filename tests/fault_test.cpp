// What a hostile system does: names, disks, folders, processes and locales that give way.
#include <common/config_file.h>
#include <common/performance_profiler.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <thread>

#include "support.h"

namespace Common::Test {
namespace {

namespace fs = std::filesystem;

constexpr int BatchLines = 500;

struct Faults : testing::Test {
  void WriteSettings(const std::string& path) {
    store->WriteFile({{"two", ""}, {"lines", ""}},
                     Vorn::SharedPath::NewWrapped(Vorn::PathFromUtf8(path)));
  }
  void WriteBatch(const std::string& path) {
    log->SetLogFile(path);
    log->SetLiveOutput(true);
    for (int line = 0; line < BatchLines; ++line) log->LogMessage("line");
  }
  void ExpectThatNobodyOpens(const std::string& path) {
    WriteSettings(path);
    EXPECT_EQ(ErrorsOf(reports), std::vector{"File '" + path + "' write error."});
    reports->lines.clear();
    const std::string failure = "Failed to open file " + path + " for writing!";
    EXPECT_EQ(FailureOf([&] { profiler->WriteReport(path); }), failure.c_str()) << "up to a NUL";
    const Capture out(std::cout), err(std::cerr);
    WriteBatch(path);
    const std::string fullPath = (fs::current_path() / path).string();
    EXPECT_EQ(err.Text(), "Failed to open log file for writing: " + fullPath + "\n");
  }

  StoredLog reports;
  const std::unique_ptr<Config::SConfigFile> store{ManufactureConfigFile()};
  const std::unique_ptr<SPerformanceProfiler> profiler{ManufacturePerformanceProfiler()};
  const std::unique_ptr<Log::SMessageLog> log{Log::ManufactureMessageLog()};
};

TEST_F(Faults, FilesThatCannotBeOpenedAreReported) {
  fs::create_directory("folder");
  ExpectThatNobodyOpens("folder");
  ExpectThatNobodyOpens("no folder/file");
}

TEST_F(Faults, ANameWithANulIsNotTheNameBeforeIt) {
  WriteBytes("name", "kept");
  ExpectThatNobodyOpens(std::string("name\0more", 9));
  EXPECT_EQ(ReadBytes("name"), "kept");
}

// A host's conversion between memory and files, which refuses all bytes.
struct Refusal : std::codecvt<char, char, std::mbstate_t> {
  bool do_always_noconv() const noexcept override { return false; }
  result do_out(std::mbstate_t&, const char*, const char*, const char*&, char*, char*,
                char*&) const override {
    return error;
  }
  result do_in(std::mbstate_t&, const char*, const char*, const char*&, char*, char*,
               char*&) const override {
    return error;
  }
};

TEST_F(Faults, AHostsCodecvtChangesNoByteOfAFile) {
  WriteBytes("read.txt", "key = value\n");
  const Capture out(std::cout);
  std::locale::global(std::locale(std::locale::classic(), new Refusal));
  const Config::ConfigEntries read = store->ReadFile("read.txt");
  store->WriteFile({{"key", "value"}}, "written.txt");
  profiler->WriteReport("report.csv");
  WriteBatch("batch.txt");
  std::locale::global(std::locale::classic());
  EXPECT_EQ(read, (Config::ConfigEntries{{"key", "value"}}));
  EXPECT_EQ(ReadBytes("written.txt"), OnDisk("key = value\n"));
  EXPECT_EQ(ReadBytes("report.csv"), OnDisk("\n"));
  EXPECT_TRUE(ReadBytes("batch.txt").ends_with(OnDisk(": line\n")));
}

TEST_F(Faults, AHostsFacetThatWritesNoTimesCostsALineItsStampAlone) {
  struct NoTimes : std::time_put<char> {
    iter_type do_put(iter_type, std::ios_base&, char, const std::tm*, char, char) const override {
      throw std::runtime_error("no time");
    }
  };
  std::locale::global(std::locale(std::locale::classic(), new NoTimes));
  log->LogMessage("line");
  EXPECT_TRUE(log->Flush());
  EXPECT_TRUE(ReadBytes(LogName).ends_with(OnDisk("\n line\n")));
}

#ifndef _WIN32

#ifdef __linux__
TEST_F(Faults, FullDisksStopNobody) {
  const Capture out(std::cout), err(std::cerr);
  WriteSettings("/dev/full");
  profiler->WriteReport("/dev/full");
  WriteBatch("/dev/full");
  EXPECT_EQ(ErrorsOf(reports), std::vector<std::string>());
  EXPECT_EQ(err.Text(), "");
}
#endif

auto LineCount(const fs::path& path) {
  const std::string bytes = ReadBytes(path);
  return std::count(bytes.begin(), bytes.end(), '\n');
}

int failedWrites = 0;

TEST_F(Faults, ABatchThatFailsHalfwayIsNotWrittenTwice) {
  constexpr std::size_t Room = 40'000;
  const std::string text(1000, 'x');  // so that there is much to write after the failure
  std::signal(SIGXFSZ, [](int) {      // sent by each write that finds no room
    ++failedWrites;
    LimitFiles(RLIM_INFINITY);
  });
  for (int line = 0; line < BatchLines; ++line) log->LogMessage(text);
  LimitFiles(Room);
  EXPECT_TRUE(log->Flush());
  EXPECT_EQ(failedWrites, 1);
  EXPECT_EQ(ReadBytes(LogName).size(), Room) << "although there was room again";
  log->LogMessage("next");
  EXPECT_TRUE(log->Flush());
  EXPECT_TRUE(ReadBytes(LogName).ends_with(": next\n"));
}

void EnterVanishedFolder() {
  fs::create_directory("gone");
  fs::current_path("gone");
  fs::remove("../gone");
}

template <class Call>
void ExpectNoCurrentPath(Call call) {
  std::string failure;
  try {
    call();
  } catch (const fs::filesystem_error& thrown) {
    failure = thrown.what();
  }
  EXPECT_NE(failure.find("current_path()"), std::string::npos) << failure;
}

TEST(Process, OutlivesAThreadThatIsCancelledWhileItsFillerWaits) {
  const std::unique_ptr<STimeProvider> clock(ManufactureTimeProvider());
  std::thread thread([&] { const auto filler = clock->MakeTimeFiller(200'000); });
  pthread_cancel(thread.native_handle());
  thread.join();
  EXPECT_GE(clock->Now(), 200'000U);
}

TEST(Process, MayLoseItsWorkingFolderBeforeTheLogStarts) {
  EnterVanishedFolder();
  ExpectNoCurrentPath(Log::ManufactureMessageLog);
}

TEST(Process, MayLoseItsWorkingFolderWhileItLogs) {
  const fs::path folder = fs::current_path();
  const std::unique_ptr<Log::SMessageLog> log(Log::ManufactureMessageLog());
  EnterVanishedFolder();
  ExpectNoCurrentPath([&] { log->SetLogFile("elsewhere"); });
  EXPECT_TRUE(log->Flush());
  EXPECT_EQ(LineCount(folder / LogName), 3) << "the header, in the folder of the start";
}

#endif

}  // namespace
}  // namespace Common::Test
