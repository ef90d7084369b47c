#include "weather_office.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace Harbor {
namespace {

constexpr std::size_t MapSize = 192;
constexpr int MinutesForecast = 24 * 60;
constexpr float StrongestForce = 12.0F;  // on Beaufort's scale

using PressureMap = std::vector<std::array<float, MapSize>>;

PressureMap Observe(std::uint64_t day) {
  PressureMap map(MapSize);
  const auto turn = static_cast<float>(day % 7);
  for (std::size_t y = 0; y < MapSize; ++y) {
    for (std::size_t x = 0; x < MapSize; ++x) {
      map[y][x] = std::sin(static_cast<float>(x) * 0.13F + turn) *
                  std::cos(static_cast<float>(y) * 0.07F - turn);
    }
  }
  return map;
}

// Moves each place a minute on, towards its neighbours.
void AdvanceMinute(PressureMap& map) {
  const PressureMap before = map;
  for (std::size_t y = 1; y + 1 < MapSize; ++y) {
    for (std::size_t x = 1; x + 1 < MapSize; ++x) {
      const float around =
          before[y - 1][x] + before[y + 1][x] + before[y][x - 1] + before[y][x + 1];
      map[y][x] = before[y][x] + 0.02F * (around - 4.0F * before[y][x]);
    }
  }
}

// The wind is as strong as the fall of pressure across the harbor, in the middle of the map.
std::uint8_t WindForce(const PressureMap& map) {
  constexpr std::size_t middle = MapSize / 2;
  constexpr std::size_t reach = 12;
  const float fall = std::fabs(map[middle][middle - reach] - map[middle][middle + reach]);
  return static_cast<std::uint8_t>(std::min(fall, 1.0F) * StrongestForce);
}

}  // namespace

WeatherOffice::WeatherOffice(Common::Kit::PostedCalls& posted,
                             std::function<void(std::uint8_t force)> publish)
    : posted(posted), publish(std::move(publish)), thread([this] { Work(); }) {}

void WeatherOffice::AskFor(std::uint64_t day) {
  {
    const std::lock_guard lock(mutex);
    asked = day;
  }
  hasChanged.notify_one();
}

void WeatherOffice::Close() {
  if (!thread.joinable()) return;
  {
    const std::lock_guard lock(mutex);
    isClosing = true;
  }
  hasChanged.notify_one();
  thread.join();
}

void WeatherOffice::Work() {
  while (const std::optional<std::uint64_t> day = WaitForDay()) {
    Common::ScopedMeasurement forecast(profiler->OpenAccumulator("weather"));
    PressureMap map = Observe(*day);
    forecast.GoOnTo("forecast");
    for (int minute = 0; minute < MinutesForecast; ++minute) AdvanceMinute(map);
    posted.Post([publish = publish, force = WindForce(map)] { publish(force); });
  }
}

std::optional<std::uint64_t> WeatherOffice::WaitForDay() {
  std::unique_lock lock(mutex);
  hasChanged.wait(lock, [this] { return isClosing || asked.has_value(); });
  if (isClosing) return std::nullopt;
  return std::exchange(asked, std::nullopt);
}

}  // namespace Harbor
