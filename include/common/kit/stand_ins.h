/// @file
/// Stand-ins for the clock, the log and the settings, for the tests of a host. Each can stand in
/// the storage in place of the service, where the code under test finds it and needs no change.
///
/// ```cpp
/// Common::Kit::Stored<Common::Kit::StandInClock> clock;
/// clock->now = 20'000;
/// frames->Tick();  // reactors of up to 20 ms fire
/// ```
#pragma once

#include <common/config_file.h>
#include <common/message_log.h>
#include <common/time_provider.h>
#include <vorn_lnk/shared_path>
#include <vorn_lnk/singleton>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <locale>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Common::Kit {

/// A clock that stands still until the test moves it. Waits, fillers and signals follow its time,
/// whether it stands in the storage or not: a wait takes no real time and moves `now`. For one
/// thread. REQUIRES: its fillers end, and its signals are read for the last time, before it does.
struct StandInClock : STimeProvider {
  /// The service that it stands in for.
  using Service = STimeProvider;

  /// Makes `rawMicroseconds` the zero. The raw scale starts where this clock started.
  void SetOrigin(std::uint64_t rawMicroseconds) override {
    now += origin - rawMicroseconds;
    origin = rawMicroseconds;
  }

  /// The time; counts a reading and moves the clock on by `step` after the answer.
  std::uint64_t Now() override {
    ++readings;
    const std::uint64_t reading = now;
    now += step;
    return reading;
  }

  /// Moves the clock on, unless `microseconds` are 2^63 or more, which the service takes for
  /// passed. Counts no reading.
  void Wait(std::uint64_t microseconds) override { now += TimeLeft(now, microseconds); }

  /// A scope at whose end the clock has moved on by at least `microseconds`. Counts no reading.
  Vorn::IntrudablePtr<Vorn::IScoped> MakeTimeFiller(std::uint64_t microseconds) override {
    return Vorn::IntrudablePtr<Vorn::IScoped>(new Filler(*this, microseconds));
  }

  /// Prints what the service prints, for fillers of this clock, and takes no real time.
  void RunTimingCheck() override {
    for (const std::uint64_t milliseconds : {1000U, 500U, 250U, 125U, 75U, 30U}) {
      const std::uint64_t before = Now();
      { const auto filler = MakeTimeFiller(milliseconds * 1000); }
      PrintElapsed(Now() - before);
    }
  }

  /// A signal of this clock, with the service's formulas. Each value but that of no kind counts a
  /// reading.
  Vorn::IntrudablePtr<IPeriodic> MakePeriodic(PeriodicKind kind, std::uint64_t period,
                                              float duty) override {
    return Vorn::IntrudablePtr<IPeriodic>(new Signal(*this, kind, period, duty));
  }

  std::uint64_t now = 0;     ///< what Now answers next; set it at will
  std::uint64_t step = 0;    ///< by how much each reading moves the clock
  int readings = 0;          ///< how often Now was called
  std::uint64_t origin = 0;  ///< the zero on the raw scale, which SetOrigin moves

 private:
  // What is left at `now` of a `length` that began at `start`, by the service's rules.
  std::uint64_t TimeLeft(std::uint64_t start, std::uint64_t length) const {
    constexpr std::uint64_t TooLong = std::uint64_t{1} << 63;
    const std::uint64_t left = start + length - now;
    const bool isOver = length >= TooLong || left >= TooLong;
    return isOver ? 0 : left;
  }

  // The same text whatever format and locale the host has given to the console and to itself.
  static void PrintElapsed(std::uint64_t elapsed) {
    std::ostringstream line;
    line.imbue(std::locale::classic());
    line << elapsed << "us : " << static_cast<float>(elapsed) * 1e-6F << "s\n";
    const std::string text = line.str();
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
  }

  class Filler : public Vorn::IScoped {
   public:
    Filler(StandInClock& clock, std::uint64_t duration)
        : clock(clock), startTime(clock.now), duration(duration) {}
    ~Filler() override {
      const std::uint64_t left = clock.TimeLeft(startTime, duration);
      clock.Wait(left < duration ? left : duration);  // SetOrigin may have set the clock back
    }

   private:
    StandInClock& clock;
    const std::uint64_t startTime;
    const std::uint64_t duration;
  };

  class Signal : public IPeriodic {
   public:
    Signal(StandInClock& clock, PeriodicKind kind, std::uint64_t period, float duty)
        : clock(clock),
          kind(kind),
          period(period),
          duty(std::isnan(duty) ? 0.0F : std::clamp(duty, 0.0F, 1.0F)) {}

    float GetValue() override {
      switch (kind) {
        case PeriodicKind::Sine:
          return std::sin(ReadPhase() * 6.2831855F);
        case PeriodicKind::Square:
          return ReadPhase() >= duty ? 0.0F : 1.0F;
        case PeriodicKind::Triangle:
          return TriangleAt(ReadPhase());
        case PeriodicKind::RisingSawtooth:
          return ReadPhase();
        case PeriodicKind::FallingSawtooth:
          return 1.0F - ReadPhase();
      }
      return 1.0F;
    }

