#pragma once

#include <common/content_paths.h>

#include <array>
#include <string>

namespace Harbor {

// The files that a run writes, relative to the working directory.
inline const std::string SettingsFile = Common::ConfigFolder + "/" + Common::ConfigFileName;
inline const std::string LogFile = "zeb_log.txt";
inline const std::string ReportFile = Common::UtResultFolder + "/profiler_data.csv";
inline const std::string ThreadsReportFile = Common::UtResultFolder + "/threads.csv";
inline const std::string TraceFile = Common::UtResultFolder + "/trace.json";
inline const std::array WrittenFiles{SettingsFile, LogFile, ReportFile, TraceFile};

// Holds the waiting lines of the log during a run; gone after it.
inline const std::string GuardFile = "zeb_log.guard";

// Makes `directory` (UTF-8) the working directory, and makes the report's folder in it if that is
// missing, with a warning. Throws std::runtime_error with a text for the user if the content is
// missing or a file cannot be written: the services would go on and say so late or never.
void PrepareDirectory(const std::string& directory);

}  // namespace Harbor
