// Jobs that a process can do only once. Each is measured in a fresh process of this program.
#pragma once

#include <cstdint>
#include <string>

namespace Common::Bench {

// The argument that makes this program a probe, followed by the probe's name and its argument.
inline const std::string ProbeFlag = "--probe";

inline const std::string MakeLogProbe =
    "make_log";  // in the folder: how long the log's factory takes
inline const std::string KeepLinesProbe =
    "keep_lines";  // how long it takes to log so many lines into memory

double SecondsInFreshProcess(const std::string& probe, const std::string& argument);

// The probe's side: prints what it measured. Returns the exit code.
int RunProbe(const std::string& probe, const std::string& argument);

}  // namespace Common::Bench
