#pragma once

#include <common/config_file.h>

#include <functional>
#include <memory>

namespace Common {

// Takes one finished message about an error.
using ErrorReport = std::function<void(const std::string& message)>;

// A share of the grammar, which is one of the module's constants. A store at a host's file scope
// may still read when these have ended, so it takes a share when it is made.
std::shared_ptr<const void> ShareGrammar();

// Reads text into entries, as SConfigFile::ParseContent. Each bad line goes to `report`; what that
// throws ends the reading and passes to the caller. REQUIRES: the grammar lives.
Config::ConfigEntries ParseEntries(const std::string& content, const std::string& name,
                                   const ErrorReport& report);

// A line `key = value` for each entry.
std::string FormatEntryLines(const Config::ConfigEntries& entries);

}  // namespace Common
