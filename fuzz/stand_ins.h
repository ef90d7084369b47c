// What the fuzz targets share: a check that ends the run, and stand-ins for the clock and the log.
//
// A factory works once a process, so a target keeps its service for all inputs, together with the stand-ins that the
// service asks for, in one static object whose members end in the right order at exit.
#pragma once

#include <common/message_log.h>
#include <common/time_provider.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Common::Fuzz {

inline void Check(bool holds, const char* claim) {
  if (holds) return;
  std::cerr << "Does not hold: " << claim << std::endl;
  std::abort();
}

// A clock that stands still but for what the target does with it and for `step` at each reading.
struct SteppedClock : STimeProvider {
  void SetOrigin(std::uint64_t) override {}
  std::uint64_t Now() override { return std::exchange(now, now + step); }
  void Wait(std::uint64_t) override {}
  Vorn::IntrudablePtr<Vorn::IScoped> MakeTimeFiller(std::uint64_t) override { return nullptr; }
  void RunTimingCheck() override {}
  Vorn::IntrudablePtr<IPeriodic> MakePeriodic(PeriodicKind, std::uint64_t, float) override { return nullptr; }

  std::uint64_t now = 0;
  std::uint64_t step = 0;
};

struct CollectingLog : Log::SMessageLog {
  void LogError(const std::string& text) override { errors.push_back(text); }
  void LogWarning(const std::string&) override {}
  void LogMessage(const std::string&) override {}
  void SetLogFile(const std::string&) override {}
  void SetLiveOutput(bool) override {}
  void AddSideLine(const std::string&) override {}
  void ClearSideLines() override {}

  std::vector<std::string> errors;
};

// A new T, which stands in the storage for the service S.
template <class S, class T>
struct Stored {
  T* const service = new T;
  const std::shared_ptr<Vorn::Singleton<S, std::shared_ptr>> owner =
      Vorn::Singleton<S, std::shared_ptr>::Create(service);

  T* operator->() const { return service; }
};

using StoredClock = Stored<STimeProvider, SteppedClock>;
using StoredLog = Stored<Log::SMessageLog, CollectingLog>;

}  // namespace Common::Fuzz
