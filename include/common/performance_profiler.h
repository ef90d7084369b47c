// Named accumulators of measured time, written as a tab-separated report: on request, and when the
// profiler ends.
//
//   auto frame = profiler->OpenAccumulator("frame");  // starts the record "frame/frame"
//   ...
//   frame.GoOnTo("simulation");                       // stops it and starts "frame/simulation"
//   ...
//   frame.Stop();
//
// or, where a scope or an exception ends the measurement:
//
//   Common::ScopedMeasurement load(profiler->OpenAccumulator("load"));
//
// A profiler with its handles serves one thread at a time. Times are whole microseconds of the
// steady clock.
#pragma once

#include <common/common_services_export.h>
#include <vorn_lnk/shared_type>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Common {

// One row of the report. Hosts read it and change it through AccumulatorHandle.
struct MeasureRecord {
  bool idle = true;  // no measurement runs on this record
  std::string name;
  std::uint64_t started = 0;      // when the running measurement started
  std::uint64_t totalTime = 0;    // of all measurements that ended, what measuring took included
  std::uint64_t measureCost = 0;  // what the clock took to read for them
  std::uint64_t calls = 0;        // measurements that ended
};

namespace Detail {

inline std::uint64_t ReadMonotonicMicroseconds() {
  const std::chrono::nanoseconds reading = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(reading.count()) / 1000;
}

// What one measurement spends on reading the clock, once to start and once to stop: twice the mean
// of 100 readings in a row, the best of ten such runs. Found at the first stop in a module, which
// takes some 50 us: where that is a GoOnTo, the record it starts contains them.
inline std::uint64_t NanosecondsOfMeasuring() {
  static const std::uint64_t cost = [] {
    constexpr int Runs = 10;
    constexpr int ReadingsPerRun = 100;
    std::chrono::nanoseconds best = std::chrono::nanoseconds::max();
    for (int run = 0; run < Runs; ++run) {
      const auto before = std::chrono::steady_clock::now();
      auto after = before;
      for (int reading = 0; reading < ReadingsPerRun; ++reading)
        after = std::chrono::steady_clock::now();
      best = std::min<std::chrono::nanoseconds>(best, after - before);
    }
    return static_cast<std::uint64_t>(2 * best.count() / ReadingsPerRun);
  }();
  return cost;
}

inline void StartMeasurement(MeasureRecord& record, std::uint64_t now) {
  if (!record.idle) return;
  record.idle = false;
  record.started = now;
}

// The cost is far below a microsecond, so what is added is the growth of the rounded sum over all
// calls.
inline void StopMeasurement(MeasureRecord& record, std::uint64_t now) {
  if (record.idle) return;
  const std::uint64_t cost = NanosecondsOfMeasuring();
  record.idle = true;
  record.totalTime += now - record.started;
  record.measureCost += (record.calls + 1) * cost / 1000 - record.calls * cost / 1000;
  ++record.calls;
}

}  // namespace Detail

// A value that stands for one accumulator and, in it, for the record that is measured now. Copies
// go their own ways but share the records. Dead after WriteReportAndClear and after the profiler's
// end.
//
// Nesting: a record measures one thing at a time. Starting it while it runs changes nothing: the
// first start counts, and the first stop ends it for all. Stopping it while it is idle changes
// nothing and counts no call.
struct AccumulatorHandle {
  std::uint64_t position;               // of the record that is measured now, 0 in a new handle
  std::vector<MeasureRecord>* records;  // not owning

  // Stops the present record: adds the time since its start, one call and the cost of reading the
  // clock.
  void Stop() const {
    Detail::StopMeasurement((*records)[position], Detail::ReadMonotonicMicroseconds());
  }

  // Stops the present record, moves to the one called `name` and starts that at the same clock
  // reading. A name that is new becomes the accumulator's last record; the accumulator's own name
  // leads back to its first. Throws std::bad_alloc while it makes a record; the present one then
  // goes on.
  void GoOnTo(const std::string& name) {
    const std::uint64_t now = Detail::ReadMonotonicMicroseconds();
    const std::uint64_t next = FindOrMakeRecord(name);
    Detail::StopMeasurement((*records)[position], now);
    Detail::StartMeasurement((*records)[next], now);
    position = next;
  }

 private:
  // Phases mostly follow each other as they did before, so the search begins behind the present
  // record.
  std::uint64_t FindOrMakeRecord(const std::string& name) const {
    const auto isNamed = [&name](const MeasureRecord& record) { return record.name == name; };
    const auto behind = records->begin() + static_cast<std::ptrdiff_t>(position) + 1;
    auto found = std::find_if(behind, records->end(), isNamed);
    if (found == records->end()) {
      found = std::find_if(records->begin(), behind, isNamed);
      if (found == behind) found = records->insert(records->end(), MeasureRecord{.name = name});
    }
    return static_cast<std::uint64_t>(found - records->begin());
  }
};

namespace Detail {

// Hosts that were built apart share this memory too.
static_assert(offsetof(MeasureRecord, idle) == 0 && offsetof(MeasureRecord, name) == 8);
static_assert(offsetof(MeasureRecord, started) == 8 + sizeof(std::string));
static_assert(offsetof(MeasureRecord, totalTime) == offsetof(MeasureRecord, started) + 8);
static_assert(offsetof(MeasureRecord, measureCost) == offsetof(MeasureRecord, started) + 16);
static_assert(offsetof(MeasureRecord, calls) == offsetof(MeasureRecord, started) + 24);
static_assert(offsetof(AccumulatorHandle, position) == 0 &&
              offsetof(AccumulatorHandle, records) == 8);
static_assert(sizeof(MeasureRecord) == 40 + sizeof(std::string) && sizeof(AccumulatorHandle) == 16);

}  // namespace Detail

// Stops its measurement when the scope ends, by whatever way.
class ScopedMeasurement {
 public:
  explicit ScopedMeasurement(AccumulatorHandle measured) : handle(measured) {}
  ~ScopedMeasurement() { handle.Stop(); }

  ScopedMeasurement(const ScopedMeasurement&) = delete;
  ScopedMeasurement& operator=(const ScopedMeasurement&) = delete;

  // As AccumulatorHandle::GoOnTo.
  void GoOnTo(const std::string& name) { handle.GoOnTo(name); }

 private:
  AccumulatorHandle handle;
};

struct VORN_LNK_SHARED_TYPE SPerformanceProfiler {
  // Writes the report to the default path, if it can, and frees the accumulators.
  virtual ~SPerformanceProfiler() = default;

  // The accumulator of this name, made if missing, with its first record started if that was idle.
  virtual AccumulatorHandle OpenAccumulator(const std::string& name) = 0;

  // Writes all accumulators, in the byte order of their names, to the file, in place of what it
  // held. An empty path stands for `content/ut_result/profiler_data.csv`. UTF-8. Makes no folder.
  // Throws ApplicationErrorException if the file cannot be opened; a disk that fills up is not
  // noticed.
  virtual void WriteReport(const std::string& path) = 0;

  // As WriteReport; then frees all accumulators, if nothing was thrown. All handles are dead after
  // it.
  virtual void WriteReportAndClear(const std::string& path) = 0;
};

// Makes a profiler, which the caller owns. A process may have several.
COMMON_SERVICES_EXPORT SPerformanceProfiler* ManufacturePerformanceProfiler();

}  // namespace Common
