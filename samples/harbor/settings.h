#pragma once

#include <common/config_file.h>

#include <cstdint>

namespace Harbor {

// Which numbers a setting may take. All others are refused before they reach a division or a
// multiplication.
struct Range {
  std::int32_t lowest;
  std::int32_t highest;

  constexpr bool Holds(std::int32_t value) const { return lowest <= value && value <= highest; }
};

inline constexpr Range FrameCounts{1, 1'000'000};

// Times are microseconds.
struct Settings {
  std::uint64_t frameTime;
  std::uint64_t frames;
  std::uint64_t ships;
  std::uint64_t berths;
  std::uint64_t dayLength;
  std::uint64_t unloadFrames;  // how long a ship may lie at its berth
  std::uint64_t seed;          // 0 asks the clock
  bool liveOutput;
};

// Asks for every setting, so that the store comes to list them all. A value that makes no sense
// gets a warning in the log and counts as the default; its text stays in the store for the user to
// mend.
Settings ReadSettings(Common::Config::SConfigFile& store);

}  // namespace Harbor
