// All seven services, started in the order of the members and ended in the reverse order, on every
// way out of the scope that holds them: the report and the settings are then written, the log
// closes after everything that may still report, and the clock goes last.
#pragma once

#include <common/config_file.h>
#include <common/frame_utility.h>
#include <common/message_log.h>
#include <common/message_totem.h>
#include <common/performance_profiler.h>
#include <common/runtime_unique_id.h>
#include <common/seed_provider.h>
#include <common/time_provider.h>

#include <memory>

namespace Harbor {

using Clock = Vorn::Singleton<Common::STimeProvider, std::shared_ptr>;
using Log = Vorn::Singleton<Common::Log::SMessageLog, std::shared_ptr>;
using Totem = Vorn::Singleton<Common::SMessageTotem, std::shared_ptr>;

struct Services {
  const std::shared_ptr<Clock> clock = Clock::Create(Common::ManufactureTimeProvider());
  const std::shared_ptr<Log> log = Log::Create(Common::Log::ManufactureMessageLog());
  const std::unique_ptr<Common::Config::SConfigFile> settings{Common::ManufactureConfigFile()};
  const std::unique_ptr<Common::SPerformanceProfiler> profiler{
      Common::ManufacturePerformanceProfiler()};
  const std::unique_ptr<Common::SSeedProvider> seeds{Common::ManufactureSeedProvider()};
  const std::unique_ptr<Common::Unique::SRuntimeUniqueId> ids{Common::Unique::Manufacture()};
  const std::unique_ptr<Common::SFrameUtility> frames{Common::ManufactureFrameUtility()};
};

}  // namespace Harbor
