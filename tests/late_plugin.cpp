// All seven services, used for the last time when no constant of their library is left.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "all_headers.h"

namespace {

using namespace Common;

using Clock = Vorn::Service<STimeProvider>;
using MessageLog = Vorn::Service<Log::SMessageLog>;

void Check(bool holds, const char* claim) {
  if (holds) return;
  std::cerr << "Does not hold: " << claim << '\n';
  std::_Exit(1);
}

struct Services {
  void UseAll() {
    MessageLog::Get()->LogError("an error");
    Check(settings->ParseContent("k = v\nbad\n", "text").at("k") == "v", "text is read");
    Check(settings->GetInt("number", 7) == 7, "a default is returned");
    int framesSeen = 0;
    const auto reactor = frames->CreateReactor(0);
    reactor->SetCallback([&](std::uint64_t) { ++framesSeen; });
    frames->Tick();
    Check(framesSeen == 1, "the reactor runs");
    Check(ids->MakeUniqueName("").ends_with("#/object"), "a name is made");
    seeds->NextSeed();
    Check(Clock::Get()->MakePeriodic(PeriodicKind::Square, 9, 1)->GetValue() == 1, "a signal");
    Check(profiler->OpenAccumulator("load").records != nullptr, "an accumulator is opened");
  }

  const Vorn::SharedPath path;
  const std::shared_ptr<Clock> clock = Clock::Create(ManufactureTimeProvider());
  const std::shared_ptr<MessageLog> log = MessageLog::Create(Log::ManufactureMessageLog());
  const std::unique_ptr<Config::SConfigFile> settings{ManufactureConfigFile()};
  const std::unique_ptr<SSeedProvider> seeds{ManufactureSeedProvider()};
  const std::unique_ptr<SFrameUtility> frames{ManufactureFrameUtility()};
  const std::unique_ptr<SPerformanceProfiler> profiler{ManufacturePerformanceProfiler()};
  const std::unique_ptr<Unique::SRuntimeUniqueId> ids{Unique::Manufacture()};
};

Services* services = nullptr;

}  // namespace

extern "C" void MakeServices() {
  for (const char* const left : {"content", "old_logs", "zeb_log.txt"})
    std::filesystem::remove_all(left);
  std::filesystem::create_directories("content/config");
  services = new Services;
}

extern "C" void EndServices() {
  services->UseAll();
  delete services;
  std::ostringstream text;
  text << std::ifstream("zeb_log.txt").rdbuf();
  Check(text.str().find(": an error\nERROR: ") != std::string::npos, "the log writes its lines");
}
