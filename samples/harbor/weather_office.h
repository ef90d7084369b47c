#pragma once

#include <common/kit/posted_calls.h>
#include <common/performance_profiler.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace Harbor {

// Forecasts the wind on a thread of its own, since that takes longer than a frame. The result goes
// into the tick, where the game's data may be touched. For the thread that ticks.
class WeatherOffice {
 public:
  // Calls `publish` in a tick with each forecast. REQUIRES: `posted` outlives this object, and what
  // `publish` refers to outlives `posted`.
  WeatherOffice(Common::Kit::PostedCalls& posted, std::function<void(std::uint8_t force)> publish);
  ~WeatherOffice() { Close(); }

  WeatherOffice(const WeatherOffice&) = delete;
  WeatherOffice& operator=(const WeatherOffice&) = delete;

  // Requests the forecast of a day. It replaces a request that was not begun yet.
  void AskFor(std::uint64_t day);

  // Ends the thread once it has finished its present day.
  void Close();

  // REQUIRES: closed, since a profiler serves one thread at a time.
  Common::SPerformanceProfiler& Profiler() { return *profiler; }

 private:
  void Work();
  std::optional<std::uint64_t> WaitForDay();

  Common::Kit::PostedCalls& posted;
  const std::function<void(std::uint8_t force)> publish;
  const std::unique_ptr<Common::SPerformanceProfiler> profiler{
      Common::ManufacturePerformanceProfiler()};

  std::mutex mutex;  // guards the next two
  std::optional<std::uint64_t> asked;
  bool isClosing = false;
  std::condition_variable hasChanged;
  std::thread thread;
};

}  // namespace Harbor
