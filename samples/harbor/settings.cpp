#include "settings.h"

#include <common/kit/settings_reader.h>
#include <common/kit/settings_save.h>

#include <limits>

#include "content_files.h"

namespace Harbor {
namespace {

constexpr std::uint64_t MicrosecondsPerSecond = 1'000'000;
constexpr std::uint64_t MicrosecondsPerMillisecond = 1'000;

// The file that was just saved holds what stood in either file, without the bad lines, which have
// been reported.
void WarnOfUnaskedKeys(Common::Config::SConfigFile& store, Common::Log::SMessageLog& log,
                       const Common::Kit::SettingsReader& reader) {
  std::string keys;
  for (const std::string& key : reader.UnaskedKeys(store.ReadFile(SettingsFile))) keys += ' ' + key;
  if (!keys.empty()) log.LogWarning("settings that nobody asks for:" + keys);
}

}  // namespace

Settings ReadSettings(Common::Config::SConfigFile& store, Common::Log::SMessageLog& log) {
  constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
  Common::Kit::SettingsReader reader(store, log);
  const auto read = [&reader](const std::string& key, std::int32_t fallback, std::int32_t lowest,
                              std::int32_t highest) {
    return static_cast<std::uint64_t>(reader.ReadInt(key, fallback, lowest, highest));
  };
  Settings settings{
      .frameTime = MicrosecondsPerSecond / read("harbor/frame_rate", 60, 1, 1'000),
      .frames = read("harbor/frames", 240, FewestFrames, MostFrames),
      .ships = read("harbor/ships", 9, 0, 10'000),
      .berths = read("harbor/berths", 2, 1, 1'000),
      .dayLength = MicrosecondsPerMillisecond * read("harbor/day_ms", 2'000, 100, 86'400'000),
      .unloadFrames = read("harbor/unload_frames", 24, 8, 1'000'000),
      .seed = read("harbor/seed", 0, least, most),
      .plugin = reader.ReadText("harbor/plugin", "weather"),
      .liveOutput = reader.ReadSwitch("harbor/live_output", true),
  };
  if (!Common::Kit::SaveSafely(store, SettingsFile)) {
    log.LogWarning("the settings could not be saved to " + SettingsFile);
  }
  WarnOfUnaskedKeys(store, log, reader);
  return settings;
}

}  // namespace Harbor
