#include <common/kit/settings_reader.h>

#include <fast_float/fast_float.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace Common::Kit {
namespace {

using AskedSetting = SettingsReader::AskedSetting;
using Kind = AskedSetting::Kind;

constexpr double NoNumber = std::numeric_limits<double>::quiet_NaN();

// ---- Numbers with a fraction.

// Values out of a float's range stay as they are.
double RoundToFloat(double value) {
  const bool isWithinRange = std::fabs(value) <= std::numeric_limits<float>::max();
  return isWithinRange ? double{static_cast<float>(value)} : value;
}

bool IsFloat(double value) {
  return std::fabs(value) <= std::numeric_limits<float>::max() && RoundToFloat(value) == value;
}

// Whether all digits are written, as for whole numbers while every one of them is a double.
bool IsPlainWhole(double value) {
  constexpr double FirstWithout = 9007199254740992.0;
  return std::fabs(value) < FirstWithout && std::trunc(value) == value;
}

// If the fallback is a float, fractions are compared as floats.
bool IsRight(double value, double fallback, double lowest, double highest) {
  const auto compared = [isFloat = IsFloat(fallback)](double number) {
    return isFloat && !IsPlainWhole(number) ? RoundToFloat(number) : number;
  };
  value = compared(value);
  return value == fallback || (value >= compared(lowest) && value <= compared(highest));
}

std::optional<double> ParseFloat(std::string_view text) {
  const bool hasPlus = text.starts_with('+');  // which the parser does not take
  if (hasPlus) text.remove_prefix(1);
  if (hasPlus && text.starts_with('-')) return std::nullopt;
  double value = 0.0;
  const char* const end = text.data() + text.size();
  const auto parsed = fast_float::from_chars(text.data(), end, value);
  // Releases of the parser differ in whether overflow and underflow are failures.
  const bool isNumber = parsed.ec != std::errc::invalid_argument && parsed.ptr == end;
  if (!isNumber || !std::isfinite(value)) return std::nullopt;
  return value;
}

template <class... Form>
std::string FormatBy(Form... form) {
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), form...).ptr;
  return {digits.data(), end};
}

std::string FormatFloat(double value) {
  if (IsPlainWhole(value)) return FormatBy(value, std::chars_format::fixed);
  if (IsFloat(value)) {
    std::string text = FormatBy(static_cast<float>(value));
    // A few floats change when their text is read as a double and then rounded.
    if (RoundToFloat(ParseFloat(text).value_or(NoNumber)) == value) return text;
  }
  return FormatBy(value);
}

// ---- Switches and words.

std::string SwitchText(bool value) { return value ? "on" : "off"; }

bool EqualsInAnyCase(std::string_view text, std::string_view lowerWord) {
  const auto isSame = [](char byte, char lower) {
    const bool isCapital = byte >= 'A' && byte <= 'Z';
    return (isCapital ? byte - 'A' + 'a' : byte) == lower;
  };
  return std::equal(text.begin(), text.end(), lowerWord.begin(), lowerWord.end(), isSame);
}

std::optional<bool> ParseSwitch(std::string_view text) {
  for (const std::string_view word : {"on", "yes", "true", "1"}) {
    if (EqualsInAnyCase(text, word)) return true;
  }
  for (const std::string_view word : {"off", "no", "false", "0"}) {
    if (EqualsInAnyCase(text, word)) return false;
  }
  return std::nullopt;
}

std::string ListOf(const std::vector<std::string>& choices) {
  std::string list;
  for (const std::string& choice : choices) {
    if (!list.empty()) list += ", ";
    list += "'" + choice + "'";
  }
  return list;
}

struct Asked {
  std::size_t order = 0;
  AskedSetting setting;
  std::optional<std::string> warnedText = std::nullopt;
};

}  // namespace

struct SettingsReader::State {
  // Finds the setting, or adds what `describe` returns.
  template <class Describe>
  Asked& Ask(const std::string& key, Describe describe) {
    const auto known = askedByKey.find(key);
    if (known != askedByKey.end()) return known->second;
    return askedByKey.emplace(key, Asked{askedByKey.size(), describe()}).first->second;
  }

  // GetInt returns its default for a wrong text. A second call with another default tells a wrong
  // text from a number that equals the first default.
  std::optional<std::int32_t> FindInt(const std::string& key, std::int32_t fallback) {
    const std::int32_t value = store.GetInt(key, fallback);
    if (value != fallback) return value;
    const std::int32_t otherDefault = fallback == 0 ? 1 : 0;
    if (store.GetInt(key, otherDefault) == fallback) return fallback;
    return std::nullopt;
  }

  template <class DescribeRight>
  void WarnOnce(Asked& asked, const std::string& text, DescribeRight describeRight) {
    if (asked.warnedText == text) return;
    log.LogWarning("Setting '" + asked.setting.key + "' is '" + text + "', not " + describeRight() +
                   ".");
    asked.warnedText = text;
  }

