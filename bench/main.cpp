// The benchmarks, with the options of Google Benchmark and --smoke. Runs in a new folder, which it
// removes: paths among the options must be absolute.
#include <algorithm>
#include <iostream>
#include <string_view>
#include <thread>

#include "bench.h"
#include "probes.h"

namespace {

using namespace Common::Bench;

struct DiscardingBuffer : std::streambuf {
  int_type overflow(int_type character) override { return traits_type::not_eof(character); }
  std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

bool TakeFlag(int& argc, char** argv, std::string_view flag) {
  char** const end = std::remove(argv + 1, argv + argc, flag);
  const bool found = end != argv + argc;
  argc = static_cast<int>(end - argv);
  return found;
}

// Until a process has had a second thread, as every engine has, the C++ library counts references
// without atomic steps.
void MakeProcessMultithreaded() {
  std::thread([] {}).join();
}

int RunBenchmarks(bool smoke) {
  std::ostream console(std::cout.rdbuf());
  DiscardingBuffer discarding;
  std::cout.rdbuf(&discarding);  // the log's live output
  MakeProcessMultithreaded();

  const std::filesystem::path folder = std::filesystem::temp_directory_path() / Vorn::CreateGuid();
  std::filesystem::create_directories(folder / "content" / "config");
  std::filesystem::create_directories(folder / "content" / "ut_result");
  std::filesystem::current_path(folder);
  {
    const Services services;
    const Plan plan{services, smoke};
    RegisterLog();
    RegisterConfig(plan);
    RegisterFrame(plan);
    RegisterKit(plan);
    RegisterTime(plan);
    RegisterProfiler(plan);
    RegisterUnique(plan);
    RegisterStart(plan);
    RegisterCount();
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&console);
    benchmark::RunSpecifiedBenchmarks(&reporter);
  }
  std::filesystem::current_path(folder.parent_path());
  std::filesystem::remove_all(folder);
  std::cout.rdbuf(console.rdbuf());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && argv[1] == ProbeFlag) return RunProbe(argv[2], argv[3]);
  const bool smoke = TakeFlag(argc, argv, "--smoke");
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  return RunBenchmarks(smoke);
}
