#include "report_file.h"

#include <common/application_error_exception.h>
#include <vorn_lnk/shared_path>

#include <sstream>
#include <string_view>
#include <utility>

#include "../output_file.h"

namespace Common {
namespace {

constexpr std::string_view AccumulatorTitle = "Profile for accumulator: ";
constexpr std::string_view ColumnHeads = "Name\tTime[us]\tTime[s]\tCalls\tMeasure Cost[us]";

constexpr float MicrosecondsPerSecond = 1'000'000.0F;

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

void WriteReportFile(const std::string& path, const AccumulatorMap& accumulators) {
  // Made before opening truncates the file: after that nothing may fail.
  std::ostringstream report;  // the names are bytes; the numbers follow the global locale
  report.exceptions(std::ios::badbit);
  PrintReport(report, accumulators);
  const std::string text = std::move(report).str();

  OutputFile file(Vorn::PathFromUtf8(path), OutputFile::Mode::ReplaceSeekable);
  if (!file.IsOpen()) {
    throw ApplicationErrorException("Failed to open file " + path + " for writing!");
  }
  file.Write(text);
}

}  // namespace Common
