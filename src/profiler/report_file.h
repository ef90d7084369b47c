#pragma once

#include <common/performance_profiler.h>

namespace Common {

using AccumulatorMap = std::map<std::string, std::vector<MeasureRecord>>;

// Writes the report of the accumulators to the file at `path` (UTF-8), in place of what it held.
// Throws ApplicationErrorException if the file cannot be opened. After any exception the file is as
// it was.
void WriteReportFile(const std::string& path, const AccumulatorMap& accumulators);

}  // namespace Common
