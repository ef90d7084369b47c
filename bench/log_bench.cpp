// One line of 40 bytes, copied to a stream that discards it and written to a file in batches.
#include <common/kit/log_tap.h>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <mutex>
#include <optional>
#include <stdexcept>

#include "bench.h"

namespace Common::Bench {
namespace {

const std::string Text(40, 'x');
const std::string StampText = "2026-03-09, 17:05:42:";
constexpr std::size_t BatchLineCount = 500;
constexpr std::size_t BatchBufferSize = 32 * 1024;

class OurLog {
 public:
  OurLog() { log->SetLogFile(folder.File("log.txt")); }
  ~OurLog() { log->SetLogFile("zeb_log.txt"); }

  void Write(const std::string& text) { log->LogMessage(text); }

 protected:
  const ScopedFolder folder;
  Common::Log::SMessageLog* const log = Log::Get();
};

class GuardedLog : public OurLog {
 public:
  GuardedLog() {
    if (!log->SetGuardFile(folder.File("guard"))) throw std::runtime_error("no guard file");
  }
  ~GuardedLog() { log->SetGuardFile(""); }
};

// Lets a tap own the log of the process.
struct BorrowedLog : Common::Log::SMessageLog {
  void LogError(const std::string& text) override { log->LogError(text); }
  void LogWarning(const std::string& text) override { log->LogWarning(text); }
  void LogMessage(const std::string& text) override { log->LogMessage(text); }
  void SetLogFile(const std::string& fileName) override { log->SetLogFile(fileName); }
  void SetLiveOutput(bool on) override { log->SetLiveOutput(on); }
  void AddSideLine(const std::string& text) override { log->AddSideLine(text); }
  void ClearSideLines() override { log->ClearSideLines(); }

  Common::Log::SMessageLog* const log = Log::Get();
};

class TappedLog : OurLog {
 public:
  void Write(const std::string& text) { tap.LogMessage(text); }

 private:
  Kit::LogTap tap{std::make_unique<BorrowedLog>()};
};

// A tap numbers lines in the order of the file, so each goes into the log under the tap's lock.
class TapFloor : OurLog {
 public:
  void Write(const std::string& text) {
    const std::lock_guard lock(mutex);
    log->LogMessage(text);
    kept[count++ % kept.size()].assign(text);
  }

 private:
  std::mutex mutex;
  std::size_t count = 0;
  std::vector<std::string> kept = std::vector<std::string>(1'000);
};

// Flushes by default: when the C library's buffer is full.
class OneSink {
 public:
  OneSink() { logger.set_pattern("%Y-%m-%d, %H:%M:%S: %v"); }

  void Write(const std::string& text) { logger.info(text); }

 protected:
  const ScopedFolder folder;
  spdlog::logger logger{
      "bench", std::make_shared<spdlog::sinks::basic_file_sink_mt>(folder.File("log.txt"))};
};

// Loses no line in a crash.
class FlushedSink : public OneSink {
 public:
  FlushedSink() { logger.flush_on(spdlog::level::info); }
};

class TwoSinks : public OneSink {
 public:
  TwoSinks() {
    logger.sinks().push_back(std::make_shared<spdlog::sinks::ostream_sink_mt>(std::cout));
    logger.set_pattern("%Y-%m-%d, %H:%M:%S: %v");
  }
};

// Stamps must follow the order of the lines, so the clock is read under the lock, and so is the
// global locale, which a stamp follows.
class LogFloor {
 public:
  LogFloor() { lines.reserve(BatchLineCount); }

  void Write(const std::string& text) {
    const std::lock_guard lock(mutex);
    benchmark::DoNotOptimize(std::chrono::system_clock::now());
    benchmark::DoNotOptimize(std::locale() == std::locale::classic());
    std::string line;
    line.reserve(StampText.size() + 1 + text.size() + 1);
    line.append(StampText).append(1, ' ').append(text).append(1, '\n');
    std::cout.rdbuf()->sputn(line.data(), static_cast<std::streamsize>(line.size()));
    lines.push_back(std::move(line));
    if (lines.size() == BatchLineCount) WriteBatch();
  }

 private:
  void WriteBatch() {
    char buffer[BatchBufferSize];
    char* end = buffer;
    for (const std::string& line : lines) end = std::copy(line.begin(), line.end(), end);
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
    benchmark::DoNotOptimize(write(file, buffer, static_cast<std::size_t>(end - buffer)));
    close(file);
    lines.clear();
  }

  const ScopedFolder folder;
  const std::string path = folder.File("log.txt");
  std::mutex mutex;
  std::vector<std::string> lines;
};

// Shared by the threads of a run: all of them begin and end the loop of a benchmark together.
template <class Logger>
std::optional<Logger> shared;

template <class Logger>
void WriteLines(benchmark::State& state) {
  if (state.thread_index() == 0) shared<Logger>.emplace();
  for (auto _ : state) shared<Logger>->Write(Text);
  if (state.thread_index() == 0) shared<Logger>.reset();
}

// Times each line, with two clock readings. Percentiles are the mean over the threads.
template <class Logger>
void TimeEachLine(benchmark::State& state) {
  using Steady = std::chrono::steady_clock;
  std::vector<Steady::duration> taken;
  taken.reserve(static_cast<std::size_t>(state.max_iterations));
  if (state.thread_index() == 0) shared<Logger>.emplace();
  for (auto _ : state) {
    const Steady::time_point before = Steady::now();
    shared<Logger>->Write(Text);
    taken.push_back(Steady::now() - before);
  }
  if (state.thread_index() == 0) shared<Logger>.reset();
  std::ranges::sort(taken);
  for (const auto& [counter, thousandths] :
       {std::pair{"p50_ns", 500U}, {"p99_ns", 990U}, {"p999_ns", 999U}}) {
    const auto within = taken[(taken.size() - 1) * thousandths / 1000];
    state.counters[counter] = benchmark::Counter(
        std::chrono::duration<double, std::nano>(within).count(), benchmark::Counter::kAvgThreads);
  }
}

template <class Logger>
void RegisterLines(const std::string& job, const std::string& who) {
  for (const int threads : {1, 4}) {
    benchmark::RegisterBenchmark(Name(job, threads, who).c_str(), WriteLines<Logger>)
        ->Threads(threads)
        ->UseRealTime();
  }
}

template <class Logger>
void RegisterLinesAndTail(const std::string& job, const std::string& who) {
  RegisterLines<Logger>(job, who);
  for (const int threads : {1, 4}) {
    benchmark::RegisterBenchmark(Name(job + "_tail", threads, who).c_str(), TimeEachLine<Logger>)
        ->Threads(threads)
        ->UseRealTime();
  }
}

}  // namespace

void RegisterLog() {
  RegisterLinesAndTail<OurLog>("log_line", "ours");
  RegisterLinesAndTail<TwoSinks>("log_line", "spdlog_two_sinks");
  RegisterLinesAndTail<OneSink>("log_line", "spdlog");
  RegisterLinesAndTail<LogFloor>("log_line", "floor");
  RegisterLinesAndTail<GuardedLog>("guarded_line", "ours");
  RegisterLinesAndTail<OurLog>("guarded_line", "unguarded");
  RegisterLines<FlushedSink>("guarded_line", "spdlog_flushed");
  RegisterLines<TappedLog>("tapped_line", "ours");
  RegisterLines<OurLog>("tapped_line", "untapped");
  RegisterLines<TapFloor>("tapped_line", "floor");
}

}  // namespace Common::Bench
