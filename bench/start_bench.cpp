// What can be done once in a process only: the log's start beside an archive of many logs, and lines that wait in
// memory.
#include <fstream>

#include "bench.h"
#include "probes.h"

namespace Common::Bench {
namespace {

// A working directory with the log of an earlier run and an archive of `count` more.
void FillFolder(const std::filesystem::path& folder, int count) {
  const std::filesystem::path archive = folder / "old_logs";
  std::filesystem::create_directories(archive);
  std::ofstream(folder / "zeb_log.txt") << "an earlier run\n";
  for (int index = 0; index < count; ++index) {
    std::ofstream(archive / (Vorn::CreateGuid() + ".txt")) << "an old run\n";
  }
}

void RegisterProbe(const std::string& name, const std::string& probe, const std::string& argument, int repeats) {
  const auto run = [=](benchmark::State& state) {
    for (auto _ : state) state.SetIterationTime(SecondsInFreshProcess(probe, argument));
  };
  benchmark::RegisterBenchmark(name.c_str(), run)->UseManualTime()->Iterations(repeats);
}

}  // namespace

void RegisterStart(const Plan& plan) {
  for (const int archived : {10, 1'000, 10'000}) {
    const std::filesystem::path folder = std::filesystem::current_path() / ("archive_" + std::to_string(archived));
    FillFolder(folder, archived);
    RegisterProbe(Name("log_start", archived, "ours"), MakeLogProbe, folder.string(), plan.smoke ? 1 : 50);
  }
  for (const int lines : {1'000, 10'000, 100'000}) {
    RegisterProbe(Name("lines_in_memory", lines, "ours"), KeepLinesProbe, std::to_string(lines), plan.smoke ? 1 : 10);
  }
}

}  // namespace Common::Bench
