// What a hostile system does: names, disks, folders, processes and locales that give way.
#include <common/config_file.h>
#include <common/performance_profiler.h>

#include <algorithm>
#include <csignal>
#include <iostream>

#include "support.h"

#ifdef _WIN32
#include <share.h>
#else
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace Common::Test {
namespace {

namespace fs = std::filesystem;

constexpr int BatchLines = 500;
const std::string LogName = "zeb_log.txt";

auto LineCount(const fs::path& path) {
  const std::string bytes = ReadBytes(path);
  return std::count(bytes.begin(), bytes.end(), '\n');
}

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
    EXPECT_EQ(FailureOf([&] { profiler->WriteReport(path); }), failure.c_str());
    const Capture out(std::cout), err(std::cerr);
    WriteBatch(path);
    const std::string fullPath = (fs::current_path() / path).string();
    EXPECT_EQ(err.Text(), "Failed to open log file for writing: " + fullPath + "\n");
  }
  void ExpectThatAllWrite(const std::string& path) {
    WriteSettings(path);
    EXPECT_EQ(ErrorsOf(reports), std::vector<std::string>{});
    EXPECT_NO_THROW(profiler->WriteReport(path));
    const Capture out(std::cout), err(std::cerr);
    WriteBatch(path);
    EXPECT_EQ(err.Text(), "");
  }

  StoredLog reports;
  const std::unique_ptr<Config::SConfigFile> store{ManufactureConfigFile()};
  const std::unique_ptr<SPerformanceProfiler> profiler{ManufacturePerformanceProfiler()};
  const std::unique_ptr<Log::SMessageLog> log{Log::ManufactureMessageLog()};
};

TEST_F(Faults, FilesThatCannotBeOpenedAreReported) {
  fs::create_directory("folder");
  WriteBytes("closed", "kept");
#ifdef _WIN32
  std::FILE* const reader =
      _fsopen("closed", "r", _SH_DENYWR);  // which Wine denies to the superuser too
#else
  for (const char* path : {"folder", "closed"}) fs::permissions(path, fs::perms::owner_read);
  const uid_t user = geteuid(), nobody = 65534;
  ASSERT_EQ(seteuid(user == 0 ? nobody : user), 0) << "nothing is closed to the superuser";
  ExpectThatNobodyOpens("folder/file");
#endif
  for (const char* path : {"folder", "closed", "no folder/file"}) ExpectThatNobodyOpens(path);
#ifdef _WIN32
  std::fclose(reader);
#else
  ASSERT_EQ(seteuid(user), 0);
  for (const char* path : {"folder", "closed"}) fs::permissions(path, fs::perms::owner_all);
#endif
  EXPECT_EQ(ReadBytes("closed"), "kept");
}

TEST_F(Faults, ANameWithANulIsNotTheNameBeforeIt) {
  WriteBytes("name", "kept");
  ExpectThatNobodyOpens(std::string("name\0more", 9));
  EXPECT_EQ(ReadBytes("name"), "kept");
}

TEST_F(Faults, StrangeNamesAndReadersStopNobody) {
  for (const std::string path : {"h\u00E4fen \u6E2F.txt", "not UTF-8 \xFF\xC3.txt"}) {
    store->WriteFile({{"key", "value"}}, path);
    EXPECT_EQ(store->ReadFile(path), (Config::ConfigEntries{{"key", "value"}}));
    const std::ifstream reader(Vorn::PathFromUtf8(path));
    ExpectThatAllWrite(path);
    EXPECT_EQ(LineCount(Vorn::PathFromUtf8(path)), 1 + BatchLines) << "a report and a batch";
  }
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

#ifndef _WIN32

#ifdef __linux__
TEST_F(Faults, FullDisksStopNobody) { ExpectThatAllWrite("/dev/full"); }
#endif

int failedWrites = 0;

void LimitFiles(rlim_t size) {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = std::min(size, limit.rlim_max);
  setrlimit(RLIMIT_FSIZE, &limit);
}

TEST_F(Faults, ABatchThatFailsHalfwayIsNotWrittenTwice) {
  constexpr std::size_t Room = 40'000;
  const std::string text(1000, 'x');  // so that there is much to write after the failure
  std::signal(SIGXFSZ, [](int) {  // sent by each write that finds no room
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

TEST(Process, KeepsItsBatchesWhenItIsKilled) {
  const pid_t host = fork();
  if (host == 0) {
    std::cout.setstate(std::ios::badbit);
    auto* const log = Log::ManufactureMessageLog();
    log->SetLiveOutput(true);
    for (int line = 0; line < 3 * BatchLines - 10; ++line) log->LogMessage("line");
    raise(SIGKILL);
  }
  waitpid(host, nullptr, 0);
  EXPECT_EQ(LineCount(LogName), 2 * BatchLines);
  EXPECT_TRUE(ReadBytes(LogName).ends_with(": line\n"));
}

void EnterVanishedFolder() {
  fs::create_directory("gone");
  fs::current_path("gone");
  fs::remove("../gone");
}

template <class Call>
void ExpectNoCurrentPath(Call call) {
  try {
    call();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const fs::filesystem_error& failure) {
    EXPECT_NE(std::string(failure.what()).find("current_path()"), std::string::npos);
  }
}

TEST(Process, MayLoseItsWorkingFolderBeforeTheLogStarts) {
  EnterVanishedFolder();
  ExpectNoCurrentPath(Log::ManufactureMessageLog);
  EXPECT_EQ(FailureOf(Log::ManufactureMessageLog), "Multiple instances of SMessageLog!");
  StoredLog reports;
  delete ManufactureConfigFile();
  EXPECT_EQ(ErrorsOf(reports),
            std::vector<std::string>{"File 'content/config/config.txt' write error."});
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
