#include "services.h"

#include <filesystem>

#include "content_files.h"

namespace Harbor {
namespace {

// Where the previous log could not be moved away, the new one has no file and says nothing of it.
void RescueLog() {
  if (!std::filesystem::exists(LogFile)) return;
  Log::Get()->SetLogFile(LogFile);
  Log::Get()->LogWarning("the previous log could not be moved away; this run is appended to it");
}

}  // namespace

std::shared_ptr<Log> StartLog() {
  std::shared_ptr<Log> log = Log::Create(Common::Log::ManufactureMessageLog());
  Log::Get()->SetLiveOutput(true);
  RescueLog();
  return log;
}

}  // namespace Harbor
