#pragma once

#include <common/config_file.h>

#include <functional>

namespace Common {

// Takes one finished message about an error.
using ErrorReport = std::function<void(const std::string& message)>;

// Reads text into entries, as SConfigFile::ParseContent. Each bad line goes to `report`; what that
// throws ends the reading and passes to the caller.
Config::ConfigEntries ParseEntries(const std::string& content, const std::string& name,
                                   const ErrorReport& report);

// A line `key = value` for each entry.
std::string FormatEntryLines(const Config::ConfigEntries& entries);

}  // namespace Common
