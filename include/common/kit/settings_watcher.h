/// @file
/// Settings that the user edits while the game runs. A watcher looks at the file, takes over what
/// was edited, and says what has changed, so that it can act at once. The next save keeps it.
///
/// ```cpp
/// Common::Kit::SettingsWatcher watcher(*settings, "content/config/config.txt");
/// Common::Kit::Timers timers(*frames);
/// timers.Every(500'000, [&] {
///   for (const Common::Kit::SettingsWatcher::Change& change : watcher.Poll())
///     log->LogMessage(change.key + ": " + change.before + " -> " + change.after);
/// });
/// ```
#pragma once

#include <common/config_file.h>

#include <memory>
#include <string>
#include <vector>

namespace Common::Kit {

/// Watches one settings file for a store, which need not be the file that the store saves.
///
/// For the thread that uses the store.
class SettingsWatcher {
 public:
  /// What was edited. Texts are those of the store, so `before` is what was in force.
  struct Change {
    std::string key;     ///< the setting
    std::string before;  ///< empty for one that the store did not have
    std::string after;   ///< empty also where the line was deleted
  };

  /// Takes the present content of the file at `path`, which is UTF-8, as known. The file need not
  /// exist. Its bad lines are reported to the log once more.
  ///
  /// Throws Vorn::MissingInstance for a bad line without a log, and std::bad_alloc. REQUIRES:
  /// `store` outlives this object.
  SettingsWatcher(Config::SConfigFile& store, std::string path);

  ~SettingsWatcher();

  SettingsWatcher(const SettingsWatcher&) = delete;
  SettingsWatcher& operator=(const SettingsWatcher&) = delete;

  /// Looks at the file. If its content is new and was the same at the last look, so that no editor
  /// is in the middle of writing it, what was edited goes into the store. Returns it, in the order
  /// of the keys. So an edit takes two looks; half a second between them suits a person.
  ///
  /// - A line counts as edited if it differs both from what the file held and from the store, so
  ///   the program's own saves are no edits.
  /// - Of an edit and a change by the program to the same setting the newer one counts: the edit,
  ///   unless the program has changed the setting since a look saw the edit.
  /// - A line that was deleted is reported and stays in the store.
  /// - What a look has seen survives a save that comes before the next look. What was edited and
  ///   saved over between two looks is lost, since `Save` merges nothing: look before you save.
  /// - A file that is missing or cannot be read changes nothing and interrupts no edit: some
  ///   editors move the file away for a moment.
  ///
  /// One case looks like an edit and is none: the program saves a setting and changes it again
  /// before the next look, without a save. To be safe, look after each save too.
  ///
  /// A look reads the whole file, since its time and size do not tell every edit. That takes about
  /// 5 us for 100 settings. Only new content is parsed, and its bad lines are reported.
  ///
  /// Throws Vorn::MissingInstance for a bad line without a log, and std::bad_alloc. Settings that
  /// were taken over before it threw stay so, and are not reported again.
  std::vector<Change> Poll();

 private:
  struct State;

  const std::unique_ptr<State> state;
};

}  // namespace Common::Kit
