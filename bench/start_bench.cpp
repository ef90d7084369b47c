// What a process can do only once: the log's start beside a large archive, and waiting lines.
#include <fstream>

#include "bench.h"
#include "probes.h"

namespace Common::Bench {
namespace {

// A working directory with an earlier run's log and `count` archived ones. Made on first use.
std::string FolderWithArchive(int count) {
  const std::filesystem::path folder =
      std::filesystem::current_path() / ("archive_" + std::to_string(count));
  const std::filesystem::path archive = folder / "old_logs";
  if (!std::filesystem::create_directories(archive)) return folder;
  std::ofstream(folder / "zeb_log.txt") << "an earlier run\n";
  for (int index = 0; index < count; ++index) {
    std::ofstream(archive / (Vorn::CreateGuid() + ".txt")) << "an old run\n";
  }
  return folder;
}

template <class Argument>
void RegisterProbe(const std::string& name, const std::string& probe, Argument argument,
                   int repeats) {
  const auto run = [=](benchmark::State& state) {
    const std::string given = argument();
    for (auto _ : state) state.SetIterationTime(SecondsInFreshProcess(probe, given));
  };
  benchmark::RegisterBenchmark(name.c_str(), run)->UseManualTime()->Iterations(repeats);
}

}  // namespace

void RegisterStart(const Plan& plan) {
  for (const int archived : {10, 1'000, 10'000}) {
    RegisterProbe(
        Name("log_start", archived, "ours"), MakeLogProbe,
        [archived] { return FolderWithArchive(archived); }, plan.smoke ? 1 : 50);
  }
  for (const int lines : {1'000, 10'000, 100'000}) {
    RegisterProbe(
        Name("lines_in_memory", lines, "ours"), KeepLinesProbe,
        [lines] { return std::to_string(lines); }, plan.smoke ? 1 : 10);
  }
}

}  // namespace Common::Bench
