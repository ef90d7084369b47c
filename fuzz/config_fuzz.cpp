// Reading and writing settings text, against a scanner that only knows which lines are good: key
// bytes, white space, "=". Each input is used as a text to read and as entries to write.
#include <sstream>
#include <string_view>
#include <vector>

#include "../src/config/config_format.h"
#include "shared.h"

namespace {

using namespace Common;
using Config::ConfigEntries;
using Fuzz::Check;

const std::string Name = "some/file.txt";
constexpr std::string_view WhiteSpace = " \t\n\v\f\r";

struct Reading {
  bool operator==(const Reading&) const = default;

  ConfigEntries entries;
  std::vector<std::string> errors;
};

bool IsKeyByte(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= '0' && byte <= '9') || byte == '_' || byte == '/' || byte == '\\';
}

bool IsWhiteSpace(char byte) { return WhiteSpace.find(byte) != std::string_view::npos; }

std::string WithoutReturnsAtEnd(std::string text) {
  while (text.ends_with('\r')) text.pop_back();
  return text;
}

std::string WithoutWhiteSpaceAtStart(const std::string& text) {
  std::size_t start = 0;
  while (start < text.size() && IsWhiteSpace(text[start])) ++start;
  return text.substr(start);
}

std::string UpToNul(const std::string& text) { return text.substr(0, text.find('\0')); }

void ScanLine(const std::string& line, std::uint64_t number, Reading& reading) {
  const std::string visible = UpToNul(line);
  std::size_t position = 0;
  while (position < visible.size() && IsKeyByte(visible[position])) ++position;
  const std::string key = visible.substr(0, position);
  while (position < visible.size() && IsWhiteSpace(visible[position])) ++position;
  if (position < visible.size() && visible[position] == '=') {
    reading.entries[key] = WithoutWhiteSpaceAtStart(visible.substr(position + 1));
  } else {
    reading.errors.push_back("Syntax error reading configuration file: " + Name +
                             " at line: " + std::to_string(number) + " content: " + line + ".");
  }
}

Reading Scan(const std::string& text) {
  Reading reading;
  std::istringstream lines(text);
  std::string line;
  for (std::uint64_t number = 1; std::getline(lines, line); ++number) {
    line = WithoutReturnsAtEnd(line);
    if (!line.empty()) ScanLine(line, number, reading);
  }
  return reading;
}

Reading Read(const std::string& text) {
  Reading reading;
  const auto keepError = [&](const std::string& message) { reading.errors.push_back(message); };
  reading.entries = ParseEntries(text, Name, keepError);
  return reading;
}

// Takes pieces of the text as keys and values in turn.
ConfigEntries CutIntoEntries(const std::string& text) {
  ConfigEntries entries;
  std::istringstream pieces(text);
  std::string key;
  std::string value;
  while (std::getline(pieces, key, ';')) {
    value.clear();
    std::getline(pieces, value, ';');
    entries[key] = value;
  }
  return entries;
}

bool IsKey(const std::string& text) {
  for (const char byte : text) {
    if (!IsKeyByte(byte)) return false;
  }
  return true;
}

// What a written value reads back as.
std::string ReadBack(const std::string& value) {
  return WithoutWhiteSpaceAtStart(UpToNul(WithoutReturnsAtEnd(value)));
}

// A line feed splits an entry, and these characters may change its key.
bool StaysOneEntry(const std::string& key, const std::string& value) {
  return value.find('\n') == std::string::npos &&
         (IsKey(key) || (key.find('=') == std::string::npos &&
                         key.find_first_of(WhiteSpace) == std::string::npos));
}

void CheckWriting(const ConfigEntries& entries) {
  std::string expected;
  ConfigEntries plainEntries;
  Reading plainReading;
  for (const auto& [key, value] : entries) {
    expected += key + " = " + value + "\n";
    if (!StaysOneEntry(key, value)) continue;
    plainEntries[key] = value;
    if (IsKey(key)) plainReading.entries[key] = ReadBack(value);
  }
  const std::string text = FormatEntryLines(entries);
  Check(text == expected, "a line for each entry");
  Check(Read(text) == Scan(text), "what was written reads as the rule of a good line says");

  const Reading reading = Read(FormatEntryLines(plainEntries));
  Check(reading.entries == plainReading.entries, "entries come back but for the forms that cannot");
  Check(reading.errors.size() == plainEntries.size() - plainReading.entries.size(),
        "each bad key is reported");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const Reading reading = Read(text);
  Check(reading == Scan(text), "a text reads as the rule of a good line says");
  CheckWriting(reading.entries);
  CheckWriting(CutIntoEntries(text));
  return 0;
}
