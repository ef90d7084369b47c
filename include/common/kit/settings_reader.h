/// @file
/// Settings with a type and a range, on top of the store, which knows text alone. A value that
/// makes no sense counts as the fallback, stays in the store for the user to fix, and gets a
/// warning in the log. The reader remembers what was asked, so it can tell which keys of a file
/// nobody knows, and what an options menu has to offer.
///
/// ```cpp
/// Common::Kit::SettingsReader reader(*settings, *log);
/// const std::int32_t width = reader.ReadInt("window/width", 1280, 320, 7680);
/// const double volume = reader.ReadFloat("sound/volume", 0.8, 0.0, 1.0);
/// const std::string quality = reader.ReadChoice("quality", "high", {"low", "high"});
/// for (const std::string& key : reader.UnaskedKeys(settings->Entries()))  // of both files
///   log->LogWarning("Nobody knows the setting '" + key + "'.");
/// ```
#pragma once

#include <common/config_file.h>
#include <common/message_log.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Common::Kit {

/// Reads settings of a store and warns of wrong ones.
///
/// Each reading operation adds a missing key to the store with the fallback's text, as the store's
/// own reads do. A wrong value gets one warning, however often it is read:
///
///     Setting 'window/width' is 'wide', not a whole number from 320 to 7680; using 1280.
///
/// A value that equals the fallback is never wrong, so a fallback may lie outside the range or
/// the set, for instance -1 for "not set". All operations throw what the store and the log do. For
/// one thread at a time.
class SettingsReader {
 public:
  /// One setting that was asked for, in the form of the first question.
  struct AskedSetting {
    /// The operation that it was asked by.
    enum class Kind {
      Text,    ///< ReadText
      Int,     ///< ReadInt
      Float,   ///< ReadFloat
      Switch,  ///< ReadSwitch
      Choice,  ///< ReadChoice
    };

    std::string key;                        ///< in the store
    Kind kind = Kind::Text;                 ///< how it is read
    std::string fallback;                   ///< as a text that the store may hold
    double lowest = 0.0;                    ///< of a number
    double highest = 0.0;                   ///< of a number
    std::vector<std::string> choices = {};  ///< of a choice
  };

  /// Reads from `store` and warns in `log`. REQUIRES: both outlive this object.
  SettingsReader(Config::SConfigFile& store, Log::SMessageLog& log);

  ~SettingsReader();

  SettingsReader(const SettingsReader&) = delete;
  SettingsReader& operator=(const SettingsReader&) = delete;

  /// The value of `key` as it is, also when it is empty. No text is wrong.
  std::string ReadText(const std::string& key, const std::string& fallback);

  /// The value of `key` as a whole number from `lowest` to `highest`, both included. What a number
  /// is, the store's GetInt decides: decimal digits behind an optional sign, and the grouping of
  /// the global locale.
  std::int32_t ReadInt(const std::string& key, std::int32_t fallback, std::int32_t lowest,
                       std::int32_t highest);

  /// The value of `key` as a number from `lowest` to `highest`, both included: decimal digits, with
  /// an optional sign, fraction behind a "." and exponent, whatever the locale. Hexadecimal
  /// numbers, infinities, "nan" and numbers too large for a double are wrong. A bound may be
  /// infinite.
  ///
  /// A missing key is added in the fewest digits that read back as the same double, or as the same
  /// float where the fallback is one: 0.8f as 0.8. Where it is, fractions are also compared as
  /// floats, so that 0.1 does not lie below a bound of 0.1f, and the fallback's own text reads as
  /// the fallback. Whole numbers below 2^53 are written and compared digit by digit.
  ///
  /// REQUIRES: `fallback` is finite.
  double ReadFloat(const std::string& key, double fallback, double lowest, double highest);

  /// The value of `key` as a switch: on, yes, true and 1 are true, off, no, false and 0 are false,
  /// in small or capital letters. A missing key is added as "on" or "off".
  bool ReadSwitch(const std::string& key, bool fallback);

  /// The value of `key` as one of the words in `choices`, byte for byte.
  std::string ReadChoice(const std::string& key, const std::string& fallback,
                         const std::vector<std::string>& choices);

  /// Sets `key` to the digits in which ReadFloat would add `value`. REQUIRES: `value` is finite.
  void WriteFloat(const std::string& key, double value);

  /// Sets `key` to "on" or "off".
  void WriteSwitch(const std::string& key, bool value);

  /// The keys of `entries` that no operation of this reader has read, in the byte order of the
  /// keys. Ask for all settings first. The entries may be those of the store, which also hold what
  /// other code has added, or those of one file by SConfigFile::ReadFile, which reports its bad
  /// lines again.
  std::vector<std::string> UnaskedKeys(const Config::ConfigEntries& entries) const;

  /// What was read so far, in the order in which it was first asked for. Enough for an options menu
  /// that has no list of its own.
  std::vector<AskedSetting> AskedSettings() const;

 private:
  struct State;

  std::unique_ptr<State> state;
};

}  // namespace Common::Kit
