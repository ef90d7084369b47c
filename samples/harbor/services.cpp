#include "services.h"

#include <common/kit/old_logs.h>

#include <filesystem>
#include <utility>

#include "content_files.h"

namespace Harbor {
namespace {

constexpr std::size_t MostOldLogs = 100;

// If the previous log could not be moved away, the new one has no file and does not say so.
void RescueLog() {
  if (!std::filesystem::exists(LogFile)) return;
  Log::Get()->SetLogFile(LogFile);
  Log::Get()->LogWarning("the previous log could not be moved away; this run is appended to it");
}

// Only a crash leaves a guard file. Naming it here completes the crashed run's log.
void GuardLog() {
  const bool isLeft = std::filesystem::exists(GuardFile);
  if (!Log::Get()->SetGuardFile(GuardFile)) {
    Log::Get()->LogWarning("the log has no guard file; a crash would cost its last lines");
  } else if (isLeft) {
    Log::Get()->LogWarning("the previous run crashed; its log is in old_logs, whole");
  }
}

void DeleteOldestLogs() {
  const std::size_t deleted = Common::Kit::PruneOldLogs(MostOldLogs);
  if (deleted > 0) Log::Get()->LogMessage(std::to_string(deleted) + " old logs are deleted");
}

}  // namespace

std::shared_ptr<Log> StartLog() {
  std::unique_ptr<Common::Log::SMessageLog> own(Common::Log::ManufactureMessageLog());
  auto tap = std::make_unique<Common::Kit::LogTap>(std::move(own), KeptLogLines);
  std::shared_ptr<Log> log = Log::Create(tap.get());
  tap.release();  // owned by `log` now
  Log::Get()->SetLiveOutput(true);
  RescueLog();
  GuardLog();
  DeleteOldestLogs();
  return log;
}

}  // namespace Harbor