  Config::SConfigFile& store;
  Log::SMessageLog& log;
  std::map<std::string, Asked> askedByKey;
};

SettingsReader::SettingsReader(Config::SConfigFile& store, Log::SMessageLog& log)
    : state(new State{store, log, {}}) {}

SettingsReader::~SettingsReader() = default;

std::string SettingsReader::ReadText(const std::string& key, const std::string& fallback) {
  state->Ask(key,
             [&] { return AskedSetting{.key = key, .kind = Kind::Text, .fallback = fallback}; });
  return state->store.GetString(key, fallback);
}

std::int32_t SettingsReader::ReadInt(const std::string& key, std::int32_t fallback,
                                     std::int32_t lowest, std::int32_t highest) {
  Asked& asked = state->Ask(key, [&] {
    return AskedSetting{.key = key,
                        .kind = Kind::Int,
                        .fallback = std::to_string(fallback),
                        .lowest = static_cast<double>(lowest),
                        .highest = static_cast<double>(highest)};
  });
  const std::optional<std::int32_t> value = state->FindInt(key, fallback);
  if (value.has_value() && *value >= lowest && *value <= highest) return *value;
  if (value != fallback) {
    state->WarnOnce(asked, state->store.GetString(key, {}), [&] {
      return "a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest) +
             "; using " + std::to_string(fallback);
    });
  }
  return fallback;
}

double SettingsReader::ReadFloat(const std::string& key, double fallback, double lowest,
                                 double highest) {
  assert(std::isfinite(fallback) && "the fallback of a setting is finite");
  Asked& asked = state->Ask(key, [&] {
    return AskedSetting{.key = key,
                        .kind = Kind::Float,
                        .fallback = FormatFloat(fallback),
                        .lowest = lowest,
                        .highest = highest};
  });
  const std::optional<std::string> text = state->store.FindString(key);
  if (!text.has_value()) {
    WriteFloat(key, fallback);
    return fallback;
  }
  const std::optional<double> value = ParseFloat(*text);
  if (value.has_value()) {
    const bool isFallbackRounded = *value != fallback && RoundToFloat(*value) == fallback;
    if (isFallbackRounded && *text == FormatFloat(fallback)) return fallback;
    if (IsRight(*value, fallback, lowest, highest)) return *value;
  }
  state->WarnOnce(asked, *text, [&] {
    return "a number from " + FormatFloat(lowest) + " to " + FormatFloat(highest) + "; using " +
           FormatFloat(fallback);
  });
  return fallback;
}

bool SettingsReader::ReadSwitch(const std::string& key, bool fallback) {
  const std::string fallbackText = SwitchText(fallback);
  Asked& asked = state->Ask(key, [&] {
    return AskedSetting{.key = key, .kind = Kind::Switch, .fallback = fallbackText};
  });
  const std::string text = state->store.GetString(key, fallbackText);
  const std::optional<bool> value = ParseSwitch(text);
  if (value.has_value()) return *value;
  state->WarnOnce(asked, text, [&] {
    return "on or off, yes or no, true or false, 1 or 0; using " + fallbackText;
  });
  return fallback;
}

std::string SettingsReader::ReadChoice(const std::string& key, const std::string& fallback,
                                       const std::vector<std::string>& choices) {
  Asked& asked = state->Ask(key, [&] {
    return AskedSetting{.key = key, .kind = Kind::Choice, .fallback = fallback, .choices = choices};
  });
  std::string text = state->store.GetString(key, fallback);
  const bool isRight = std::find(choices.begin(), choices.end(), text) != choices.end();
  if (isRight || text == fallback) return text;
  state->WarnOnce(asked, text,
                  [&] { return "one of " + ListOf(choices) + "; using '" + fallback + "'"; });
  return fallback;
}

void SettingsReader::WriteFloat(const std::string& key, double value) {
  assert(std::isfinite(value) && "the value of a setting is finite");
  state->store.SetString(key, FormatFloat(value));
}

void SettingsReader::WriteSwitch(const std::string& key, bool value) {
  state->store.SetString(key, SwitchText(value));
}

std::vector<std::string> SettingsReader::UnaskedKeys(const Config::ConfigEntries& entries) const {
  std::vector<std::string> unasked;
  for (const auto& [key, value] : entries) {
    if (!state->askedByKey.contains(key)) unasked.push_back(key);
  }
  return unasked;
}

std::vector<AskedSetting> SettingsReader::AskedSettings() const {
  std::vector<AskedSetting> settings(state->askedByKey.size());
  for (const auto& [key, asked] : state->askedByKey) settings[asked.order] = asked.setting;
  return settings;
}

}  // namespace Common::Kit
