/// @file
/// Settings with a type and a range, on top of the store, which knows text alone. A value that
/// makes no sense counts as the fallback, stays in the store for the user to mend, and gets a
/// warning in the log. The reader remembers what was asked, so it can tell which keys of a file
/// nobody knows.
///
/// ```cpp
/// Common::Kit::SettingsReader reader(*settings, *log);
/// const std::int32_t width = reader.ReadInt("window/width", 1280, 320, 7680);
/// const double volume = reader.ReadFloat("sound/volume", 0.8, 0.0, 1.0);
/// const std::string quality = reader.ReadChoice("quality", "high", {"low", "high"});
/// for (const std::string& key : reader.UnaskedKeys(settings->ReadFile("content/config/user.txt")))
///   log->LogWarning("Nobody knows the setting '" + key + "'.");
/// ```
#pragma once

#include <common/config_file.h>
#include <common/message_log.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <limits>
#include <locale>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace Common::Kit {

/// Reads settings of a store and warns of wrong ones.
///
/// Each operation adds a missing key to the store with the fallback's text, as the store's own
/// reads do. A wrong value gets one warning, however often it is read:
///
///     Setting 'window/width' is 'wide', not a whole number from 320 to 7680; using 1280.
///
/// A value that equals the fallback is never wrong, so a fallback may lie outside the range or
/// the set, for instance -1 for "not set". All operations throw what the store and the log do. For
/// one thread at a time.
class SettingsReader {
 public:
  /// Reads from `store` and warns in `log`. REQUIRES: both outlive this object.
  SettingsReader(Config::SConfigFile& store, Log::SMessageLog& log) : store(store), log(log) {}

  SettingsReader(const SettingsReader&) = delete;
  SettingsReader& operator=(const SettingsReader&) = delete;

  /// The value of `key` as it is, also when it is empty. No text is wrong.
  std::string ReadText(const std::string& key, const std::string& fallback) {
    return Ask(key, fallback);
  }

  /// The value of `key` as a whole number from `lowest` to `highest`, both included. What a number
  /// is, the store's GetInt decides: decimal digits behind an optional sign, and the grouping of
  /// the global locale.
  std::int32_t ReadInt(const std::string& key, std::int32_t fallback, std::int32_t lowest,
                       std::int32_t highest) {
    asked.insert(key);
    const std::optional<std::int32_t> value = FindInt(key, fallback);
    if (value.has_value() && *value >= lowest && *value <= highest) return *value;
    if (value != fallback) {
      WarnOnce(key, store.GetString(key, {}),
               "a whole number from " + FormatNumber(lowest) + " to " + FormatNumber(highest),
               FormatNumber(fallback));
    }
    return fallback;
  }

  /// The value of `key` as a number from `lowest` to `highest`, both included: decimal digits, with
  /// an optional sign, fraction behind a "." and exponent, whatever the locale. Hexadecimal
  /// numbers, infinities, "nan" and numbers too large for a double are wrong. A bound may be
  /// infinite. A missing key is added in digits that read back as the same number.
  ///
  /// REQUIRES: `fallback` is finite.
  double ReadFloat(const std::string& key, double fallback, double lowest, double highest) {
    assert(std::isfinite(fallback) && "the fallback of a setting is finite");
    const std::string text = Ask(key, FormatFloat(fallback));
    const std::optional<double> value = ParseFloat(text);
    if (value.has_value() && *value >= lowest && *value <= highest) return *value;
    if (value != fallback) {
      WarnOnce(key, text, "a number from " + FormatFloat(lowest) + " to " + FormatFloat(highest),
               FormatFloat(fallback));
    }
    return fallback;
  }

  /// The value of `key` as a switch: on, yes, true and 1 are true, off, no, false and 0 are false,
  /// in small or capital letters. A missing key is added as "on" or "off".
  bool ReadSwitch(const std::string& key, bool fallback) {
    const std::string fallbackText = fallback ? "on" : "off";
    const std::string text = Ask(key, fallbackText);
    const std::optional<bool> value = ParseSwitch(text);
    if (value.has_value()) return *value;
    WarnOnce(key, text, "on or off, yes or no, true or false, 1 or 0", fallbackText);
    return fallback;
  }

  /// The value of `key` as one of the words in `choices`, byte for byte.
  std::string ReadChoice(const std::string& key, const std::string& fallback,
                         const std::vector<std::string>& choices) {
    std::string text = Ask(key, fallback);
    const bool isRight = std::find(choices.begin(), choices.end(), text) != choices.end();
    if (isRight || text == fallback) return text;
    WarnOnce(key, text, "one of " + ListOf(choices), "'" + fallback + "'");
    return fallback;
  }

