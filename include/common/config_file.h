// The process's settings: text keys with text values, read at start from
// `content/config/config.txt` and then from `content/config/user.txt`, which wins key by key, and
// written back to the former as one sorted file. A default exists only as an argument of a read,
// which also adds the key: so the saved file lists all that was ever asked for.
//
// A line of a file reads `key = value`. A key consists of letters, digits, `_`, `/` and `\` and
// starts its line; the value is what follows the first `=` and the white space behind it, up to the
// line's end. Anything else, comments included, is reported as an error, dropped, and gone after
// the next save.
//
//   const std::unique_ptr<Common::Config::SConfigFile> settings(Common::ManufactureConfigFile());
//   const std::int32_t width = settings->GetInt("window/width", 1280);  // in the file from now on
//
// Problems are reported to the log in the storage: enter it before the store is made, and drop it
// after the store has ended. Without a log they are thrown as Vorn::MissingInstance.
#pragma once

#include <common/common_services_export.h>
#include <vorn_lnk/shared_path>
#include <vorn_lnk/shared_type>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace Common::Config {

// Settings in the byte order of their keys.
using ConfigEntries = std::map<std::string, std::string>;

// For one thread at a time, across all stores and texts. Paths given as text are UTF-8.
struct VORN_LNK_SHARED_TYPE SConfigFile {
  // Writes the settings to the file that Save would write. A failure is reported if there is a log
  // and never thrown.
  virtual ~SConfigFile() = default;

  // The entries of `content`; of lines with one key the last. Each bad line is reported with `name`
  // and its number, counted from 1. Both line ends are understood. The store does not change.
  virtual ConfigEntries ParseContent(const std::string& content, const std::string& name) = 0;

  // The entries of the file, none if it does not exist. Throws std::filesystem::filesystem_error if
  // it is there and cannot be read whole. The store does not change.
  virtual ConfigEntries ReadFile(Vorn::SharedPath path) = 0;
  virtual ConfigEntries ReadFile(const std::string& path) = 0;

  // Makes `path` the file that Save and the destructor write, whether it exists or not; then reads
  // it and lays its entries over those of the store. Always true. Throws as ReadFile; the target
  // has then moved all the same, and the store is unchanged.
  virtual bool Load(const std::string& path) = 0;

  // Writes all settings to the main file, or to the one that Load named last.
  virtual void Save() = 0;

  // Replaces the file's content by `entries`, a line each. A file that cannot be opened is
  // reported; a disk that fills up is not noticed. The file is truncated and filled in place. The
  // store does not change.
  virtual void WriteFile(const ConfigEntries& entries, const Vorn::SharedPath& path) = 0;
  virtual void WriteFile(const ConfigEntries& entries, const std::string& path) = 0;

  // The text that WriteFile would write, each line ended by a bare line feed.
  virtual std::string FormatEntries(const ConfigEntries& entries) = 0;

  // The value of `key`, also when it is empty; a missing key is added with the default.
  virtual std::string GetString(const std::string& key, const std::string& defaultValue) = 0;

  // The value of `key` if there is one. The store does not change.
  virtual std::optional<std::string> FindString(const std::string& key) = 0;

  // Sets the value of `key`. Neither is tested: a key that is not one, a value that opens with
  // white space, ends in a carriage return, or holds a line feed or NUL is kept and written, and
  // read back as something else.
  virtual void SetString(const std::string& key, const std::string& value) = 0;

  // Sets the value of `key` to the decimal text of `value`, in the global locale.
  virtual void SetInt(const std::string& key, std::int32_t value) = 0;

  // The value of `key` as a number; a missing key is added with the default. A text that is not
  // wholly a 32-bit decimal number stays in the store and reads as the default. Follows the global
  // locale.
  virtual std::int32_t GetInt(const std::string& key, std::int32_t defaultValue) = 0;
};

}  // namespace Common::Config

namespace Common {

// Makes the process's one settings store, which the caller owns, and fills it from the two files;
// neither need exist. Throws ApplicationErrorException on every call but the first,
// std::filesystem::filesystem_error for a file that cannot be read, and Vorn::MissingInstance for a
// bad line without a log. For one thread at a time.
COMMON_SERVICES_EXPORT Config::SConfigFile* ManufactureConfigFile();

}  // namespace Common
