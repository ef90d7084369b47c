/// @file
/// Settings with a type and a range, on top of the store, which knows only text. A wrong value
/// counts as the fallback and gets a warning in the log, but stays in the store for the user to
/// fix. The reader remembers what was asked for, so it can tell which keys of a file nobody knows,
/// and what an options menu has to offer.
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

/// Reads settings of a store. A missing key is added to the store with the fallback's text, as the
/// store's own reads do. A wrong value gets one warning, however often it is read:
///
///     Setting 'window/width' is 'wide', not a whole number from 320 to 7680; using 1280.
///
/// A value that equals the fallback is never wrong, so a fallback may lie outside the range or the
/// set, as -1 for "not set". Throws what the store and the log throw. For one thread at a time.
class SettingsReader {
 public:
  /// A setting as it was first asked for.
  struct AskedSetting {
    /// The operation that read it.
    enum class Kind {
      Text,    ///< ReadText
      Int,     ///< ReadInt
      Float,   ///< ReadFloat
      Switch,  ///< ReadSwitch
      Choice,  ///< ReadChoice
    };

    std::string key;                        ///< its name in the store
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

  /// The value of `key` as it is. No text is wrong, not even an empty one.
  std::string ReadText(const std::string& key, const std::string& fallback);

  /// The value of `key` as a whole number from `lowest` to `highest`, both included, read by the
  /// store's GetInt: decimal digits with an optional sign, and the grouping of the global locale.
  std::int32_t ReadInt(const std::string& key, std::int32_t fallback, std::int32_t lowest,
                       std::int32_t highest);

  /// The value of `key` as a number from `lowest` to `highest`, both included; a bound may be
  /// infinite. Decimal digits, with an optional sign, fraction behind a "." and exponent, whatever
  /// the locale. Hexadecimal numbers, infinities, "nan" and numbers too large for a double are
  /// wrong.
  ///
  /// A missing key is added in the fewest digits that read back as the same double. If the fallback
  /// is exactly a float, float precision is enough: 0.8f is written as 0.8, which reads back as
  /// 0.8f. Fractions are then also compared as floats, so 0.1 is not below a bound of 0.1f. Whole
  /// numbers below 2^53 are always written and compared in full.
  ///
  /// REQUIRES: `fallback` is finite.
  double ReadFloat(const std::string& key, double fallback, double lowest, double highest);

  /// The value of `key` as a switch: on, yes, true and 1 are true, off, no, false and 0 are false,
  /// in small or capital letters. A missing key is added as "on" or "off".
  bool ReadSwitch(const std::string& key, bool fallback);

  /// The value of `key` as one of `choices`, compared byte for byte.
  std::string ReadChoice(const std::string& key, const std::string& fallback,
                         const std::vector<std::string>& choices);

  /// Sets `key` to `value`, written as ReadFloat would add it. REQUIRES: `value` is finite.
  void WriteFloat(const std::string& key, double value);

  /// Sets `key` to "on" or "off".
  void WriteSwitch(const std::string& key, bool value);

  /// The keys of `entries` that this reader has not read, in byte order. Read all settings first.
  /// The entries may be those of the store, which also hold what other code has added, or those of
  /// one file by SConfigFile::ReadFile, which reports its bad lines again.
  std::vector<std::string> UnaskedKeys(const Config::ConfigEntries& entries) const;

  /// All settings read so far, in the order in which each was first asked for.
  std::vector<AskedSetting> AskedSettings() const;

 private:
  struct State;

  std::unique_ptr<State> state;
};

}  // namespace Common::Kit
