// Lines through a tap, from outside and from inside listeners that come and go, against a plain
// list. The log behind refuses warnings at times.
#include <common/kit/log_tap.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <deque>
#include <map>
#include <stdexcept>

#include "shared.h"

namespace {

using namespace Common;
using Fuzz::Check;
using Kit::LogTap;
using Log::LogKind;

struct LogBehind : Kit::StandInLog {
  void LogWarning(const std::string& text) override {
    if (fails) throw Fuzz::Thrown();
    StandInLog::LogWarning(text);
  }

  bool fails = false;
};

class Host {
 public:
  explicit Host(FuzzedDataProvider& input) : data(input) {}

  void Run() {
    while (data.remaining_bytes() > 0) Operate();
    if (data.ConsumeBool()) tap.reset();
    while (!listeners.empty()) listeners.extract(listeners.begin());
    Check(callablesAlive == 0, "no callable is left");
  }

  // Called by the callables.
  void OnDestroyed(std::uint64_t number) {
    Check(!listeners.contains(number) && running != number, "a callable ends with its listener");
    if (tap != nullptr && data.ConsumeBool()) Operate();
  }

  std::uint64_t callablesAlive = 0;

 private:
  void Operate() {
    const auto operation = data.ConsumeIntegralInRange(0, 7);
    if (operation == 0) tap->SetLowest(lowest = DrawKind());
    if (operation == 1) Listen();
    if (operation == 2 && !listeners.empty()) EndListener();
    if (operation > 2) LogLine();
    CheckTap();
  }

  LogKind DrawKind() { return static_cast<LogKind>(data.ConsumeIntegralInRange(0, 2)); }

  void Listen() {
    const std::uint64_t number = ++lastNumber;
    auto listener = [this, owned = std::make_shared<Fuzz::Callable<Host>>(this, number)](
                        const LogTap::Line& line) { OnLine(owned->number, line); };
    listeners[number] = tap->Listen(std::move(listener));
  }

  // The model forgets it first, since its callable may call back.
  void EndListener() {
    const auto index = data.ConsumeIntegralInRange<std::ptrdiff_t>(0, std::ssize(listeners) - 1);
    const auto ended = listeners.extract(std::next(listeners.begin(), index));
  }

  void LogLine() {
    const LogKind kind = DrawKind();
    const std::string text = std::to_string(++lastNumber);
    const bool passes = kind <= lowest;
    behind->fails = data.ConsumeIntegralInRange(0, 3) == 3;
    const bool fails = passes && behind->fails && kind == LogKind::Warning;
    counts[kind] += fails ? 0 : 1;
    if (passes && !fails) passed.push_back({kind, passed.size() + 1, text});
    const bool isHeard = passes && !fails && !isHearing;
    if (isHeard) BeginHearing();
    try {
      if (kind == LogKind::Error) tap->LogError(text);
      if (kind == LogKind::Warning) tap->LogWarning(text);
      if (kind == LogKind::Message) tap->LogMessage(text);
      Check(!fails, "a failure of the log gets through");
    } catch (const Fuzz::Thrown&) {
      Check(fails, "what a listener throws is dropped");
    }
    if (isHeard) EndHearing();
  }

  void BeginHearing() {
    isHearing = true;
    for (const auto& [number, listener] : listeners) toHear.push_back(number);
    heard = passed.back();
  }

  void EndHearing() {
    Check(NextToHear() == 0, "every listener has heard the line");
    isHearing = false;
  }

  // The number of the next listener that hears the line, or 0.
  std::uint64_t NextToHear() {
    while (!toHear.empty()) {
      const std::uint64_t number = toHear.front();
      toHear.pop_front();
      if (listeners.contains(number)) return number;
    }
    return 0;
  }

  void OnLine(std::uint64_t number, const LogTap::Line& line) {
    Check(NextToHear() == number, "the listeners hear in the order of their making");
    Check(IsSame(line, heard), "a listener hears the line that was logged");
    running = number;
    for (auto left = data.ConsumeIntegralInRange(0, 3); left > 0; --left) Operate();
    running = 0;
    if (data.ConsumeIntegralInRange(0, 3) == 3) throw Fuzz::Thrown();
  }

  static bool IsSame(const LogTap::Line& one, const LogTap::Line& other) {
    return one.kind == other.kind && one.sequence == other.sequence && one.text == other.text;
  }

  void CheckTap() {
    const LogKind kind = DrawKind();
    Check(tap->Count(kind) == counts[kind], "lines are counted, those that do not pass included");
    const auto after = data.ConsumeIntegralInRange<std::size_t>(0, passed.size() + 1);
    const std::size_t lost = passed.size() - std::min(passed.size(), keep);
    const auto first = std::min(std::max(after, lost), passed.size());
    const std::vector<LogTap::Line> lines = tap->LastLines(after);
    Check(std::equal(lines.begin(), lines.end(),
                     passed.begin() + static_cast<std::ptrdiff_t>(first), passed.end(), IsSame),
          "the last lines are kept, in their order");
    Check(behind->lines.size() == passed.size() &&
              (passed.empty() || behind->lines.back().text == passed.back().text),
          "what passes is passed on");
    const std::uint64_t runsOn = running != 0 && !listeners.contains(running) ? 1 : 0;
    Check(callablesAlive == listeners.size() + runsOn, "a callable lives as long as its listener");
  }

  FuzzedDataProvider& data;
  const std::size_t keep = data.ConsumeIntegralInRange<std::size_t>(0, 4);
  LogBehind* const behind = new LogBehind;
  std::unique_ptr<LogTap> tap =
      std::make_unique<LogTap>(std::unique_ptr<Log::SMessageLog>(behind), keep);

  LogKind lowest = LogKind::Message;
  std::map<LogKind, std::uint64_t> counts;
  std::vector<LogTap::Line> passed;
  std::map<std::uint64_t, Vorn::IntrudablePtr<Vorn::IScoped>> listeners;  // by number
  std::uint64_t lastNumber = 0;

  bool isHearing = false;
  LogTap::Line heard;
  std::deque<std::uint64_t> toHear;
  std::uint64_t running = 0;  // the listener that hears it at the moment
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  Host(data).Run();
  return 0;
}
