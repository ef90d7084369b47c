#include "settings.h"

#include <limits>

namespace Harbor {
namespace {

constexpr std::uint64_t MicrosecondsPerSecond = 1'000'000;
constexpr std::uint64_t MicrosecondsPerMillisecond = 1'000;

}  // namespace

Settings ReadSettings(Common::Kit::SettingsReader& reader) {
  constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
  const auto read = [&reader](const std::string& key, std::int32_t fallback, std::int32_t lowest,
                              std::int32_t highest) {
    return static_cast<std::uint64_t>(reader.ReadInt(key, fallback, lowest, highest));
  };
  return {
      .frameTime = MicrosecondsPerSecond / read("harbor/frame_rate", 60, 1, 1'000),
      .frames = read("harbor/frames", 240, MinFrames, MaxFrames),
      .ships = read("harbor/ships", 9, 0, 10'000),
      .berths = read("harbor/berths", 2, 1, 1'000),
      .dayLength = MicrosecondsPerMillisecond * read("harbor/day_ms", 2'000, 100, 86'400'000),
      .unloadFrames = read("harbor/unload_frames", 24, 8, 1'000'000),
      .seed = read("harbor/seed", 0, least, most),
      .plugin = reader.ReadText("harbor/plugin", "weather"),
      .liveOutput = reader.ReadSwitch("harbor/live_output", true),
  };
}

void WarnOfUnaskedKeys(Common::Config::SConfigFile& store, Common::Log::SMessageLog& log,
                       const Common::Kit::SettingsReader& reader) {
  std::string keys;
  for (const std::string& key : reader.UnaskedKeys(store.Entries())) keys += ' ' + key;
  if (!keys.empty()) log.LogWarning("settings that nobody asks for:" + keys);
}

}  // namespace Harbor
