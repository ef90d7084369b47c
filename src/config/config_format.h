#pragma once

#include <common/config_file.h>

#include <functional>
#include <memory>

namespace Common {

using ErrorReport = std::function<void(const std::string& message)>;

// A share of the grammar. A store takes one when it is made, since a store at a host's file scope
// may still read after this module's constants have ended.
std::shared_ptr<const void> ShareGrammar();

// Reads text as SConfigFile::ParseContent does. Each bad line goes to `report`, whose exceptions
// reach the caller. REQUIRES: somebody holds a share of the grammar.
Config::ConfigEntries ParseEntries(const std::string& content, const std::string& name,
                                   const ErrorReport& report);

// A line `key = value` for each entry.
std::string FormatEntryLines(const Config::ConfigEntries& entries);

}  // namespace Common