  /// The keys of `entries` that no operation of this reader was asked for, in the byte order of the
  /// keys. Ask for all settings first. The store has no list of its entries: read a settings file
  /// once more with SConfigFile::ReadFile, which reports its bad lines again.
  std::vector<std::string> UnaskedKeys(const Config::ConfigEntries& entries) const {
    std::vector<std::string> unasked;
    for (const auto& [key, value] : entries) {
      if (!asked.contains(key)) unasked.push_back(key);
    }
    return unasked;
  }

 private:
  std::string Ask(const std::string& key, const std::string& fallback) {
    asked.insert(key);
    return store.GetString(key, fallback);
  }

  // GetInt does not tell a number that equals its default from a text that is none, but the two
  // answers to two defaults do.
  std::optional<std::int32_t> FindInt(const std::string& key, std::int32_t fallback) {
    const std::int32_t value = store.GetInt(key, fallback);
    if (value != fallback) return value;
    const std::int32_t otherDefault = fallback == 0 ? 1 : 0;
    if (store.GetInt(key, otherDefault) == fallback) return fallback;
    return std::nullopt;
  }

  void WarnOnce(const std::string& key, const std::string& text, const std::string& wanted,
                const std::string& used) {
    const auto warned = warnedTexts.find(key);
    if (warned != warnedTexts.end() && warned->second == text) return;
    log.LogWarning("Setting '" + key + "' is '" + text + "', not " + wanted + "; using " + used +
                   ".");
    warnedTexts.erase(key);  // to assign by key would keep a plugin loaded
    warnedTexts.emplace(key, text);
  }

  static std::string ListOf(const std::vector<std::string>& choices) {
    std::string list;
    for (const std::string& choice : choices) {
      if (!list.empty()) list += ", ";
      list += "'" + choice + "'";
    }
    return list;
  }

  static bool EqualsInAnyCase(std::string_view text, std::string_view smallWord) {
    const auto isSame = [](char byte, char small) {
      const bool isCapital = byte >= 'A' && byte <= 'Z';
      return (isCapital ? byte - 'A' + 'a' : byte) == small;
    };
    return std::equal(text.begin(), text.end(), smallWord.begin(), smallWord.end(), isSame);
  }

  static std::optional<bool> ParseSwitch(const std::string& text) {
    for (const std::string_view word : {"on", "yes", "true", "1"}) {
      if (EqualsInAnyCase(text, word)) return true;
    }
    for (const std::string_view word : {"off", "no", "false", "0"}) {
      if (EqualsInAnyCase(text, word)) return false;
    }
    return std::nullopt;
  }

  static bool TakeOneOf(std::string_view& text, std::string_view bytes) {
    if (text.empty() || bytes.find(text.front()) == std::string_view::npos) return false;
    text.remove_prefix(1);
    return true;
  }

  static std::size_t TakeDigits(std::string_view& text) {
    const std::size_t count = text.substr(0, text.find_first_not_of("0123456789")).size();
    text.remove_prefix(count);
    return count;
  }

  static bool IsDecimal(std::string_view text) {
    TakeOneOf(text, "+-");
    std::size_t digits = TakeDigits(text);
    if (TakeOneOf(text, ".")) digits += TakeDigits(text);
    if (digits == 0) return false;
    if (TakeOneOf(text, "eE")) {
      TakeOneOf(text, "+-");
      if (TakeDigits(text) == 0) return false;
    }
    return text.empty();
  }

  // The standard libraries differ in what else they take for a number, so the form is tested first.
  // They also differ in what they make of a number that is too large, the greatest number or an
  // infinity, and in whether one that is too small fails.
  static std::optional<double> ParseFloat(const std::string& text) {
    if (!IsDecimal(text)) return std::nullopt;
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    double value = 0.0;
    stream >> value;
    constexpr double Greatest = (std::numeric_limits<double>::max)();  // no macro of <windows.h>
    const bool isTooLarge = stream.fail() && std::fabs(value) >= Greatest;
    if (isTooLarge) return std::nullopt;
    return value;
  }

  static std::string FormatFloat(double value) {
    using Limits = std::numeric_limits<double>;
    std::string text;
    for (int digits = Limits::digits10; digits <= Limits::max_digits10; ++digits) {
      text = FormatNumber(value, digits);
      if (ParseFloat(text) == value) break;
    }
    return text;
  }

  template <class Number>
  static std::string FormatNumber(Number value,
                                  int digits = std::numeric_limits<Number>::digits10) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream.precision(digits);
    stream << value;
    return stream.str();
  }

  Config::SConfigFile& store;
  Log::SMessageLog& log;
  std::set<std::string> asked;
  std::map<std::string, std::string> warnedTexts;  // by key
};

}  // namespace Common::Kit
