// What a hostile system does: names, disks, folders and threads that give way.
#include <common/config_file.h>
#include <common/performance_profiler.h>

#include <array>
#include <csignal>
#include <iostream>
#include <thread>
#ifndef _WIN32
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>
#endif

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
  WriteBytes("name", "kept");
  ExpectThatNobodyOpens(std::string("name\0more", 9));
  EXPECT_EQ(ReadBytes("name"), "kept");
}

#ifndef _WIN32

#ifdef __linux__
TEST_F(Faults, FullDisksStopNobody) {
  const Capture out(std::cout), err(std::cerr);
  WriteSettings("/dev/full");
  profiler->WriteReport("/dev/full");
  EXPECT_TRUE(log->SetGuardFile("guard"));
  WriteBatch("/dev/full");
  EXPECT_EQ(ErrorsOf(reports), std::vector<std::string>());
  EXPECT_EQ(err.Text(), "");
  EXPECT_FALSE(fs::exists("guard")) << "its space serves the log";
}
#endif

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

TEST_F(Faults, NewFilesAreForAllWhomTheMaskOfTheProcessLetsInAndAreClosed) {
  umask(S_IXGRP | S_IRWXO);
  const int nextDescriptor = dup(0);
  close(nextDescriptor);
  log->Flush();
  EXPECT_EQ(dup(0), nextDescriptor);
  EXPECT_EQ(fs::status(LogName).permissions(), fs::perms(0660));
}

std::array<char, 1'000'000> received;
std::size_t receivedSize = 0;
int readingEnd = -1;

void Receive() {
  const ssize_t count = read(readingEnd, received.data() + receivedSize, 5'000);
  if (count > 0) receivedSize += static_cast<std::size_t>(count);
}

// Every other signal leaves the pipe full, so that the write it interrupts has written nothing.
TEST_F(Faults, APipeTakesNoReportButALogWhateverSignalsInterrupt) {
  mkfifo("pipe", 0600);
  readingEnd = open("pipe", O_RDONLY | O_NONBLOCK);
  EXPECT_NE(FailureOf([this] { profiler->WriteReport("pipe"); }), "none");
  struct sigaction onAlarm {};
  onAlarm.sa_handler = [](int) {
    static int alarms = 0;
    if (++alarms % 2 == 0) Receive();
  };
  sigaction(SIGALRM, &onAlarm, nullptr);
  const std::string text(200'000, 'x');
  log->SetLogFile("pipe");
  log->LogMessage(text);
  itimerval timer{{0, 1'000}, {0, 1'000}};
  setitimer(ITIMER_REAL, &timer, nullptr);
  EXPECT_TRUE(log->Flush());
  timer = {};
  setitimer(ITIMER_REAL, &timer, nullptr);
  for (int rest = 0; rest < 100; ++rest) Receive();
  EXPECT_TRUE(WithoutTimes({received.data(), receivedSize}) == LogHeader + "T " + text + "\n");
}

TEST_F(Faults, AThreadThatIsCancelledWhileItLogsLeavesAWholeLog) {
  log->SetLiveOutput(true);
  std::thread([this] {
    pthread_cancel(pthread_self());
    log->LogError("into a write to the console");
    log->SetGuardFile("guard");
    log->Flush();
  }).join();
  EXPECT_EQ(LogText(LogName), LogHeader + "ERROR: T into a write to the console\n");
}

TEST(Process, OutlivesAThreadThatIsCancelledWhileItsFillerWaits) {
  const std::unique_ptr<STimeProvider> clock(ManufactureTimeProvider());
  std::thread thread([&] { const auto filler = clock->MakeTimeFiller(200'000); });
  pthread_cancel(thread.native_handle());
  thread.join();
  EXPECT_GE(clock->Now(), 200'000U);
}

TEST(Process, MayLoseItsWorkingFolderWhileItLogs) {
  const fs::path folder = fs::current_path();
  const std::unique_ptr<Log::SMessageLog> log(Log::ManufactureMessageLog());
  fs::create_directory("gone");
  fs::current_path("gone");
  fs::remove("../gone");
  EXPECT_EQ(FailureOf([&] { log->SetLogFile("elsewhere"); }), "filesystem_error");
  EXPECT_TRUE(log->Flush());
  EXPECT_EQ(LogText(folder / LogName), OnDisk(LogHeader)) << "in the folder of the start";
}

#endif

}  // namespace
}  // namespace Common::Test
