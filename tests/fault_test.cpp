// What a hostile system does: disks, folders and processes that give way.
#include <common/config_file.h>
#include <common/performance_profiler.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iostream>

#include "support.h"

namespace Common::Test {

namespace fs = std::filesystem;

constexpr uid_t Nobody = 65534;  // to whom closed folders are closed

struct Faults : testing::Test {
  // What a failed write to this file leaves in the errors of the store and as the failure of a profiler.
  void ExpectFailuresFor(const std::string& path) {
    log->errors.clear();
    store->WriteFile({{"key", "value"}}, path);
    EXPECT_EQ(log->errors, std::vector{"File '" + path + "' write error."});
    EXPECT_EQ(FailureOf([&] { profiler->WriteReport(path); }), "Failed to open file " + path + " for writing!");
  }

  StoredLog log;
  const std::unique_ptr<Config::SConfigFile> store{ManufactureConfigFile()};
  const std::unique_ptr<SPerformanceProfiler> profiler{ManufacturePerformanceProfiler()};
};

TEST_F(Faults, FilesThatCannotBeOpenedAreReportedAndFullDisksAreNot) {
  fs::create_directories("closed");
  WriteBytes("read only", "kept");
  fs::permissions("closed", fs::perms::none);
  fs::permissions("read only", fs::perms::owner_read);
  const uid_t user = geteuid();
  ASSERT_EQ(seteuid(user == 0 ? Nobody : user), 0);
  for (const char* path : {"closed/file", "closed", "read only", "no folder/file"}) ExpectFailuresFor(path);
  log->errors.clear();
  store->WriteFile({{"key", "value"}}, "/dev/full");
  profiler->WriteReport("/dev/full");
  EXPECT_TRUE(log->errors.empty());
  ASSERT_EQ(seteuid(user), 0);
  fs::permissions("closed", fs::perms::owner_all);  // or nobody but root could remove it
  EXPECT_EQ(ReadBytes("read only"), "kept");
}

TEST_F(Faults, AWorkingDirectoryMayVanish) {
  const fs::path home = fs::current_path();
  fs::create_directory("gone");
  fs::current_path("gone");
  fs::remove(home / "gone");
  EXPECT_EQ(FailureOf(Log::ManufactureMessageLog), "filesystem_error");
  EXPECT_EQ(FailureOf(Log::ManufactureMessageLog), "Multiple instances of SMessageLog!");
  ExpectFailuresFor("file");
  fs::current_path(home);
}

TEST(Kill, LeavesWholeBatchesInTheLog) {
  const pid_t host = fork();
  if (host == 0) {
    std::cout.setstate(std::ios::badbit);
    auto* const log = Log::ManufactureMessageLog();
    log->SetLiveOutput(true);
    for (int line = 0; line < 1200; ++line) log->LogMessage("line");
    raise(SIGKILL);
  }
  waitpid(host, nullptr, 0);
  const std::string text = ReadBytes("zeb_log.txt");
  EXPECT_EQ(std::ranges::count(text, '\n'), 1000);
  EXPECT_TRUE(text.ends_with(": line\n"));
}

}  // namespace Common::Test
