/// @file
/// Stand-ins for the clock, the log and the settings, for a host's tests. Each can take the place
/// of the service in the storage, where the code under test finds it and needs no change.
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

#include <cassert>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Common::Kit {

/// A clock that stands still until the test moves it. Waits, fillers and signals follow its time,
/// in the storage or not: a wait takes no real time and moves `now`. For one thread. REQUIRES: its
/// fillers end before it does, and its signals are not read later.
struct StandInClock : STimeProvider {
  /// The service that it stands in for.
  using Service = STimeProvider;

  /// Makes `rawMicroseconds` the zero. The raw scale starts where this clock started.
  void SetOrigin(std::uint64_t rawMicroseconds) override;

  /// Returns the time, then moves the clock on by `step`. Counts a reading.
  std::uint64_t Now() override;

  /// Moves the clock on, unless `microseconds` is 2^63 or more, which counts as passed.
  void Wait(std::uint64_t microseconds) override;

  /// A scope that at its end has moved the clock on by at least `microseconds`.
  Vorn::IntrudablePtr<Vorn::IScoped> MakeTimeFiller(std::uint64_t microseconds) override;

  /// Prints what the service prints, for fillers of this clock, and takes no real time.
  void RunTimingCheck() override;

  /// A signal of this clock, with the service's formulas. Each value counts a reading, unless
  /// `kind` is none of PeriodicKind's.
  Vorn::IntrudablePtr<IPeriodic> MakePeriodic(PeriodicKind kind, std::uint64_t period,
                                              float duty) override;

  std::uint64_t now = 0;     ///< what Now answers next; set it at will
  std::uint64_t step = 0;    ///< how far each reading moves the clock
  int readings = 0;          ///< how often Now was called
  std::uint64_t origin = 0;  ///< the zero on the raw scale, which SetOrigin moves
};

/// A log that keeps every line, with its kind and without a stamp. It writes no file and copies
/// nothing to the console. For one thread.
struct StandInLog : Log::SMessageLog {
  /// The service that it stands in for.
  using Service = Log::SMessageLog;

  /// Which operation a line was given to.
  using Kind = Log::LogKind;

  /// One line, as it was logged.
  struct Line {
    /// Whether kind and text are the same.
    bool operator==(const Line&) const = default;

    Kind kind;         ///< the operation
    std::string text;  ///< what it was given
  };

  void LogError(const std::string& text) override;
  void LogWarning(const std::string& text) override;
  void LogMessage(const std::string& text) override;
  void SetLogFile(const std::string& fileName) override;
  void SetLiveOutput(bool on) override;
  void AddSideLine(const std::string& text) override;
  void ClearSideLines() override;
  std::vector<std::string> SideLines() override;

  /// Counts the call and returns true, since nothing ever waits here.
  bool Flush() override;

  /// Whether `kind` is no lower than `lowest`. Lines are kept either way.
  bool Wants(Kind kind) override;

  /// The texts of one kind, oldest first.
  std::vector<std::string> TextsOf(Kind kind) const;

  std::vector<Line> lines;             ///< what was logged, oldest first
  std::vector<std::string> sideLines;  ///< each ended by a line feed
  std::string logFile;                 ///< what SetLogFile named last
  bool liveOutput = false;             ///< what SetLiveOutput said last
  int flushes = 0;                     ///< how often Flush was called
  Kind lowest = Kind::Message;         ///< the lowest kind that Wants answers true for
};

/// A settings store whose files are texts in memory, in `files`. It reads and writes them as the
/// service does files on disk. Problems go to the log in the storage, as the service's do; without
/// a log they are thrown as Vorn::MissingInstance.
///
/// Unlike the service, it loads nothing when it is made and saves nothing when it ends, every file
/// can be read and written, and paths are compared byte for byte. For one thread.
struct StandInSettings : Config::SConfigFile {
  /// The service that it stands in for. Only a host's own code looks for it in the storage.
  using Service = Config::SConfigFile;

  Config::ConfigEntries ParseContent(const std::string& content, const std::string& name) override;
  Config::ConfigEntries ReadFile(Vorn::SharedPath path) override;
  Config::ConfigEntries ReadFile(const std::string& path) override;
  bool Load(const std::string& path) override;
  void Save() override;
  void WriteFile(const Config::ConfigEntries& settings, const Vorn::SharedPath& path) override;
  void WriteFile(const Config::ConfigEntries& settings, const std::string& path) override;
  std::string FormatEntries(const Config::ConfigEntries& settings) override;
  std::string GetString(const std::string& key, const std::string& defaultValue) override;
  std::optional<std::string> FindString(const std::string& key) override;
  void SetString(const std::string& key, const std::string& value) override;
  void SetInt(const std::string& key, std::int32_t value) override;
  std::int32_t GetInt(const std::string& key, std::int32_t defaultValue) override;
  Config::ConfigEntries Entries() override;
  bool Remove(const std::string& key) override;

  Config::ConfigEntries entries;                       ///< the settings
  std::map<std::string, std::string> files;            ///< the text of each file by its path
  std::string filePath = "content/config/config.txt";  ///< what Save writes
};

/// Owns a new stand-in and keeps it in the storage while it lives, or until `Remove`. One thread.
template <class T>
class Stored {
 public:
  /// The service's place in the storage.
  using Access = Vorn::Service<typename T::Service>;

  /// Puts a new stand-in into the storage. Throws Vorn::MissingInstance if its place is taken.
  [[nodiscard]] Stored() : Stored(std::make_unique<T>()) {}

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
