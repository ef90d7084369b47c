#pragma once

#include <common/config_file.h>

namespace Common {

// Reads text into entries and reports bad lines, as SConfigFile::ParseContent.
Config::ConfigEntries ParseEntries(const std::string& content, const std::string& name);

// A line `key = value` for each entry.
std::string FormatEntryLines(const Config::ConfigEntries& entries);

// Reports an error to the log in the storage. Throws Vorn::MissingInstance if there is none.
void ReportError(const std::string& text);

}  // namespace Common
