// Settings text into a map, and a map into text and into a file. The text is what the store itself
// writes: keys of 21 bytes in ascending order, `key = value`, a line feed.
#include <boost/property_tree/ini_parser.hpp>
#include <glib.h>
#include <ini.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <random>
#include <sstream>
#include <string_view>
#include <vector>

#include "bench.h"

namespace Common::Bench {
namespace {

using Config::ConfigEntries;
using Tree = boost::property_tree::ptree;
using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_free)>;
using GlibText = std::unique_ptr<char, decltype(&g_free)>;

constexpr std::array LineCounts{10, 1'000, 10'000, 100'000};
const std::string GlibGroup = "[settings]\n";  // GKeyFile reads no key outside of a group

// So many results together that reading the clock costs nothing beside making them.
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

// `size` is that of the text which one iteration reads or makes.
void ShowBytesPerSecond(benchmark::State& state, std::size_t size) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

// ---- Text into a map.

Tree ReadTree(const std::string& text) {
  Tree tree;
  std::istringstream input(text);
  boost::property_tree::read_ini(input, tree);
  return tree;
}

KeyFile ReadGroup(const std::string& textWithGroup) {
  KeyFile file(g_key_file_new(), g_key_file_free);
  g_key_file_load_from_data(file.get(), textWithGroup.data(), textWithGroup.size(), G_KEY_FILE_NONE,
                            nullptr);
  return file;
}

KeyFile ReadKeyFile(const std::string& text) { return ReadGroup(GlibGroup + text); }

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

// Drops bad lines without a word.
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
    ShowBytesPerSecond(state, text.size());
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
  RegisterParser(job, count, "property_tree", text, ReadTree);
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

std::string TreeToText(const Tree& tree) {
  std::ostringstream output;
  boost::property_tree::write_ini(output, tree);
  return std::move(output).str();
}

GlibText KeyFileToText(const KeyFile& file) {
  return {g_key_file_to_data(file.get(), nullptr, nullptr), g_free};
}

void WriteAtOnce(const std::string& path, const std::string& text) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size())) std::abort();
  close(file);
}

void WriteStream(const std::string& path, std::string_view text) {
  std::ofstream(path, std::ios::trunc)
      .write(text.data(), static_cast<std::streamsize>(text.size()));
}

// `read` makes what `format` turns into text, and `save` into a file.
template <class Read, class Format>
void RegisterFormatter(int lines, const std::string& who, Read read, Format format) {
  const auto run = [=](benchmark::State& state) {
    const std::string text = Join(MakeLines(lines));
    const auto input = read(text);
    TimeMaking(state, BatchOf(lines), [&] { return format(input); });
    ShowBytesPerSecond(state, text.size());
  };
  benchmark::RegisterBenchmark(Name("format", lines, who).c_str(), run)->UseManualTime();
}

template <class Read, class Save>
void RegisterWriter(int lines, const std::string& who, Read read, Save save) {
  const auto run = [=](benchmark::State& state) {
    const std::string text = Join(MakeLines(lines));
    const auto input = read(text);
    const ScopedFolder folder(MemoryFolder);
    const std::string path = folder.File("settings.txt");
    for (auto _ : state) save(path, input);
    ShowBytesPerSecond(state, text.size());
  };
  benchmark::RegisterBenchmark(Name("write_file", lines, who).c_str(), run);
}

void RegisterFormatters(Config::SConfigFile* config, int lines) {
  RegisterFormatter(lines, "ours", ScanByHand,
                    [=](const auto& entries) { return config->FormatEntries(entries); });
  RegisterFormatter(lines, "property_tree", ReadTree, TreeToText);
  RegisterFormatter(lines, "gkeyfile", ReadKeyFile, KeyFileToText);
  RegisterFormatter(lines, "floor", ScanByHand, AppendAll);

  RegisterWriter(lines, "ours", ScanByHand, [=](const std::string& path, const auto& entries) {
    config->WriteFile(entries, path);
  });
  RegisterWriter(lines, "property_tree", ReadTree, [](const std::string& path, const Tree& tree) {
    boost::property_tree::write_ini(path, tree);
  });
  // Its own way of saving waits for the disk.
  RegisterWriter(lines, "gkeyfile", ReadKeyFile, [](const std::string& path, const KeyFile& file) {
    WriteStream(path, KeyFileToText(file).get());
  });
  RegisterWriter(lines, "floor", ScanByHand, [](const std::string& path, const auto& entries) {
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
