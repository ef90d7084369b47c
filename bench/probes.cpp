#include "probes.h"

#include <cstdio>
#include <iostream>
#include <stdexcept>

#include "bench.h"

namespace Common::Bench {
namespace {

using Nanoseconds = std::chrono::nanoseconds;

const std::string Line(40, 'x');

Nanoseconds MakeLog(const std::string& folder) {
  std::filesystem::current_path(folder);
  const auto before = std::chrono::steady_clock::now();
  const std::unique_ptr<Common::Log::SMessageLog> log(Common::Log::ManufactureMessageLog());
  return std::chrono::steady_clock::now() - before;
}

Nanoseconds KeepLines(std::size_t count) {
  const std::unique_ptr<Common::Log::SMessageLog> log(Common::Log::ManufactureMessageLog());
  log->SetLogFile("/dev/null");
  const Nanoseconds before = ThreadTime();
  for (std::size_t line = 0; line < count; ++line) log->LogMessage(Line);
  return ThreadTime() - before;
}

}  // namespace

double SecondsInFreshProcess(const std::string& probe, const std::string& argument) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe");
  const std::string command =
      '\'' + program + "' " + ProbeFlag + ' ' + probe + " '" + argument + '\'';
  std::FILE* const output = popen(command.c_str(), "r");
  double nanoseconds = 0;
  const bool answered = output != nullptr && std::fscanf(output, "%lf", &nanoseconds) == 1;
  if (output == nullptr || pclose(output) != 0 || !answered)
    throw std::runtime_error("failed: " + command);
  return nanoseconds * 1e-9;
}

int RunProbe(const std::string& probe, const std::string& argument) {
  const Nanoseconds taken =
      probe == MakeLogProbe ? MakeLog(argument) : KeepLines(std::stoull(argument));
  std::cout << taken.count() << '\n';
  return 0;
}

}  // namespace Common::Bench
