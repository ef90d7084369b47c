// For the tests of a host, to be copied: a clock that stands still until the test moves it, and a log that collects the
// errors. Each can stand in the storage in place of the service, where the code under test finds it and needs no
// change. The clock makes no signals and keeps its origin, and both serve one thread.
//
//   Common::Test::StoredClock clock;
//   clock->now = 20'000;
//   frames->Tick();  // reactors of up to 20 ms fire
#pragma once

#include <common/message_log.h>
#include <common/time_provider.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Common::Test {

template <class T>
using Access = Vorn::Singleton<T, std::shared_ptr>;

// A clock that the test sets. Each reading is counted and moves it on by `step`, after the answer.
struct FakeClock : STimeProvider {
  struct Filler : Vorn::IScoped {
    Filler(std::uint64_t* moved, std::uint64_t by) : now(moved), end(*moved + by) {}
    ~Filler() override { *now = std::max(*now, end); }

    std::uint64_t* const now;
    const std::uint64_t end;
  };

  void SetOrigin(std::uint64_t) override {}
  std::uint64_t Now() override { return ++readings, std::exchange(now, now + step); }
  void Wait(std::uint64_t microseconds) override { now += microseconds; }
  Vorn::IntrudablePtr<Vorn::IScoped> MakeTimeFiller(std::uint64_t microseconds) override {
    return Vorn::IntrudablePtr<Vorn::IScoped>(new Filler(&now, microseconds));
  }
  void RunTimingCheck() override {}
  Vorn::IntrudablePtr<IPeriodic> MakePeriodic(PeriodicKind, std::uint64_t, float) override { return nullptr; }

  std::uint64_t now = 0;
  std::uint64_t step = 0;
  int readings = 0;
};

// A log that collects errors.
struct FakeLog : Log::SMessageLog {
  void LogError(const std::string& text) override { errors.push_back(text); }
  void LogWarning(const std::string&) override {}
  void LogMessage(const std::string&) override {}
  void SetLogFile(const std::string&) override {}
  void SetLiveOutput(bool) override {}
  void AddSideLine(const std::string&) override {}
  void ClearSideLines() override {}

  std::vector<std::string> errors;
};

// Keeps a new T in the storage, where it stands for the service S.
template <class S, class T>
class Stored {
 public:
  T* operator->() const { return service; }
  void Remove() { owner.reset(); }

 private:
  T* service = new T;
  std::shared_ptr<Access<S>> owner = Access<S>::Create(service);
};

using StoredClock = Stored<STimeProvider, FakeClock>;
using StoredLog = Stored<Log::SMessageLog, FakeLog>;

}  // namespace Common::Test
