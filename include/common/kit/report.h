/// @file
/// One report of several profilers. A profiler serves one thread, so each thread that measures has
/// its own, and the report that each writes at its end replaces the one before.
///
/// ```cpp
/// const std::unique_ptr<Common::SPerformanceProfiler> ofWorker(
///     Common::ManufacturePerformanceProfiler());
/// std::thread worker([&] { UnloadShips(*ofWorker); });
/// RunFrames(*profiler);
/// worker.join();
/// Common::Kit::WriteReport("harbor.csv", {profiler, ofWorker.get()});
/// ```
#pragma once

#include <common/performance_profiler.h>

#include <string>
#include <vector>

namespace Common::Kit {

/// Writes the accumulators of all `profilers` to one file, in the form and with the failures of
/// `SPerformanceProfiler::WriteReport`.
///
/// Accumulators of the same name become one, and so do their records: times, calls and costs are
/// added up. Records stand in the order in which they are first found, one profiler after the
/// other. A profiler that is named twice counts twice; one that does not offer `Accumulators` adds
/// nothing. The profilers do not change.
///
/// The path is UTF-8. An empty one is a failure, since each profiler's own report at its end
/// replaces the default file.
///
/// REQUIRES: no pointer is null, and no other thread uses the profilers or their handles meanwhile.
void WriteReport(const std::string& path, const std::vector<SPerformanceProfiler*>& profilers);

}  // namespace Common::Kit
