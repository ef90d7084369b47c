#include <common/kit/settings_watcher.h>
#include <vorn_lnk/file>
#include <vorn_lnk/shared_path>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <utility>

namespace Common::Kit {

using Config::ConfigEntries;

namespace {

std::string WholeLinesOf(const std::string& text) { return text.substr(0, text.rfind('\n') + 1); }

}  // namespace

struct SettingsWatcher::State {
  State(Config::SConfigFile& store, std::string path);

  std::vector<Change> Look();

 private:
  std::optional<std::string> ReadText();
  ConfigEntries Parse(const std::string& text) { return store.ParseContent(text, path); }
  void See(std::string text);
  bool StoreHoldsAll(const ConfigEntries& entries);
  std::vector<Change> FindEdits(const ConfigEntries& entries);
  void AddDeletions(const ConfigEntries& entries, std::vector<Change>& changes);
  void TakeOver(const std::vector<Change>& edits);
  void Know(std::string text, ConfigEntries entries);

  Config::SConfigFile& store;
  const std::string path;
  std::string knownText;
  ConfigEntries knownEntries;
  std::optional<std::string> seenText;  // new content that waits for another look
  ConfigEntries storeWhenSeen;          // what the store then held of the known settings
};

SettingsWatcher::State::State(Config::SConfigFile& store, std::string path)
    : store(store), path(std::move(path)) {
  knownText = ReadText().value_or("");
  knownEntries = Parse(knownText);
}

// None if there is no file. A store without files on disk, such as a stand-in, gives its own.
std::optional<std::string> SettingsWatcher::State::ReadText() {
  try {
    const auto file = Vorn::SharedPath::NewWrapped(Vorn::PathFromUtf8(path));
    if (file.Exists()) return Vorn::ReadWholeFileToString(file);
    const ConfigEntries entries = store.ReadFile(path);
    if (!entries.empty()) return store.FormatEntries(entries);
  } catch (const std::filesystem::filesystem_error&) {  // somebody is writing it
  }
  return std::nullopt;
}

void SettingsWatcher::State::See(std::string text) {
  ConfigEntries stored;
  for (const auto& [key, value] : knownEntries) {
    if (const auto present = store.FindString(key)) stored.emplace(key, *present);
  }
  storeWhenSeen = std::move(stored);
  seenText = std::move(text);
}

// If so, the program itself may have saved the file.
bool SettingsWatcher::State::StoreHoldsAll(const ConfigEntries& entries) {
  return std::all_of(entries.begin(), entries.end(), [this](const auto& entry) {
    return store.FindString(entry.first) == entry.second;
  });
}

std::vector<SettingsWatcher::Change> SettingsWatcher::State::FindEdits(
    const ConfigEntries& entries) {
  std::vector<Change> edits;
  for (const auto& [key, value] : entries) {
    const auto known = knownEntries.find(key);
    if (known != knownEntries.end() && known->second == value) continue;
    const std::optional<std::string> stored = store.FindString(key);
    const auto whenSeen = storeWhenSeen.find(key);
    const bool isOlder = whenSeen != storeWhenSeen.end() && stored != whenSeen->second;
    if (stored != value && !isOlder) edits.push_back({key, stored.value_or(""), value});
  }
  return edits;
}

// A setting that the program itself removed is not reported.
void SettingsWatcher::State::AddDeletions(const ConfigEntries& entries,
                                          std::vector<Change>& changes) {
  for (const auto& [key, value] : knownEntries) {
    if (entries.contains(key)) continue;
    const std::optional<std::string> stored = store.FindString(key);
    if (stored.has_value()) changes.push_back({key, *stored, ""});
  }
  std::sort(changes.begin(), changes.end(),
            [](const Change& one, const Change& other) { return one.key < other.key; });
}

void SettingsWatcher::State::TakeOver(const std::vector<Change>& edits) {
  for (const Change& edit : edits) store.SetString(edit.key, edit.after);
}

void SettingsWatcher::State::Know(std::string text, ConfigEntries entries) {
  knownText = std::move(text);
  knownEntries = std::move(entries);
  seenText.reset();
}

std::vector<SettingsWatcher::Change> SettingsWatcher::State::Look() {
  std::optional<std::string> text = ReadText();
  const bool isAsKnown = !seenText.has_value() && text == knownText;
  if (!text.has_value() || isAsKnown) return {};
  if (!seenText.has_value()) {
    See(std::move(*text));
    return {};
  }
  ConfigEntries entries = Parse(*text);
  if (text == seenText) {
    std::vector<Change> changes = FindEdits(entries);
    TakeOver(changes);
    AddDeletions(entries, changes);
    Know(std::move(*text), std::move(entries));
    return changes;
  }
  if (!StoreHoldsAll(entries)) {  // the editor is still writing
    See(std::move(*text));
    return {};
  }
  // The program has saved over what was seen, whose last line may be cut.
  std::vector<Change> edits = FindEdits(Parse(WholeLinesOf(*seenText)));
  TakeOver(edits);
  Know(std::move(*text), std::move(entries));
  return edits;
}

SettingsWatcher::SettingsWatcher(Config::SConfigFile& store, std::string path)
    : state(std::make_unique<State>(store, std::move(path))) {}

SettingsWatcher::~SettingsWatcher() = default;

std::vector<SettingsWatcher::Change> SettingsWatcher::Poll() { return state->Look(); }

}  // namespace Common::Kit
