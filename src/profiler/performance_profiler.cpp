#include <common/content_paths.h>
#include <common/performance_profiler.h>

#include <string_view>

#include "report_file.h"

namespace Common {
namespace {

constexpr std::string_view ReportFileName = "profiler_data.csv";

}  // namespace

class PerformanceProfilerImpl final : public SPerformanceProfiler {
 public:
  ~PerformanceProfilerImpl() override {
    try {
      WriteReport({});
    } catch (...) {  // no folder or no memory, and nobody left to tell
    }
  }

  AccumulatorHandle OpenAccumulator(const std::string& name) override {
    auto entry = accumulators.find(name);
    if (entry == accumulators.end()) {
      entry = accumulators.emplace(name, std::vector{MeasureRecord{.name = name}}).first;
    }
    const AccumulatorHandle handle{0, &entry->second};
    MeasureRecord& first = handle.records->front();
    if (first.idle) Detail::StartMeasurement(first, Detail::ReadMonotonicMicroseconds());
    return handle;
  }

  void WriteReport(const std::string& path) override {
    WriteReportFile(path.empty() ? defaultPath : path, accumulators);
  }

  void WriteReportAndClear(const std::string& path) override {
    WriteReport(path);
    accumulators.clear();
  }

  AccumulatorMap Accumulators() override { return accumulators; }

 private:
  // Made now, since UtResultFolder may end before a profiler at a host's file scope does.
  const std::string defaultPath = (UtResultFolder + '/').append(ReportFileName);
  AccumulatorMap accumulators;
};

SPerformanceProfiler* ManufacturePerformanceProfiler() { return new PerformanceProfilerImpl; }

}  // namespace Common
