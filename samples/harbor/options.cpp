#include "options.h"

#include <charconv>

#include "settings.h"

#ifdef _WIN32
#include <windows.h>
// Needs the header above.
#include <shellapi.h>

#include <filesystem>
#include <memory>
#endif

namespace Harbor {
namespace {

std::uint64_t ReadFrameCount(const std::string& text) {
  std::int32_t count = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), count);
  const bool isNumber = failure == std::errc() && end == text.data() + text.size();
  if (!isNumber || count < MinFrames || count > MaxFrames) {
    throw UsageError("--frames takes a number from " + std::to_string(MinFrames) + " to " +
                     std::to_string(MaxFrames) + ", not '" + text + "'");
  }
  return static_cast<std::uint64_t>(count);
}

}  // namespace

const char* const HelpText =
    "usage: harbor [--directory DIR] [--frames N]\n"
    "\n"
    "Runs a harbor in real time: ships, berths, cargo and weather, paced frame by frame.\n"
    "\n"
    "  --directory DIR  work in DIR, which holds the folder 'content'; by default in the current\n"
    "                   folder\n"
    "  --frames N       run N frames instead of the setting harbor/frames\n"
    "  --help           show this and end\n"
    "\n"
    "Reads content/config/config.txt and content/config/user.txt. Writes the former, zeb_log.txt,\n"
    "content/ut_result/profiler_data.csv and content/ut_result/trace.json. Ctrl-C ends a run "
    "early\n"
    "and in order.\n";

#ifdef _WIN32
// What main gets there went through a code page, which may lack letters.
std::vector<std::string> Utf8Arguments(int, char**) {
  int count = 0;
  const std::unique_ptr<LPWSTR, decltype(&LocalFree)> wide(
      CommandLineToArgvW(GetCommandLineW(), &count), &LocalFree);
  std::vector<std::string> arguments;
  for (int index = 1; wide && index < count; ++index) {
    const std::u8string text = std::filesystem::path(wide.get()[index]).u8string();
    arguments.emplace_back(text.begin(), text.end());
  }
  return arguments;
}
#else
std::vector<std::string> Utf8Arguments(int argc, char** argv) {
  return {argv + (argc > 0 ? 1 : 0), argv + argc};
}
#endif

Options ReadOptions(const std::vector<std::string>& arguments) {
  Options options;
  for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
    if (*argument == "--help") {
      options.help = true;
      continue;
    }
    const std::string& name = *argument;
    if (name != "--directory" && name != "--frames")
      throw UsageError("unknown option '" + name + "'");
    if (++argument == arguments.end()) throw UsageError(name + " needs a value");
    if (name == "--directory") options.directory = *argument;
    if (name == "--frames") options.frames = ReadFrameCount(*argument);
  }
  return options;
}

}  // namespace Harbor
