// One line of 40 bytes, with its copy on a stream that discards it, and written to a file in
// batches.
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>

#include <glog/logging.h>

#include <iostream>
#include <mutex>
#include <optional>

#include "bench.h"

namespace Common::Bench {
namespace {

const std::string Text(40, 'x');
const std::string StampText = "2026-03-09, 17:05:42:";

class OurLog {
 public:
  OurLog() { log->SetLogFile(folder.File("log.txt")); }
  ~OurLog() { log->SetLogFile("zeb_log.txt"); }

  void Write(const std::string& text) { log->LogMessage(text); }

 private:
  const ScopedFolder folder;
  Common::Log::SMessageLog* const log = Log::Get();
};

// Flushes as it does by default: when the C library's buffer is full.
class OneSink {
 public:
  OneSink() { logger.set_pattern("%Y-%m-%d, %H:%M:%S: %v"); }

  void Write(const std::string& text) { logger.info(text); }

 protected:
  const ScopedFolder folder;
  spdlog::logger logger{
      "bench", std::make_shared<spdlog::sinks::basic_file_sink_mt>(folder.File("log.txt"))};
};

class TwoSinks : public OneSink {
 public:
  TwoSinks() {
    logger.sinks().push_back(std::make_shared<spdlog::sinks::ostream_sink_mt>(std::cout));
    logger.set_pattern("%Y-%m-%d, %H:%M:%S: %v");
  }
};

// To a file alone, with a stamp of its own kind.
class GoogleLog {
 public:
  GoogleLog() { google::SetLogDestination(google::INFO, folder.File("log").c_str()); }

  void Write(const std::string& text) { LOG(INFO) << text; }

 private:
  const ScopedFolder folder;
};

// Stamp and order of the lines must agree, so the clock is read under the lock.
class LogFloor {
 public:
  void Write(const std::string& text) {
    const std::lock_guard lock(mutex);
    benchmark::DoNotOptimize(std::chrono::system_clock::now());
    std::string line;
    line.reserve(StampText.size() + 1 + text.size() + 1);
    line.append(StampText).append(1, ' ').append(text).append(1, '\n');
    benchmark::DoNotOptimize(line.data());
  }

 private:
  std::mutex mutex;
};

template <class Logger>
void WriteLines(benchmark::State& state) {
  static std::optional<Logger> logger;
  if (state.thread_index() == 0) logger.emplace();
  for (auto _ : state) logger->Write(Text);
  if (state.thread_index() == 0) logger.reset();
}

template <class Logger>
void RegisterLogger(const std::string& who) {
  for (const int threads : {1, 4}) {
    const std::string name = Name("log_line", threads, who);
    benchmark::RegisterBenchmark(name.c_str(), WriteLines<Logger>)->Threads(threads)->UseRealTime();
  }
}

}  // namespace

void RegisterLog() {
  google::InitGoogleLogging("bench");
  for (const auto severity : {google::WARNING, google::ERROR, google::FATAL})
    google::SetLogDestination(severity, "");
  RegisterLogger<OurLog>("ours");
  RegisterLogger<TwoSinks>("spdlog_two_sinks");
  RegisterLogger<OneSink>("spdlog");
  RegisterLogger<GoogleLog>("glog");
  RegisterLogger<LogFloor>("floor");
}

}  // namespace Common::Bench
