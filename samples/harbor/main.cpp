// A headless harbor that runs in real time on the common services: a host to copy from. Begin with
// services.h, which starts and ends the services, and shift.cpp, which runs the frames. In place of
// port.cpp another engine has its game, in place of weather.cpp its plugins.
#include <vorn_lnk/singleton>

#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

#include "content_files.h"
#include "crash.h"
#include "interrupt.h"
#include "options.h"
#include "shift.h"
#include "summary.h"

namespace {

constexpr int Failed = 1;
constexpr int Misused = 2;
constexpr int Incomplete = 4;  // 3 is what a crash ends with on Windows

int Fail(int status, const std::string& text) {
  std::cerr << "harbor: " << text << '\n';
  return status;
}

int Run(const Harbor::Options& options) {
  Harbor::PrepareDirectory(options.directory);
  Harbor::CatchInterrupts();
  Harbor::TellOfCrashes();
  const auto begin = std::filesystem::file_time_type::clock::now();
  const Harbor::Outcome outcome = Harbor::RunShift(options.frames);
  Harbor::PrintSummary(std::cout, outcome);
  Harbor::PrintFilesWrittenSince(begin, std::cout);
  const std::string losses = Harbor::LossesSince(begin);
  return losses.empty() ? 0 : Fail(Incomplete, losses);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const Harbor::Options options = Harbor::ReadOptions(Harbor::Utf8Arguments(argc, argv));
    if (!options.help) return Run(options);
    std::cout << Harbor::HelpText;
    return 0;
  } catch (const Harbor::UsageError& failure) {
    return Fail(Misused, failure.what() + std::string("; --help shows the options"));
  } catch (const std::exception& failure) {
    return Fail(Failed, failure.what());
  } catch (const Vorn::MissingInstance& failure) {
    // Not a std::exception: it means that the services were used out of order.
    return Fail(Failed, failure.Message());
  }
}
