#include "summary.h"

#include <chrono>
#include <cstdint>
#include <iomanip>

#include "content_files.h"
#include "phases.h"

namespace Harbor {
namespace {

// The time of a change may be rounded down, on Windows to whole seconds.
constexpr std::chrono::seconds TimeStampStep{1};

// A disk with less room counts as full: a failed write may have given some back.
constexpr std::uintmax_t LeastRoom = 64 * 1024;

// Of whole frames in the trace.
Common::Kit::Trace::Line FrameTimes(const Outcome& outcome) {
  for (const Common::Kit::Trace::Line& line : outcome.phases) {
    if (line.name == Phase::Frame) return line;
  }
  return {};
}

void PrintPhase(std::ostream& out, const Common::Kit::Trace::Line& phase) {
  out << "  " << std::left << std::setw(18) << phase.name << std::right << std::setw(8)
      << phase.count << std::setw(12) << phase.median << std::setw(20) << phase.percentile99
      << std::setw(13) << phase.maximum << '\n';
}

bool IsWrittenSince(std::filesystem::file_time_type begin, const std::string& file) {
  std::error_code isMissing;
  const auto written = std::filesystem::last_write_time(file, isMissing);
  if (isMissing || written + TimeStampStep < begin) return false;
  return std::filesystem::file_size(file, isMissing) > 0 && !isMissing;
}

// libc++ reports a full disk as an unknown amount.
bool IsDiskFull() {
  constexpr auto unknown = static_cast<std::uintmax_t>(-1);
  std::error_code failure;
  const std::uintmax_t available = std::filesystem::space(".", failure).available;
  return !failure && (available < LeastRoom || available == unknown);
}

}  // namespace

void PrintSummary(std::ostream& out, const Outcome& outcome) {
  const Tally& tally = outcome.tally;
  const Common::Kit::Trace::Line frames = FrameTimes(outcome);
  out << "\nframes         " << outcome.frames << " of " << outcome.settings.frames
      << "\nframe time     " << outcome.settings.frameTime << " us asked, median " << frames.median
      << " us, 99th percentile " << frames.percentile99 << " us"
      << "\ncargo moved    " << tally.tonnesAshore << " t"
      << "\nships          " << tally.unloaded << " unloaded, " << tally.calledAway
      << " called away, " << tally.refused << " refused, " << tally.leftInPort << " left in port"
      << "\nphase                  times   median us   99th percentile us   longest us\n";
  for (const Common::Kit::Trace::Line& phase : outcome.phases) PrintPhase(out, phase);
}

void PrintFilesWrittenSince(std::filesystem::file_time_type begin, std::ostream& out) {
  out << "files written  ";
  for (const std::string& file : WrittenFiles) {
    if (IsWrittenSince(begin, file)) out << file << ' ';
  }
  out << '\n';
}

std::string LossesSince(std::filesystem::file_time_type begin) {
  std::string losses;
  for (const std::string& file : WrittenFiles) {
    if (!IsWrittenSince(begin, file)) losses += "could not write " + file + "; ";
  }
  if (IsDiskFull()) losses += "the disk is full, so files may be cut short; ";
  return losses.substr(0, losses.rfind(';'));
}

}  // namespace Harbor
