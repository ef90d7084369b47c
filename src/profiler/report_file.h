#pragma once

#include <common/performance_profiler.h>

namespace Common {

using AccumulatorMap = std::map<std::string, std::vector<MeasureRecord>>;

// Writes the report to the file at `path` (UTF-8), replacing its content. Throws
// ApplicationErrorException if the file cannot be opened. After an exception it is unchanged.
void WriteReportFile(const std::string& path, const AccumulatorMap& accumulators);

}  // namespace Common
