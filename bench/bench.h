// What the benchmarks share. A benchmark is named `job/size/who`: tools/bench-table pairs ours with
// the peers and the floor of the same job and size. A floor is the least code that does the job,
// written by hand.
#pragma once

#include <common/config_file.h>
#include <common/frame_utility.h>
#include <common/message_log.h>
#include <common/performance_profiler.h>
#include <common/runtime_unique_id.h>
#include <common/time_provider.h>
#include <vorn_lnk/guid>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Common::Bench {

using Clock = Vorn::Service<STimeProvider>;
using Log = Vorn::Service<Common::Log::SMessageLog>;

// The services of this process, with live output on.
struct Services {
  Services() { Log::Get()->SetLiveOutput(true); }

  const std::shared_ptr<Clock> clockOwner = Clock::Create(ManufactureTimeProvider());
  const std::shared_ptr<Log> logOwner = Log::Create(Common::Log::ManufactureMessageLog());
  const std::unique_ptr<Config::SConfigFile> config{ManufactureConfigFile()};
  const std::unique_ptr<SFrameUtility> frames{ManufactureFrameUtility()};
  const std::unique_ptr<SPerformanceProfiler> profiler{ManufacturePerformanceProfiler()};
  const std::unique_ptr<Unique::SRuntimeUniqueId> ids{Unique::Manufacture()};
};

// A smoke run only shows that every job works, so jobs with a set number of repeats have fewer.
struct Plan {
  const Services& services;
  bool smoke;
};

void RegisterConfig(const Plan& plan);
void RegisterCount();
void RegisterFrame(const Plan& plan);
void RegisterKit(const Plan& plan);
void RegisterLog();
void RegisterProfiler(const Plan& plan);
void RegisterStart(const Plan& plan);
void RegisterTime(const Plan& plan);
void RegisterUnique(const Plan& plan);

template <class Size>
std::string Name(const std::string& job, Size size, const std::string& who) {
  return job + '/' + std::to_string(size) + '/' + who;
}

// In memory: for files whose time on a disk would hide the job's own.
inline const std::filesystem::path MemoryFolder = "/dev/shm";

class ScopedFolder {
 public:
  explicit ScopedFolder(const std::filesystem::path& parent = std::filesystem::current_path())
      : path(parent / Vorn::CreateGuid()) {
    std::filesystem::create_directory(path);
  }
  ~ScopedFolder() { std::filesystem::remove_all(path); }

  ScopedFolder(const ScopedFolder&) = delete;
  ScopedFolder& operator=(const ScopedFolder&) = delete;

  std::string File(const std::string& name) const { return path / name; }

 private:
  const std::filesystem::path path;
};

inline std::chrono::nanoseconds ThreadTime() {
  timespec reading{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &reading);
  return std::chrono::seconds(reading.tv_sec) + std::chrono::nanoseconds(reading.tv_nsec);
}

// As a library without services would read a clock.
inline std::uint64_t ReadMicroseconds() {
  const std::chrono::nanoseconds reading = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(reading.count()) / 1000;
}

// A service must look the clock up at each reading.
inline std::uint64_t LookUpAndReadClock() {
  benchmark::DoNotOptimize(Clock::Get());
  return ReadMicroseconds();
}

inline void WriteAtOnce(const std::string& path, std::string_view text) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size())) std::abort();
  close(file);
}

// Times `batch` calls of `make`, but not the end of their results. For UseManualTime.
template <class Make>
void TimeMaking(benchmark::State& state, std::size_t batch, Make make) {
  std::vector<decltype(make())> made;
  made.reserve(batch);
  while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(batch))) {
    const std::chrono::nanoseconds before = ThreadTime();
    for (std::size_t index = 0; index < batch; ++index) made.push_back(make());
    const std::chrono::duration<double> taken = ThreadTime() - before;
    state.SetIterationTime(taken.count());
    made.clear();
  }
}

template <class Job>
void RegisterJob(const std::string& name, Job job) {
  benchmark::RegisterBenchmark(name.c_str(), [job](benchmark::State& state) {
    for (auto _ : state) job();
  });
}

}  // namespace Common::Bench
