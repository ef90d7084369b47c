/// @file
/// One report of several profilers. A profiler serves one thread, so threads that measure have one
/// each, and the report that each writes at its end replaces the one before.
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
/// Of accumulators that have one name it makes one, and so of their records: times, calls and costs
/// are added up. Records stand in the order in which the profilers, taken one after the other, show
/// them first. A profiler that is named twice counts twice; one that does not offer `Accumulators`
/// adds nothing. The profilers do not change.
///
/// The path is UTF-8. It is a path of the host's own: the default one is replaced at the end of
/// each profiler, so an empty path stands for no file here and is a failure.
///
/// REQUIRES: no pointer is null, and no other thread uses one of the profilers meanwhile, or a
/// handle of theirs.
void WriteReport(const std::string& path, const std::vector<SPerformanceProfiler*>& profilers);

}  // namespace Common::Kit
