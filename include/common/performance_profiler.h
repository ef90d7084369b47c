/// @file
/// Named accumulators of measured time, written as a tab-separated report: when a host asks for it,
/// and when the profiler ends. A profiler and its handles serve one thread at a time. Times are
/// whole microseconds of the steady clock.
///
/// ```cpp
/// auto frame = profiler->OpenAccumulator("frame");  // starts the record "frame/frame"
/// Simulate();
/// frame.GoOnTo("draw");                             // ends it and starts "frame/draw"
/// Draw();
/// frame.Stop();
///
/// Common::ScopedMeasurement load(profiler->OpenAccumulator("load"));  // ends with its scope
/// ```
#pragma once

#include <common/common_services_export.h>
#include <common/measure_cost.h>
#include <vorn_lnk/shared_type>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Common {

/// One row of the report. Hosts change it through `AccumulatorHandle` and may read it at any time.
struct MeasureRecord {
  bool idle = true;               ///< no measurement is running on this record
  std::string name;               ///< what the report shows behind the accumulator's name
  std::uint64_t started = 0;      ///< when the running measurement started, microseconds
  std::uint64_t totalTime = 0;    ///< of all measurements that have ended, microseconds
  std::uint64_t measureCost = 0;  ///< the part of `totalTime` that reading the clock took
  std::uint64_t calls = 0;        ///< how many measurements have ended
};

/// Stands for one accumulator and, in it, for the record that is being measured. Made by
/// `SPerformanceProfiler::OpenAccumulator`. Copies share the records, but each has its own
/// position.
///
/// A record measures one thing at a time. Starting it while it runs changes nothing: the first
/// start counts, and the first stop ends it for all. Stopping it while it is idle changes nothing
/// and counts no call.
///
/// REQUIRES, for each operation: the handle came from a profiler that still lives and that has not
/// been cleared since.
struct AccumulatorHandle {
  std::uint64_t position = 0;                     ///< of the record that is being measured
  std::vector<MeasureRecord>* records = nullptr;  ///< the accumulator's, which owns them

  /// Ends the measurement of the current record: adds the time since its start, one call, and what
  /// it cost to read the clock.
  void Stop() const;

  /// Ends the measurement of the current record and starts one on the record called `name`, both at
  /// the same reading of the clock. A new name makes a record behind the others; the accumulator's
  /// own name leads back to its first. Going on to the current record ends its measurement and
  /// starts the next.
  ///
  /// Throws std::bad_alloc if a record must be made; the measurement then runs on.
  void GoOnTo(const std::string& name);

 private:
  std::uint64_t FindOrMakeRecord(const std::string& name) const;
};

/// Ends a measurement with its scope, on return or exception.
class ScopedMeasurement {
 public:
  /// Takes over the measurement that `running` stands for.
  [[nodiscard]] explicit ScopedMeasurement(AccumulatorHandle running) : handle(running) {}

  /// Ends the measurement of the current record.
  ~ScopedMeasurement() { handle.Stop(); }

  ScopedMeasurement(const ScopedMeasurement&) = delete;
  ScopedMeasurement& operator=(const ScopedMeasurement&) = delete;

  /// Does what `AccumulatorHandle::GoOnTo` does.
  void GoOnTo(const std::string& name) { handle.GoOnTo(name); }

 private:
  AccumulatorHandle handle;
};

/// The accumulators and their report. It serves one thread at a time.
struct VORN_LNK_SHARED_TYPE SPerformanceProfiler {
  /// Writes the report to the default path and frees the accumulators. Throws nothing: without the
  /// folder `content/ut_result` the report is silently lost.
  ///
  /// This always replaces the file: one that `WriteReportAndClear("")` has written is left empty
  /// but for a line end, and of several profilers the last to end leaves its report. Give a report
  /// that you want to keep its own path.
  virtual ~SPerformanceProfiler() = default;

  /// Finds the accumulator called `name`, or makes it, and starts its first record if that is idle.
  /// Any bytes make a name. Throws std::bad_alloc.
  virtual AccumulatorHandle OpenAccumulator(const std::string& name) = 0;

