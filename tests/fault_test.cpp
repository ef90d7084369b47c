// What a hostile system does: names, disks, folders and processes that give way.
#include <common/config_file.h>
#include <common/performance_profiler.h>

#include <algorithm>
#include <csignal>
#include <iostream>

#include "support.h"

#ifdef _WIN32
#include <share.h>
#else
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace Common::Test {

namespace fs = std::filesystem;

struct Faults : testing::Test {
  // Writes to the file with each service that is told where to write.
  void Write(const std::string& path, bool canOpen) {
    const Capture out(std::cout), err(std::cerr);
    store->WriteFile({{"two", ""}, {"lines", ""}},
                     Vorn::SharedPath::NewWrapped(Vorn::PathFromUtf8(path)));
    EXPECT_EQ(ErrorsOf(reports), std::vector(canOpen ? 0 : 1, "File '" + path + "' write error."));
    reports->lines.clear();
    EXPECT_EQ(FailureOf([&] { profiler->WriteReport(path); }),
              canOpen ? "none" : "Failed to open file " + path + " for writing!");
    log->SetLogFile(path);
    log->SetLiveOutput(true);
    for (int line = 0; line < 500; ++line) log->LogMessage("line");
    const std::string fullPath = (fs::current_path() / path).string();
    EXPECT_EQ(err.Text(), canOpen ? "" : "Failed to open log file for writing: " + fullPath + "\n");
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
  Write("folder/file", false);
#endif
  for (const char* path : {"folder", "closed", "no folder/file"}) Write(path, false);
#ifdef _WIN32
  std::fclose(reader);
#else
  ASSERT_EQ(seteuid(user), 0);
  for (const char* path : {"folder", "closed"}) fs::permissions(path, fs::perms::owner_all);
#endif
  EXPECT_EQ(ReadBytes("closed"), "kept");
}

TEST_F(Faults, StrangeNamesReadersAndFullDisksStopNobody) {
  for (const std::string path : {"h\u00E4fen \u6E2F.txt", "not UTF-8 \xFF\xC3.txt"}) {
    store->WriteFile({{"key", "value"}}, path);
    EXPECT_EQ(store->ReadFile(path), (Config::ConfigEntries{{"key", "value"}}));
    const std::ifstream reader(Vorn::PathFromUtf8(path));
    Write(path, true);
    EXPECT_EQ(std::ranges::count(ReadBytes(Vorn::PathFromUtf8(path)), '\n'), 1 + 500)
        << "a report and a batch";
  }
#ifdef __linux__
  Write("/dev/full", true);
#endif
}

#ifndef _WIN32

static void EnterVanishedFolder() {
  fs::create_directory("gone");
  fs::current_path("gone");
  fs::remove("../gone");
}

TEST(Process, MayEndAtOnceAndLoseItsWorkingFolder) {
  WriteBytes("zeb_log.txt", "previous\n");
  WriteBytes("linked/earlier.txt", "earlier\n");
  fs::create_directory_symlink("linked", "old_logs");
  const pid_t host = fork();
  if (host == 0) {
    std::cout.setstate(std::ios::badbit);
    auto* const log = Log::ManufactureMessageLog();
    log->SetLiveOutput(true);
    EnterVanishedFolder();
    if (FailureOf([log] { log->SetLogFile("elsewhere"); }) != "filesystem_error") _exit(1);
    for (int line = 0; line < 1200; ++line) log->LogMessage("line");
    raise(SIGKILL);
  }
  waitpid(host, nullptr, 0);
  const std::string text = ReadBytes("zeb_log.txt");
  EXPECT_TRUE(std::ranges::count(text, '\n') == 1000 && text.ends_with(": line\n"));
  EXPECT_EQ(std::distance(fs::directory_iterator("linked"), {}), 2);
  EXPECT_EQ(ReadBytes("linked/earlier.txt"), "earlier\n");
  EnterVanishedFolder();
  EXPECT_EQ(FailureOf(Log::ManufactureMessageLog), "filesystem_error");
  EXPECT_EQ(FailureOf(Log::ManufactureMessageLog), "Multiple instances of SMessageLog!");
  StoredLog reports;
  delete ManufactureConfigFile();
  EXPECT_EQ(ErrorsOf(reports),
            std::vector<std::string>{"File 'content/config/config.txt' write error."});
}

#endif

}  // namespace Common::Test
