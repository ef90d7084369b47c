#include "settings.h"

#include <limits>

#include "services.h"

namespace Harbor {
namespace {

constexpr std::uint64_t MicrosecondsPerSecond = 1'000'000;
constexpr std::uint64_t MicrosecondsPerMillisecond = 1'000;

constexpr Range AnyNumber{std::numeric_limits<std::int32_t>::min(),
                          std::numeric_limits<std::int32_t>::max()};

void WarnOfValue(Common::Config::SConfigFile& store, const std::string& key,
                 const std::string& used) {
  Log::Get()->LogWarning("setting " + key + ": '" + store.GetString(key, used) +
                         "' makes no sense, " + used + " is used");
}

// A text that is no number reads as the default, whatever that is: two defaults tell it from a
// number.
bool IsNumber(Common::Config::SConfigFile& store, const std::string& key) {
  return store.GetInt(key, 0) == store.GetInt(key, 1);
}

std::uint64_t ReadNumber(Common::Config::SConfigFile& store, const std::string& key,
                         std::int32_t fallback, Range range) {
  std::int32_t value = store.GetInt(key, fallback);
  if (!IsNumber(store, key) || !range.Holds(value)) {
    WarnOfValue(store, key, std::to_string(fallback));
    value = fallback;
  }
  return static_cast<std::uint64_t>(value);
}

bool ReadSwitch(Common::Config::SConfigFile& store, const std::string& key) {
  const std::string value = store.GetString(key, "on");
  if (value == "off") return false;
  if (value != "on") WarnOfValue(store, key, "on");
  return true;
}

}  // namespace

Settings ReadSettings(Common::Config::SConfigFile& store) {
  return {
      .frameTime = MicrosecondsPerSecond / ReadNumber(store, "harbor/frame_rate", 60, {1, 1'000}),
      .frames = ReadNumber(store, "harbor/frames", 240, FrameCounts),
      .ships = ReadNumber(store, "harbor/ships", 9, {0, 10'000}),
      .berths = ReadNumber(store, "harbor/berths", 2, {1, 1'000}),
      .dayLength =
          MicrosecondsPerMillisecond * ReadNumber(store, "harbor/day_ms", 2'000, {100, 86'400'000}),
      .unloadFrames = ReadNumber(store, "harbor/unload_frames", 24, {8, 1'000'000}),
      .seed = ReadNumber(store, "harbor/seed", 0, AnyNumber),
      .liveOutput = ReadSwitch(store, "harbor/live_output"),
  };
}

}  // namespace Harbor