   private:
    float ReadPhase() const {
      const std::uint64_t reading = clock.Now();
      if (period == 0) return 0.0F;
      return static_cast<float>(reading % period) / static_cast<float>(period);
    }

    float TriangleAt(float phase) const {
      const bool rising = duty >= phase && duty > 0.0F;
      return rising ? phase / duty : (1.0F - phase) / (1.0F - duty);
    }

    StandInClock& clock;
    const PeriodicKind kind;
    const std::uint64_t period;
    const float duty;
  };
};

/// A log that keeps every line, with its kind and without a stamp. Writes no file and copies
/// nothing to the console. For one thread.
struct StandInLog : Log::SMessageLog {
  /// The service that it stands in for.
  using Service = Log::SMessageLog;

  /// Which operation a line was given to.
  enum class Kind {
    Error,    ///< LogError
    Warning,  ///< LogWarning
    Message,  ///< LogMessage
  };

  /// One line, as it was logged.
  struct Line {
    /// Whether kind and text are the same.
    bool operator==(const Line&) const = default;

    Kind kind;         ///< the operation
    std::string text;  ///< what it was given
  };

  /// Keeps an error.
  void LogError(const std::string& text) override { lines.push_back({Kind::Error, text}); }

  /// Keeps a warning.
  void LogWarning(const std::string& text) override { lines.push_back({Kind::Warning, text}); }

  /// Keeps a message.
  void LogMessage(const std::string& text) override { lines.push_back({Kind::Message, text}); }

  /// Keeps the name and opens nothing.
  void SetLogFile(const std::string& fileName) override { logFile = fileName; }

  /// Keeps `on` and prints nothing.
  void SetLiveOutput(bool on) override { liveOutput = on; }

  /// Keeps a side line.
  void AddSideLine(const std::string& text) override { sideLines.push_back(text + "\n"); }

  /// Drops the side lines.
  void ClearSideLines() override { sideLines.clear(); }

  /// A copy of the side lines, each ended by a line feed.
  std::vector<std::string> SideLines() override { return sideLines; }

  /// Counts the call. Nothing ever waits here, so the answer is true.
  bool Flush() override {
    ++flushes;
    return true;
  }

  /// The texts of one kind, oldest first.
  std::vector<std::string> TextsOf(Kind kind) const {
    std::vector<std::string> texts;
    for (const Line& line : lines) {
      if (line.kind == kind) texts.push_back(line.text);
    }
    return texts;
  }

  std::vector<Line> lines;             ///< what was logged, oldest first
  std::vector<std::string> sideLines;  ///< each ended by a line feed
  std::string logFile;                 ///< what SetLogFile named last
  bool liveOutput = false;             ///< what SetLiveOutput said last
  int flushes = 0;                     ///< how often Flush was called
};

/// A settings store whose files lie in memory, in `files`. The grammar is the service's in the
/// classic locale. Problems are reported as the service reports them, to the log in the storage;
/// without a log they are thrown as Vorn::MissingInstance.
///
/// What it does not do: it loads nothing when it is made and saves nothing when it ends; every file
/// can be read and written; paths are compared byte for byte; numbers ignore the locale. For one
/// thread.
struct StandInSettings : Config::SConfigFile {
  /// The service that it stands in for. No library looks for it in the storage, but a host's code
  /// may.
  using Service = Config::SConfigFile;

  /// As the service.
  Config::ConfigEntries ParseContent(const std::string& content, const std::string& name) override {
    Config::ConfigEntries parsed;
    std::uint64_t lineNumber = 0;
    for (std::string_view rest = content; !rest.empty();) {
      ++lineNumber;
      std::string_view line = rest.substr(0, rest.find('\n'));
      rest.remove_prefix(line.size());
      if (!rest.empty()) rest.remove_prefix(1);
      line = line.substr(0, line.find_last_not_of('\r') + 1);
      if (!line.empty() && !ParseLine(line, parsed)) ReportBadLine(name, lineNumber, line);
    }
    return parsed;
  }

  /// The entries of the text in `files`, none if it holds no such path.
  Config::ConfigEntries ReadFile(Vorn::SharedPath path) override { return ReadFile(path.String()); }

  /// The entries of the text in `files`, none if it holds no such path.
  Config::ConfigEntries ReadFile(const std::string& path) override {
    const auto file = files.find(path);
    if (file == files.end()) return {};
    return ParseContent(file->second, path);
  }

  /// As the service: makes `path` the target of Save, and lays its entries over those of the store.
  bool Load(const std::string& path) override {
    filePath = path;
    Config::ConfigEntries loaded = ReadFile(path);
    loaded.merge(entries);
    entries = std::move(loaded);
    return true;
  }

