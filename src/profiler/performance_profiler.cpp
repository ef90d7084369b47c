#include <common/application_error_exception.h>
#include <common/content_paths.h>
#include <common/performance_profiler.h>
#include <vorn_lnk/shared_path>

#include <map>
#include <sstream>
#include <string_view>
#include <utility>

#include "../output_file.h"

namespace Common {
namespace {

constexpr std::string_view ReportFileName = "profiler_data.csv";
constexpr std::string_view AccumulatorTitle = "Profile for accumulator: ";
constexpr std::string_view ColumnHeads = "Name\tTime[us]\tTime[s]\tCalls\tMeasure Cost[us]";

constexpr float MicrosecondsPerSecond = 1'000'000.0F;

using AccumulatorMap = std::map<std::string, std::vector<MeasureRecord>>;

void PrintRecord(std::ostream& report, const std::string& accumulator,
                 const MeasureRecord& record) {
  report << accumulator << '/' << record.name << '\t' << record.totalTime << '\t'
         << static_cast<float>(record.totalTime) / MicrosecondsPerSecond << '\t' << record.calls
         << '\t' << record.measureCost << '\n';
}

void PrintReport(std::ostream& report, const AccumulatorMap& accumulators) {
  report << '\n';
  for (const auto& [name, records] : accumulators) {
    report << AccumulatorTitle << '\t' << name << "\n\n" << ColumnHeads << '\n';
    for (const MeasureRecord& record : records) PrintRecord(report, name, record);
    report << '\n';
  }
}

}  // namespace

class PerformanceProfilerImpl final : public SPerformanceProfiler {
 public:
  ~PerformanceProfilerImpl() override {
    try {
      WriteReport({});
    } catch (...) {  // without the folder, or memory, there is no report, and nobody left to tell
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
    const std::string chosen = path.empty() ? defaultPath : path;
    // Nothing may fail once opening has cut the file, so the text is there before.
    std::ostringstream report;  // the names are bytes; the numbers follow the global locale
    report.exceptions(std::ios::badbit);
    PrintReport(report, accumulators);
    const std::string text = std::move(report).str();

    OutputFile file(Vorn::PathFromUtf8(chosen), OutputFile::Mode::ReplaceAtEnd);
    if (!file.IsOpen()) {
      throw ApplicationErrorException("Failed to open file " + chosen + " for writing!");
    }
    file.Write(text);
  }

  void WriteReportAndClear(const std::string& path) override {
    WriteReport(path);
    accumulators.clear();
  }

  AccumulatorMap Accumulators() override { return accumulators; }

 private:
  // Made in time: the folder's name may end before a profiler that a host keeps at file scope.
  const std::string defaultPath = (UtResultFolder + '/').append(ReportFileName);
  AccumulatorMap accumulators;
};

SPerformanceProfiler* ManufacturePerformanceProfiler() { return new PerformanceProfilerImpl; }

}  // namespace Common
