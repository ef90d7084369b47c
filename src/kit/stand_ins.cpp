#include <common/kit/stand_ins.h>

#include <algorithm>
#include <utility>

#include "../config/config_format.h"
#include "../config/number_text.h"
#include "../time/periodic_signals.h"
#include "../time/timing.h"

namespace Common::Kit {
namespace {

using Config::ConfigEntries;

class Filler : public Vorn::IScoped {
 public:
  Filler(StandInClock& clock, std::uint64_t duration)
      : clock(clock), startTime(clock.now), duration(duration) {}

  // After SetOrigin has set the clock back, more than the duration seems to be left.
  ~Filler() override { clock.Wait(std::min(TimeLeft(startTime, duration, clock.now), duration)); }

 private:
  StandInClock& clock;
  const std::uint64_t startTime;
  const std::uint64_t duration;
};

void ReportError(const std::string& message) {
  Vorn::Service<Log::SMessageLog>::Get()->LogError(message);
}

}  // namespace

// ---- The clock.

void StandInClock::SetOrigin(std::uint64_t rawMicroseconds) {
  now += origin - rawMicroseconds;
  origin = rawMicroseconds;
}

std::uint64_t StandInClock::Now() {
  ++readings;
  return std::exchange(now, now + step);
}

void StandInClock::Wait(std::uint64_t microseconds) { now += TimeLeft(now, microseconds, now); }

Vorn::IntrudablePtr<Vorn::IScoped> StandInClock::MakeTimeFiller(std::uint64_t microseconds) {
  return Vorn::IntrudablePtr<Vorn::IScoped>(new Filler(*this, microseconds));
}

void StandInClock::RunTimingCheck() {
  PrintTimingCheck([this](std::uint64_t microseconds) {
    const std::uint64_t before = Now();
    { const auto filler = MakeTimeFiller(microseconds); }
    return Now() - before;
  });
}

Vorn::IntrudablePtr<IPeriodic> StandInClock::MakePeriodic(PeriodicKind kind, std::uint64_t period,
                                                          float duty) {
  return MakePeriodicSignal(kind, period, duty, this);
}

// ---- The log.

void StandInLog::LogError(const std::string& text) { lines.push_back({Kind::Error, text}); }

void StandInLog::LogWarning(const std::string& text) { lines.push_back({Kind::Warning, text}); }

void StandInLog::LogMessage(const std::string& text) { lines.push_back({Kind::Message, text}); }

void StandInLog::SetLogFile(const std::string& fileName) { logFile = fileName; }

void StandInLog::SetLiveOutput(bool on) { liveOutput = on; }

void StandInLog::AddSideLine(const std::string& text) { sideLines.push_back(text + "\n"); }

void StandInLog::ClearSideLines() { sideLines.clear(); }

std::vector<std::string> StandInLog::SideLines() { return sideLines; }

bool StandInLog::Flush() {
  ++flushes;
  return true;
}

bool StandInLog::Wants(Kind kind) { return kind <= lowest; }

std::vector<std::string> StandInLog::TextsOf(Kind kind) const {
  std::vector<std::string> texts;
  for (const Line& line : lines) {
    if (line.kind == kind) texts.push_back(line.text);
  }
  return texts;
}

// ---- The settings.

ConfigEntries StandInSettings::ParseContent(const std::string& content, const std::string& name) {
  return ParseEntries(content, name, ReportError);
}

ConfigEntries StandInSettings::ReadFile(Vorn::SharedPath path) { return ReadFile(path.String()); }

ConfigEntries StandInSettings::ReadFile(const std::string& path) {
  const auto file = files.find(path);
  if (file == files.end()) return {};
  return ParseContent(file->second, path);
}

bool StandInSettings::Load(const std::string& path) {
  filePath = path;
  ConfigEntries loaded = ReadFile(path);
  loaded.merge(entries);  // adds what the file does not hold
  entries = std::move(loaded);
  return true;
}

void StandInSettings::Save() { WriteFile(entries, filePath); }

void StandInSettings::WriteFile(const ConfigEntries& settings, const Vorn::SharedPath& path) {
  WriteFile(settings, path.String());
}

void StandInSettings::WriteFile(const ConfigEntries& settings, const std::string& path) {
  files[path] = FormatEntries(settings);
}

std::string StandInSettings::FormatEntries(const ConfigEntries& settings) {
  return FormatEntryLines(settings);
}

std::string StandInSettings::GetString(const std::string& key, const std::string& defaultValue) {
  return entries.try_emplace(key, defaultValue).first->second;
}

std::optional<std::string> StandInSettings::FindString(const std::string& key) {
  const auto entry = entries.find(key);
  if (entry == entries.end()) return std::nullopt;
  return entry->second;
}

void StandInSettings::SetString(const std::string& key, const std::string& value) {
  entries.insert_or_assign(key, value);
}

void StandInSettings::SetInt(const std::string& key, std::int32_t value) {
  SetString(key, FormatInt(value));
}

std::int32_t StandInSettings::GetInt(const std::string& key, std::int32_t defaultValue) {
  return ParseInt(GetString(key, FormatInt(defaultValue))).value_or(defaultValue);
}

ConfigEntries StandInSettings::Entries() { return entries; }

bool StandInSettings::Remove(const std::string& key) { return entries.erase(key) > 0; }

}  // namespace Common::Kit
