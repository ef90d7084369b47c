#pragma once

#include <common/config_file.h>
#include <common/kit/settings_reader.h>
#include <common/message_log.h>

#include <cstdint>
#include <string>

namespace Harbor {

inline constexpr std::int32_t MinFrames = 1;
inline constexpr std::int32_t MaxFrames = 1'000'000;

// Times are in microseconds.
struct Settings {
  std::uint64_t frameTime;
  std::uint64_t frames;
  std::uint64_t ships;
  std::uint64_t berths;
  std::uint64_t dayLength;
  std::uint64_t unloadFrames;  // how long a ship may lie at its berth
  std::uint64_t seed;          // 0 asks the clock
  std::string plugin;
  bool liveOutput;
};

// Reads every setting, so that the store lists them all. A wrong value gets a warning and counts as
// the default; its text stays in the store for the user to fix.
Settings ReadSettings(Common::Kit::SettingsReader& reader);

// Warns of settings that nobody reads, which are mostly typing errors.
void WarnOfUnaskedKeys(Common::Config::SConfigFile& store, Common::Log::SMessageLog& log,
                       const Common::Kit::SettingsReader& reader);

}  // namespace Harbor
