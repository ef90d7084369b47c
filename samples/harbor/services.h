// All seven services, started in the order of the members and ended in the reverse order, on every
// way out of the scope that holds them: the report and the settings are then written, the log
// closes after everything that may still report, and the clock goes last.
#pragma once

#include <common/config_file.h>
#include <common/frame_utility.h>
#include <common/kit/log_tap.h>
#include <common/kit/timer_resolution.h>
#include <common/performance_profiler.h>
#include <common/runtime_unique_id.h>
#include <common/seed_provider.h>

#include <memory>

#include "storage.h"

namespace Harbor {

// A log that shows its lines on the console from the first on, so that what is wrong with the
// settings can be seen there too.
std::shared_ptr<Log> StartLog();

inline constexpr std::size_t KeptLogLines = 10'000;

struct Services {
  const Common::Kit::ScopedTimerResolution timerResolution{};  // the clock, made next, measures it
  const std::shared_ptr<Clock> clock = Clock::Create(Common::ManufactureTimeProvider());
  const std::shared_ptr<Log> log = StartLog();
  const std::unique_ptr<Common::Config::SConfigFile> settings{Common::ManufactureConfigFile()};
  const std::unique_ptr<Common::SPerformanceProfiler> profiler{
      Common::ManufacturePerformanceProfiler()};
  const std::unique_ptr<Common::SSeedProvider> seeds{Common::ManufactureSeedProvider()};
  const std::unique_ptr<Common::Unique::SRuntimeUniqueId> ids{Common::Unique::Manufacture()};
  const std::unique_ptr<Common::SFrameUtility> frames{Common::ManufactureFrameUtility()};

  // What StartLog has entered: the log, and what stands before it to show its lines.
  Common::Kit::LogTap& Tap() const { return dynamic_cast<Common::Kit::LogTap&>(*Log::Get()); }
};

}  // namespace Harbor
