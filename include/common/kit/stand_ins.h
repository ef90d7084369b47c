// Stand-ins for the clock, the log and the settings, for the tests of a host: each can stand in the
// storage in place of the service, where the code under test finds it and needs no change.
//
//   Common::Kit::Stored<Common::Kit::StandInClock> clock;
//   clock->now = 20'000;
//   frames->Tick();  // reactors of up to 20 ms fire
//
// All serve one thread.
#pragma once

#include <common/message_log.h>
#include <common/time_provider.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Common::Kit {

// A clock that stands still until the test moves it. Each reading is counted and moves it on by
// `step`, after the answer.
struct StandInClock : STimeProvider {
  using Service = STimeProvider;

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
  Vorn::IntrudablePtr<IPeriodic> MakePeriodic(PeriodicKind, std::uint64_t, float) override {
    return nullptr;
  }

  std::uint64_t now = 0;
  std::uint64_t step = 0;
  int readings = 0;
};

// A log that keeps every line, with its kind and without a stamp.
struct StandInLog : Log::SMessageLog {
  using Service = Log::SMessageLog;

  enum class Kind { Error, Warning, Message };

  struct Line {
    bool operator==(const Line&) const = default;

    Kind kind;
    std::string text;
  };

  void LogError(const std::string& text) override { lines.push_back({Kind::Error, text}); }
  void LogWarning(const std::string& text) override { lines.push_back({Kind::Warning, text}); }
  void LogMessage(const std::string& text) override { lines.push_back({Kind::Message, text}); }
  void SetLogFile(const std::string&) override {}
  void SetLiveOutput(bool) override {}
  void AddSideLine(const std::string&) override {}
  void ClearSideLines() override {}

  // The texts of one kind, oldest first.
  std::vector<std::string> TextsOf(Kind kind) const {
    std::vector<std::string> texts;
    for (const Line& line : lines) {
      if (line.kind == kind) texts.push_back(line.text);
    }
    return texts;
  }

  std::vector<Line> lines;
};

// Owns a new stand-in and keeps it in the storage for as long as it lives, or until `Remove`.
template <class T>
class Stored {
 public:
  using Access = Vorn::Singleton<typename T::Service, std::shared_ptr>;

  T* operator->() const { return standIn; }
  T& operator*() const { return *standIn; }

  // Takes the stand-in out of the storage and ends it.
  void Remove() { owner.reset(); }

 private:
  T* standIn = new T;
  std::shared_ptr<Access> owner = Access::Create(standIn);
};

}  // namespace Common::Kit
