// Settings text into a map, and a map into text and into a file. The text is what the store itself
// writes: keys of 21 bytes in ascending order, `key = value`, a line feed.
#include <glib.h>
#include <ini.h>

#include <array>
#include <random>
#include <string_view>
#include <vector>

#include "bench.h"

namespace Common::Bench {
namespace {

using Config::ConfigEntries;
using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_free)>;

constexpr std::array LineCounts{10, 1'000, 10'000, 100'000};
const std::string GlibGroup = "[settings]\n";  // GKeyFile reads no key outside of a group

// Enough results in a batch that reading the clock costs nothing beside them.
std::size_t BatchOf(int lines) { return static_cast<std::size_t>(std::max(1, 1'000 / lines)); }

std::vector<std::string> MakeLines(int count) {
  std::vector<std::string> lines;
  for (int index = 0; index < count; ++index) {
    std::string number = std::to_string(index);
    number.insert(0, 6 - number.size(), '0');
    lines.push_back("berth_" + number + "/capacity = " + std::to_string(index * 37) + " t\n");
  }
  return lines;
}

std::string Join(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line;
  return text;
}

// ---- Text into a map.

KeyFile ReadGroup(const std::string& textWithGroup) {
  KeyFile file(g_key_file_new(), g_key_file_free);
  g_key_file_load_from_data(file.get(), textWithGroup.data(), textWithGroup.size(), G_KEY_FILE_NONE,
                            nullptr);
  return file;
}

ConfigEntries ReadWithInih(const std::string& text) {
  ConfigEntries entries;
  const ini_handler keep = [](void* user, const char*, const char* key, const char* value) {
    static_cast<ConfigEntries*>(user)->insert_or_assign(key, value);
    return 1;
  };
  ini_parse_string(text.c_str(), keep, &entries);
  return entries;
}

constexpr bool IsKeyCharacter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9') || character == '_' || character == '/' ||
         character == '\\';
}

constexpr bool IsSpace(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

// Skips bad lines silently.
ConfigEntries ScanByHand(std::string_view text) {
  ConfigEntries entries;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    std::size_t at = 0;
    while (at < line.size() && IsKeyCharacter(line[at])) ++at;
    const std::string_view key = line.substr(0, at);
    while (at < line.size() && IsSpace(line[at])) ++at;
    if (at == line.size() || line[at] != '=') continue;
    ++at;
    while (at < line.size() && IsSpace(line[at])) ++at;
    entries.emplace_hint(entries.end(), key, line.substr(at));
  }
  return entries;
}

template <class Parse>
void RegisterParser(const std::string& job, int lines, const std::string& who,
                    const std::string& text, Parse parse) {
  const auto run = [=](benchmark::State& state) {
    TimeMaking(state, BatchOf(lines), [&] { return parse(text); });
  };
  benchmark::RegisterBenchmark(Name(job, lines, who).c_str(), run)->UseManualTime();
}

void RegisterParsers(Config::SConfigFile* config, const std::string& job,
                     const std::vector<std::string>& lines) {
  const int count = static_cast<int>(lines.size());
  const std::string text = Join(lines);
  const auto parse = [config](const std::string& content) {
    return config->ParseContent(content, "bench");
  };
  RegisterParser(job, count, "ours", text, parse);
  RegisterParser(job, count, "inih", text, ReadWithInih);
  RegisterParser(job, count, "gkeyfile", GlibGroup + text, ReadGroup);
  RegisterParser(job, count, "floor", text, ScanByHand);
}

// ---- A map into text and into a file.

std::string AppendAll(const ConfigEntries& entries) {
  std::size_t size = 0;
  for (const auto& [key, value] : entries) size += key.size() + 3 + value.size() + 1;
  std::string text;
  text.reserve(size);
  for (const auto& [key, value] : entries)
    text.append(key).append(" = ").append(value).append(1, '\n');
  return text;
}

template <class Format>
void RegisterFormatter(int lines, const std::string& who, Format format) {
  const auto run = [=](benchmark::State& state) {
    const ConfigEntries entries = ScanByHand(Join(MakeLines(lines)));
    TimeMaking(state, BatchOf(lines), [&] { return format(entries); });
  };
  benchmark::RegisterBenchmark(Name("format", lines, who).c_str(), run)->UseManualTime();
}

template <class Save>
void RegisterWriter(int lines, const std::string& who, Save save) {
  const auto run = [=](benchmark::State& state) {
    const ConfigEntries entries = ScanByHand(Join(MakeLines(lines)));
    const ScopedFolder folder(MemoryFolder);
    const std::string path = folder.File("settings.txt");
    for (auto _ : state) save(path, entries);
  };
  benchmark::RegisterBenchmark(Name("write_file", lines, who).c_str(), run);
}

void RegisterFormatters(Config::SConfigFile* config, int lines) {
  RegisterFormatter(lines, "ours",
                    [=](const ConfigEntries& entries) { return config->FormatEntries(entries); });
  RegisterFormatter(lines, "floor", AppendAll);
  RegisterWriter(lines, "ours", [=](const std::string& path, const ConfigEntries& entries) {
    config->WriteFile(entries, path);
  });
  RegisterWriter(lines, "floor", [](const std::string& path, const ConfigEntries& entries) {
    WriteAtOnce(path, AppendAll(entries));
  });
}

}  // namespace

void RegisterConfig(const Plan& plan) {
  Config::SConfigFile* const config = plan.services.config.get();
  for (const int count : LineCounts) {
    RegisterParsers(config, "parse", MakeLines(count));
    RegisterFormatters(config, count);
  }
  std::vector<std::string> shuffled = MakeLines(1'000);
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(1));
  RegisterParsers(config, "parse_shuffled", shuffled);
}

}  // namespace Common::Bench
