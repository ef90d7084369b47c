/// @file
/// The process's settings: text keys with text values. They are read at start from
/// `content/config/config.txt` and then from `content/config/user.txt`, which wins key by key, and
/// are written back to the former as one sorted file.
///
/// ```cpp
/// const std::unique_ptr<Common::Config::SConfigFile> settings(Common::ManufactureConfigFile());
/// const std::int32_t width = settings->GetInt("window/width", 1280);  // in the file from now on
/// ```
///
/// A default exists only as an argument of a read, which also adds the key. So the saved file lists
/// every key that was ever asked for.
///
/// The two files are read once, and the store does not remember which of them a value came from:
/// the first save writes the values of `user.txt` into `config.txt`, where they stay. A line added
/// to `config.txt` during a run is lost at the next save, the one at the store's end included.
///
/// A line of a file reads `key = value`. A key consists of letters, digits, `_`, `/` and `\`, and
/// starts its line. The value is the rest of the line behind the first `=` and the white space
/// after it. Every other line, a comment included, is reported as an error and gone after the next
/// save. Only empty lines, or those of carriage returns alone, are skipped silently.
///
/// `setlocale` decides what counts as a letter, a digit or white space, in every locale; a program
/// that never calls it has the ASCII ones. The C++ global locale has no part in this, unless a
/// named one is made global, which calls `setlocale` too.
///
/// Problems are reported to the log in the storage: enter it before the store is made, and drop it
/// after the store has ended. Without a log they are thrown as `Vorn::MissingInstance`.
#pragma once

#include <common/application_error_exception.h>
#include <common/common_services_export.h>
#include <vorn_lnk/shared_path>
#include <vorn_lnk/shared_type>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace Common::Config {

/// Settings in the byte order of their keys.
using ConfigEntries = std::map<std::string, std::string>;

/// The settings store. It serves one thread at a time, and no two texts may be read at the same
/// time in a process. Every operation may throw `std::bad_alloc`. A path given as text is UTF-8;
/// one that holds a NUL names a file that does not exist and cannot be opened.
struct VORN_LNK_SHARED_TYPE SConfigFile {
  /// Writes all settings to the file that `Save` would write, whether they have changed or not. A
  /// failure is reported if there is a log, and never thrown.
  virtual ~SConfigFile() = default;

  /// Reads settings text, whose lines end in line feeds, with or without carriage returns before
  /// them. Of several lines with one key the last counts. Each bad line is reported with `name` and
  /// its number, counted from 1. Returns the entries; the store does not change.
  ///
  /// Without a log, throws `Vorn::MissingInstance` for a bad line.
  virtual ConfigEntries ParseContent(const std::string& content, const std::string& name) = 0;

  /// Reads the file at `path` as `ParseContent` reads text, and reports its bad lines under the
  /// text of the path. Returns the entries, none if the file does not exist. The store does not
  /// change.
  ///
  /// Throws `std::filesystem::filesystem_error` if the file is there and cannot be read whole, or
  /// if the system does not tell whether it is there; and as `ParseContent`.
  virtual ConfigEntries ReadFile(Vorn::SharedPath path) = 0;

  /// Reads a file as the other `ReadFile`, with its path given as text.
  virtual ConfigEntries ReadFile(const std::string& path) = 0;

  /// Makes `path` the file that `Save` and the destructor write, whether it exists or not. Then
  /// reads it and lays its entries over those of the store, key by key; other keys stay. Always
  /// returns true.
  ///
  /// Throws as `ReadFile`. The entries of the store are then unchanged, but the target has moved:
  /// the next save, the one at the store's end included, overwrites the very file that could not be
  /// read. A host that wants to keep that file calls `Load` with another path first.
  virtual bool Load(const std::string& path) = 0;

  /// Writes all settings to the main file, or to the one that `Load` named last. Reports and throws
  /// as `WriteFile`.
  virtual void Save() = 0;

  /// Replaces the content of the file at `path` by `entries`, a line each, in the byte order of
  /// their keys. The store does not change. A file that cannot be opened is reported and left as it
  /// was; a folder is not made. Without a log, throws `Vorn::MissingInstance` for such a file.
  ///
  /// The file is truncated and filled in place. A disk that fills up is not noticed, and a crash in
  /// the middle leaves a part.
  virtual void WriteFile(const ConfigEntries& entries, const Vorn::SharedPath& path) = 0;

  /// Writes a file as the other `WriteFile`, with its path given as text.
  virtual void WriteFile(const ConfigEntries& entries, const std::string& path) = 0;

  /// Returns the text that `WriteFile` would write, each line ended by a bare line feed. The store
  /// does not change.
  virtual std::string FormatEntries(const ConfigEntries& entries) = 0;

  /// Returns the value of `key`, also when it is empty. A missing key is added with
  /// `defaultValue`.
  virtual std::string GetString(const std::string& key, const std::string& defaultValue) = 0;

  /// Returns the value of `key` if there is one. The store does not change.
  virtual std::optional<std::string> FindString(const std::string& key) = 0;

  /// Sets the value of `key`. Neither is checked; both are kept and written as they are. A key with
  /// other characters than the format allows makes a bad line for the next reader. A value that
  /// opens with white space, ends in a carriage return, or holds a line feed or a NUL comes back as
  /// another.
  virtual void SetString(const std::string& key, const std::string& value) = 0;

  /// Sets the value of `key` to the decimal text of `value`, grouped as the global C++ locale
  /// groups digits.
  virtual void SetInt(const std::string& key, std::int32_t value) = 0;

  /// Returns the value of `key` as a number. A missing key is added with the text of
  /// `defaultValue`, as `SetInt` would set it.
  ///
  /// A number is an optional sign and decimal digits, within 32 bits, with nothing around them, and
  /// perhaps grouped as in the global C++ locale. Any other text reads as `defaultValue` and stays
  /// in the store.
  virtual std::int32_t GetInt(const std::string& key, std::int32_t defaultValue) = 0;

  /// A copy of all settings. A store that does not offer this, such as a host's own, throws
  /// `ApplicationErrorException`, so that it is never taken for an empty one.
  virtual ConfigEntries Entries() {
    throw ApplicationErrorException("This settings store does not list its entries.");
  }

  /// Removes `key` with its value, so that neither is saved again. Returns whether it was there. A
  /// store that does not offer this throws `ApplicationErrorException`.
  virtual bool Remove(const std::string& /*key*/) {
    throw ApplicationErrorException("This settings store does not remove entries.");
  }
};

}  // namespace Common::Config

namespace Common {

/// Makes the process's one settings store and fills it from the two files, neither of which needs
/// to exist. The caller owns the store.
///
/// Throws `ApplicationErrorException` on every call but the first, also if that one failed or its
/// store has ended; `std::filesystem::filesystem_error` for a file that is there and cannot be
/// read, or if the system does not tell whether it is there; `std::bad_alloc`; and, without a log,
/// `Vorn::MissingInstance` for a bad line. For one thread at a time.
[[nodiscard]] COMMON_SERVICES_EXPORT Config::SConfigFile* ManufactureConfigFile();

}  // namespace Common