  /// Writes all accumulators to the file at `path`, replacing its content. The path is UTF-8; an
  /// empty one means `content/ut_result/profiler_data.csv`. Folders are not made.
  ///
  /// The text starts with an empty line. A block follows for each accumulator, in the byte order of
  /// their names: the line `Profile for accumulator: `, a tab and the name; an empty line; the
  /// heads of the columns; a line for each record, in the order of their making; an empty line. The
  /// columns, with a tab between them, are
  /// - `Name`: the names of accumulator and record, with a slash between them
  /// - `Time[us]`: the microseconds of all measurements that have ended
  /// - `Time[s]`: the same in seconds, in single precision, with six significant digits
  /// - `Calls`: how many measurements have ended
  /// - `Measure Cost[us]`: how much of the time was spent on reading the clock
  ///
  /// Names are written as they are, tabs and line ends included. Numbers follow the global locale.
  /// A running measurement is not in the sums.
  ///
  /// Throws ApplicationErrorException if the file cannot be opened, also for a path with a NUL in
  /// it; std::bad_alloc; and what a facet of the host's locale throws. The file is then unchanged.
  /// A full disk silently cuts the report short.
  virtual void WriteReport(const std::string& path) = 0;

  /// As `WriteReport`, and then frees all accumulators, unless it threw. Every handle is invalid
  /// after that: open its accumulator again.
  virtual void WriteReportAndClear(const std::string& path) = 0;

  /// A copy of all accumulators by their names, each with its records in the order of their making.
  /// A running measurement is not in the sums. A profiler that does not offer this returns none.
  /// Throws std::bad_alloc.
  virtual std::map<std::string, std::vector<MeasureRecord>> Accumulators() { return {}; }
};

/// Makes a profiler, which the caller owns. A process may have several, each with accumulators of
/// its own. Throws std::bad_alloc. Any thread.
[[nodiscard]] COMMON_SERVICES_EXPORT SPerformanceProfiler* ManufacturePerformanceProfiler();

namespace Detail {

/// Starts a measurement at `now`, in microseconds, unless one is running.
inline void StartMeasurement(MeasureRecord& record, std::uint64_t now) {
  if (!record.idle) return;
  record.idle = false;
  record.started = now;
}

/// Ends the measurement that is running, if any, at `now`, in microseconds.
inline void StopMeasurement(MeasureRecord& record, std::uint64_t now) {
  if (record.idle) return;
  record.idle = true;
  record.totalTime += now - record.started;

  // One call costs far less than a microsecond, so not each cost is rounded, but their sum.
  const std::uint64_t cost = NanosecondsOfMeasuring();
  record.measureCost += (record.calls + 1) * cost / 1000 - record.calls * cost / 1000;
  ++record.calls;
}

}  // namespace Detail

inline void AccumulatorHandle::Stop() const {
  assert(records != nullptr && position < records->size() && "the handle came from no profiler");
  Detail::StopMeasurement((*records)[position], Detail::ReadMonotonicMicroseconds());
}

inline void AccumulatorHandle::GoOnTo(const std::string& name) {
  assert(records != nullptr && position < records->size() && "the handle came from no profiler");
  const std::uint64_t now = Detail::ReadMonotonicMicroseconds();
  const std::uint64_t next = FindOrMakeRecord(name);
  Detail::StopMeasurement((*records)[position], now);
  Detail::StartMeasurement((*records)[next], now);
  position = next;
}

// Phases mostly come in the same order, so the search starts behind the current record.
inline std::uint64_t AccumulatorHandle::FindOrMakeRecord(const std::string& name) const {
  const auto isNamed = [&name](const MeasureRecord& record) { return record.name == name; };
  const auto behind = records->begin() + static_cast<std::ptrdiff_t>(position) + 1;
  auto found = std::find_if(behind, records->end(), isNamed);
  if (found == records->end()) {
    found = std::find_if(records->begin(), behind, isNamed);
    if (found == behind) found = records->insert(records->end(), MeasureRecord{.name = name});
  }
  return static_cast<std::uint64_t>(found - records->begin());
}

// Hosts that were built apart share this memory, so its layout never changes. Not offsetof:
// Microsoft's macro is no constant expression.
static_assert(__builtin_offsetof(MeasureRecord, idle) == 0 &&
              __builtin_offsetof(MeasureRecord, name) == 8);
static_assert(__builtin_offsetof(MeasureRecord, started) == 8 + sizeof(std::string));
static_assert(__builtin_offsetof(MeasureRecord, totalTime) ==
              __builtin_offsetof(MeasureRecord, started) + 8);
static_assert(__builtin_offsetof(MeasureRecord, measureCost) ==
              __builtin_offsetof(MeasureRecord, started) + 16);
static_assert(__builtin_offsetof(MeasureRecord, calls) ==
              __builtin_offsetof(MeasureRecord, started) + 24);
static_assert(__builtin_offsetof(AccumulatorHandle, position) == 0 &&
              __builtin_offsetof(AccumulatorHandle, records) == 8);
static_assert(sizeof(MeasureRecord) == 40 + sizeof(std::string) && sizeof(AccumulatorHandle) == 16);

}  // namespace Common
