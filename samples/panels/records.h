#pragma once

#include <common/performance_profiler.h>

namespace Panels {

// The records of a profiler, as its report will list them. For the thread that measures.
void DrawRecords(Common::SPerformanceProfiler& profiler);

}  // namespace Panels