  /// Puts all settings into `files`, under `filePath`.
  void Save() override { WriteFile(entries, filePath); }

  /// Puts the text of `settings` into `files`.
  void WriteFile(const Config::ConfigEntries& settings, const Vorn::SharedPath& path) override {
    WriteFile(settings, path.String());
  }

  /// Puts the text of `settings` into `files`.
  void WriteFile(const Config::ConfigEntries& settings, const std::string& path) override {
    Put(files, path, FormatEntries(settings));
  }

  /// As the service.
  std::string FormatEntries(const Config::ConfigEntries& settings) override {
    std::string text;
    for (const auto& [key, value] : settings) text += key + " = " + value + "\n";
    return text;
  }

  /// As the service: a missing key is added with the default.
  std::string GetString(const std::string& key, const std::string& defaultValue) override {
    return entries.emplace(key, defaultValue).first->second;
  }

  /// The value of `key` if there is one.
  std::optional<std::string> FindString(const std::string& key) override {
    const auto entry = entries.find(key);
    if (entry == entries.end()) return std::nullopt;
    return entry->second;
  }

  /// Sets the value of `key`.
  void SetString(const std::string& key, const std::string& value) override {
    Put(entries, key, value);
  }

  /// Sets the value of `key` to the decimal text of `value`.
  void SetInt(const std::string& key, std::int32_t value) override {
    SetString(key, NumberText(value));
  }

  /// As the service: a missing key is added with the default; a text that is no number stays.
  std::int32_t GetInt(const std::string& key, std::int32_t defaultValue) override {
    std::istringstream text(GetString(key, NumberText(defaultValue)));
    text.imbue(std::locale::classic());
    std::int32_t value = 0;
    text >> std::noskipws >> value;
    const bool isNumber = !text.fail() && text.peek() == std::istringstream::traits_type::eof();
    return isNumber ? value : defaultValue;
  }

  Config::ConfigEntries entries;                       ///< the settings
  std::map<std::string, std::string> files;            ///< the text of each file by its path
  std::string filePath = "content/config/config.txt";  ///< what Save writes

 private:
  // To assign by key, as the map itself can, would keep a plugin loaded that is built without
  // optimization.
  static void Put(std::map<std::string, std::string>& texts, const std::string& key,
                  const std::string& text) {
    const auto [place, isNew] = texts.emplace(key, text);
    if (!isNew) place->second = text;
  }

  template <class Number>
  static std::string NumberText(Number number) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << number;
    return text.str();
  }

  // Takes off what `text` opens with of `bytes`, and returns it.
  static std::string_view TakeAll(std::string_view& text, std::string_view bytes) {
    const std::string_view taken = text.substr(0, text.find_first_not_of(bytes));
    text.remove_prefix(taken.size());
    return taken;
  }

  static bool ParseLine(std::string_view line, Config::ConfigEntries& parsed) {
    constexpr std::string_view KeyBytes =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_/\\";
    constexpr std::string_view WhiteSpace = " \t\n\v\f\r";
    line = line.substr(0, line.find('\0'));
    const std::string_view key = TakeAll(line, KeyBytes);
    TakeAll(line, WhiteSpace);
    if (!line.starts_with('=')) return false;
    line.remove_prefix(1);
    TakeAll(line, WhiteSpace);
    Put(parsed, std::string(key), std::string(line));
    return true;
  }

  static void ReportBadLine(const std::string& name, std::uint64_t lineNumber,
                            std::string_view line) {
    Vorn::Singleton<Log::SMessageLog, std::shared_ptr>::Get()->LogError(
        "Syntax error reading configuration file: " + name + " at line: " + NumberText(lineNumber) +
        " content: " + std::string(line) + ".");
  }
};

/// Owns a new stand-in and keeps it in the storage for as long as it lives, or until `Remove`. For
/// one thread.
template <class T>
class Stored {
 public:
  /// The way to the service that the stand-in stands for.
  using Access = Vorn::Singleton<typename T::Service, std::shared_ptr>;

  /// Makes a stand-in and enters it. Throws Vorn::MissingInstance if the storage holds such a
  /// service already.
  Stored() : Stored(std::make_unique<T>()) {}

  Stored(const Stored&) = delete;
  Stored& operator=(const Stored&) = delete;

  /// The stand-in. REQUIRES: it was not removed.
  T* operator->() const {
    assert(owner != nullptr && "a stand-in used after Remove");
    return standIn;
  }

  /// The stand-in. REQUIRES: it was not removed.
  T& operator*() const { return *operator->(); }

  /// Takes the stand-in out of the storage and ends it.
  void Remove() { owner.reset(); }

 private:
  explicit Stored(std::unique_ptr<T> made) : standIn(made.get()), owner(Access::Create(standIn)) {
    made.release();  // the owner's now
  }

  T* const standIn;
  std::shared_ptr<Access> owner;
};

}  // namespace Common::Kit
