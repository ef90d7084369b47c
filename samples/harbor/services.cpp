#include "services.h"

#include <common/kit/old_logs.h>

#include <filesystem>
#include <utility>

#include "content_files.h"

namespace Harbor {
namespace {

constexpr std::size_t MostOldLogs = 100;

// Where the previous log could not be moved away, the new one has no file and says nothing of it.
void RescueLog() {
  if (!std::filesystem::exists(LogFile)) return;
  Log::Get()->SetLogFile(LogFile);
  Log::Get()->LogWarning("the previous log could not be moved away; this run is appended to it");
}

// A run that ended in order has left no guard file. Naming it brings home what a crash has left.
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
  tap.release();  // the owner's now
  Log::Get()->SetLiveOutput(true);
  RescueLog();
  GuardLog();
  DeleteOldestLogs();
  return log;
}

}  // namespace Harbor
