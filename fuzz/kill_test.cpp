// Kills hosts at random moments while four threads log, and checks that later starts have completed
// their logs: each line whose call had returned is there once, whole and in its thread's order.
// Some of those starts are killed too.
//
// kill_test KILLS
#include <common/message_log.h>

#include <boost/interprocess/file_mapping.hpp>
#include <boost/interprocess/mapped_region.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>
#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#endif

namespace {

namespace fs = std::filesystem;
namespace ipc = boost::interprocess;
using std::chrono::microseconds;

constexpr int Threads = 4;
const std::string GuardName = "guard";
const std::string ProgressName = "progress";

std::string TextOf(int thread, std::uint64_t line) {
  return std::to_string(thread) + ' ' + std::to_string(line) + ' ' + std::string(line % 90, 'x');
}

// How many calls of each thread have returned, in a file that survives a kill.
class Progress {
 public:
  struct Counts {
    std::array<std::atomic<std::uint64_t>, Threads> returned;
  };

  Counts* operator->() const { return static_cast<Counts*>(region.get_address()); }

  static void Make() { std::ofstream(ProgressName) << std::string(sizeof(Counts), '\0'); }

 private:
  const ipc::file_mapping file{ProgressName.c_str(), ipc::read_write};
  const ipc::mapped_region region{file, ipc::read_write, 0, sizeof(Counts)};
};

[[noreturn]] void Fail(const std::string& claim) {
  std::cerr << "Does not hold: " << claim << "\nIn " << fs::current_path() << std::endl;
  std::exit(1);
}

void Check(bool holds, const std::string& claim) {
  if (!holds) Fail(claim);
}

// --- the host

using OwnedLog = std::unique_ptr<Common::Log::SMessageLog>;

OwnedLog StartLog() {
  OwnedLog log(Common::Log::ManufactureMessageLog());
  Check(log->SetGuardFile(GuardName), "the guard file can be used");
  return log;
}

[[noreturn]] void LogForever(bool live) {
  const Progress progress;
  std::cout.rdbuf(nullptr);
  const OwnedLog log = StartLog();
  log->SetLiveOutput(live);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < Threads; ++thread) {
    threads.emplace_back([&log, &progress, thread] {
      for (std::uint64_t line = 0;; ++line) {
        log->LogMessage(TextOf(thread, line));
        progress->returned.at(static_cast<std::size_t>(thread)) = line + 1;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::abort();
}

// --- its processes

class Process {
 public:
#ifdef _WIN32
  Process(const std::string& program, const std::string& mode) {
    std::string command = '"' + program + "\" " + mode;
    STARTUPINFOA start{};
    start.cb = sizeof start;
    Check(CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                         &start, &process) != 0,
          "a process can be started");
  }
  void Kill() { TerminateProcess(process.hProcess, 9); }
  bool EndsWell() {
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code == 0;
  }

 private:
  PROCESS_INFORMATION process{};
#else
  Process(std::string program, std::string mode) {
    const std::array<char*, 3> arguments = {program.data(), mode.data(), nullptr};
    Check(posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments.data(), environ) == 0,
          "a process can be started");
  }
  void Kill() { kill(process, SIGKILL); }
  bool EndsWell() {
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }

 private:
  pid_t process = 0;
#endif
};

// --- what the starts leave

struct Findings {
  int kills = 0, restartKills = 0, unlogged = 0;
  int completed = 0;  // runs whose lines all stand in one file
  std::uint64_t returned = 0, found = 0;
};

std::vector<fs::path> FilesOfLogs() {
  std::vector<fs::path> files;
  if (fs::exists("old_logs")) {
    for (const auto& file : fs::directory_iterator("old_logs")) files.push_back(file.path());
  }
  std::sort(files.begin(), files.end());  // by the time of archiving
  files.emplace_back("zeb_log.txt");
  return files;
}

// Checks a line of the killed run; skips the lines of a header.
bool TakeLine(const std::string& line, std::array<std::uint64_t, Threads>& next) {
  constexpr std::size_t stampSize = 22;
  Check(line.size() > stampSize, "each line has its stamp: " + line);
  const std::string text = line.substr(stampSize);
  if (text.starts_with("ZEB Log: ") || text == std::string(37, '-')) return false;
  const int thread = text.front() - '0';
  Check(thread >= 0 && thread < Threads, "each line is of a thread: " + line);
  std::uint64_t& expected = next.at(static_cast<std::size_t>(thread));
  Check(text == TextOf(thread, expected), "each line is whole and in its place: " + line);
  ++expected;
  return true;
}

void LookForLines(Findings& findings) {
  std::array<std::uint64_t, Threads> found{};
  int filesWithLines = 0;
  for (const fs::path& file : FilesOfLogs()) {
    std::ifstream stream(file);
    bool hasLines = false;
    for (std::string line; std::getline(stream, line);) {
      if (TakeLine(line, found)) hasLines = true;
      Check(!stream.eof(), "the last line is ended");
    }
    if (hasLines) ++filesWithLines;
  }
  const Progress progress;
  for (std::size_t thread = 0; thread < Threads; ++thread) {
    const std::uint64_t returned = progress->returned.at(thread);
    Check(found.at(thread) == returned || found.at(thread) == returned + 1,
          "thread " + std::to_string(thread) + " has logged " + std::to_string(returned) +
              " lines, not " + std::to_string(found.at(thread)));
    findings.returned += returned;
    findings.found += found.at(thread);
  }
  if (filesWithLines == 0) ++findings.unlogged;
  if (filesWithLines == 1) ++findings.completed;
  Check(!fs::exists(GuardName), "a clean end leaves no guard file");
}

// --- the rounds

class Killer {
 public:
  explicit Killer(std::string program) : program(std::move(program)) {}

  void Round() {
    fs::remove_all("old_logs");
    fs::remove("zeb_log.txt");
    Progress::Make();
    const bool live = Roll(0, 3) != 0;
    KillAfter(Process(program, live ? "live" : "quiet"), Roll(0, 9) != 0, microseconds(30'000));
    ++findings.kills;
    for (int count = Roll(0, 2); count > 0; --count) {
      KillAfter(Process(program, "restart"), false, microseconds(8'000));
      ++findings.restartKills;
    }
    Check(Process(program, "restart").EndsWell(), "a start after a kill ends well");
    LookForLines(findings);
  }

  const Findings& Found() const { return findings; }

 private:
  int Roll(int lowest, int highest) {
    return std::uniform_int_distribution(lowest, highest)(random);
  }

  void KillAfter(Process process, bool onceItLogs, microseconds latest) {
    if (onceItLogs) {
      const Progress progress;
      while (progress->returned[0] == 0) std::this_thread::yield();
    }
    std::this_thread::sleep_for(microseconds(Roll(0, static_cast<int>(latest.count()))));
    process.Kill();
    process.EndsWell();
  }

  const std::string program;
  std::mt19937 random{std::random_device{}()};
  Findings findings;
};

int KillHosts(const std::string& program, int count) {
  const fs::path folder = fs::temp_directory_path() / "common_services_kill_test";
  fs::remove_all(folder);
  fs::create_directory(folder);
  fs::current_path(folder);
  Killer killer(program);
  for (; count > 0; --count) killer.Round();
  const Findings& found = killer.Found();
  std::cout << found.kills << " hosts and " << found.restartKills << " starts after them killed; "
            << found.returned << " calls had returned, " << found.found
            << " lines found, each once; " << found.completed << " runs in one file, "
            << found.unlogged << " without a line\n";
  fs::current_path(folder.parent_path());
  fs::remove_all(folder);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc == 2 ? argv[1] : "";
  if (mode == "live" || mode == "quiet") LogForever(mode == "live");
  if (mode == "restart") {
    StartLog();
    return 0;
  }
  return KillHosts(fs::absolute(argv[0]).string(), std::max(1, std::atoi(mode.c_str())));
}
