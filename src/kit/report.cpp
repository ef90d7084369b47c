#include <common/kit/report.h>

#include <algorithm>
#include <cassert>

#include "../profiler/report_file.h"

namespace Common::Kit {
namespace {

void AddRecord(std::vector<MeasureRecord>& sums, const MeasureRecord& record) {
  const auto sum = std::find_if(sums.begin(), sums.end(), [&record](const MeasureRecord& known) {
    return known.name == record.name;
  });
  if (sum == sums.end()) {
    sums.push_back(record);
    return;
  }
  sum->totalTime += record.totalTime;
  sum->measureCost += record.measureCost;
  sum->calls += record.calls;
}

void AddAccumulators(AccumulatorMap& sums, const AccumulatorMap& accumulators) {
  for (const auto& [name, records] : accumulators) {
    std::vector<MeasureRecord>& sumsOfName = sums[name];
    for (const MeasureRecord& record : records) AddRecord(sumsOfName, record);
  }
}

}  // namespace

void WriteReport(const std::string& path, const std::vector<SPerformanceProfiler*>& profilers) {
  AccumulatorMap sums;
  for (SPerformanceProfiler* const profiler : profilers) {
    assert(profiler != nullptr && "a report of a profiler that is not there");
    AddAccumulators(sums, profiler->Accumulators());
  }
  WriteReportFile(path, sums);
}

}  // namespace Common::Kit
