#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Harbor {

struct Options {
  bool help = false;
  std::string directory = ".";          // UTF-8
  std::optional<std::uint64_t> frames;  // overrides the setting
};

// A wrong command line, with a text for the user.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

extern const char* const HelpText;

// The arguments after the program's name, as UTF-8 on every platform.
std::vector<std::string> Utf8Arguments(int argc, char** argv);

// Throws UsageError.
Options ReadOptions(const std::vector<std::string>& arguments);

}  // namespace Harbor
