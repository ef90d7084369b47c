/// @file
/// Settings that the user edits while the game runs. A watcher looks at the file, puts edits into
/// the store, and returns them, so that the game can act at once. The next save keeps them.
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

/// Watches one settings file for a store, which need not be the file that the store saves. For the
/// thread that uses the store.
class SettingsWatcher {
 public:
  /// One setting that was edited.
  struct Change {
    std::string key;     ///< the setting
    std::string before;  ///< what the store held; empty if it had no such setting
    std::string after;   ///< what the file holds; empty also if the line was deleted
  };

  /// Reads the file, so that only later changes count as edits, and reports its bad lines again.
  /// The path is UTF-8; the file need not exist.
  ///
  /// REQUIRES: `store` outlives this object. Throws as Poll does.
  SettingsWatcher(Config::SConfigFile& store, std::string path);

  ~SettingsWatcher();

  SettingsWatcher(const SettingsWatcher&) = delete;
  SettingsWatcher& operator=(const SettingsWatcher&) = delete;

  /// Looks at the file. If its content is new and was the same at the last look, so that no editor
  /// is still writing it, puts the edits into the store. Returns them in the order of the keys. So
  /// an edit takes two looks; half a second between them suits a person.
  ///
  /// - A line counts as edited if it differs both from what the file held and from the store, so
  ///   the program's own saves are no edits.
  /// - If the program has changed the same setting, the newer change wins: the edit, unless the
  ///   program made its change after a look had seen the edit.
  /// - A deleted line is reported, but the setting stays in the store.
  /// - An edit that a look has seen survives a save before the next look. One that is saved over
  ///   between two looks is lost, since `Save` merges nothing: look before you save.
  /// - A file that is missing or cannot be read changes nothing and interrupts no edit: some
  ///   editors move the file away for a moment.
  ///
  /// One case is mistaken for an edit: the program saves a setting and changes it again before the
  /// next look, without a save. To avoid it, look after each save too.
  ///
  /// A look reads the whole file, since its time and size do not show every edit. That takes about
  /// 5 us for 100 settings. Only new content is parsed, and its bad lines are reported.
  ///
  /// Throws Vorn::MissingInstance for a bad line without a log, and std::bad_alloc. Edits that were
  /// in the store by then stay there, and are not reported again.
  std::vector<Change> Poll();

 private:
  struct State;

  const std::unique_ptr<State> state;
};

}  // namespace Common::Kit
