#include "summary.h"

#include <algorithm>
#include <iomanip>

#include "content_check.h"

namespace Harbor {
namespace {

// The smallest of `values` that `percent` of them do not exceed.
std::uint64_t Percentile(std::vector<std::uint64_t> values, std::size_t percent) {
  if (values.empty()) return 0;
  const auto found = values.begin() + static_cast<std::ptrdiff_t>((values.size() * percent + 99) / 100 - 1);
  std::nth_element(values.begin(), found, values.end());
  return *found;
}

void PrintPhases(std::ostream& out, const std::vector<Common::MeasureRecord>& phases) {
  out << std::left << std::setw(20) << "phase" << std::right << std::setw(10) << "calls" << std::setw(12) << "us a call"
      << std::setw(10) << "ms\n";
  out << std::fixed << std::setprecision(1);
  for (const Common::MeasureRecord& phase : phases) {
    const auto total = static_cast<double>(phase.totalTime);
    out << "  " << std::left << std::setw(18) << phase.name << std::right << std::setw(10) << phase.calls
        << std::setw(12) << total / static_cast<double>(std::max<std::uint64_t>(phase.calls, 1)) << std::setw(9)
        << total / 1000 << '\n';
  }
}

}  // namespace

void PrintSummary(std::ostream& out, const Outcome& outcome) {
  const Tally& tally = outcome.tally;
  out << "\nframes              " << outcome.frameTimes.size() << " of " << outcome.settings.frames
      << "\nframe time          " << outcome.settings.frameTime << " us asked, median "
      << Percentile(outcome.frameTimes, 50) << " us, 99th percentile " << Percentile(outcome.frameTimes, 99) << " us"
      << "\ncargo moved         " << tally.tonnesAshore << " t"
      << "\nships               " << tally.unloaded << " unloaded, " << tally.calledAway << " called away, "
      << tally.refused << " refused, " << tally.leftInPort << " still in port\n";
  PrintPhases(out, outcome.phases);
  out << "files written";
  const char* separator = "       ";
  for (const std::string& file : WrittenFiles()) {
    out << separator << file;
    separator = ", ";
  }
  out << '\n';
}

}  // namespace Harbor
