// All seven services. They start in the order of the members and end in reverse, on return or
// exception: the report and the settings are written, then the log ends, and the clock last.
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

// The log, with live output from the start, so that problems with the settings show there too.
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

  // The tap that StartLog put before the log.
  Common::Kit::LogTap& Tap() const { return dynamic_cast<Common::Kit::LogTap&>(*Log::Get()); }
};

}  // namespace Harbor
