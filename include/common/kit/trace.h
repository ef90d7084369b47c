/// @file
/// The last measurements one by one, beside the sums of the profiler: a sum tells that frames take
/// 12 ms on average, a trace shows the one that took 40 and what it spent them on. Perfetto's
/// viewer and chrome://tracing open the file that it writes.
///
/// ```cpp
/// Common::Kit::Trace trace(10'000, "main");
/// {
///   Common::Kit::TracedMeasurement frame(profiler->OpenAccumulator("frame"), trace);
///   frame.GoOnTo("simulation");
///   Simulate();
///   frame.GoOnTo("drawing");
///   Draw();
/// }
/// std::ofstream file("trace.json");
/// trace.WriteJson(file);
/// ```
#pragma once

#include <common/performance_profiler.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Common::Kit {

class TracedMeasurement;

/// A ring of the measurements that ended last, filled by TracedMeasurement. For one thread at a
/// time, as a profiler is. REQUIRES: it outlives its measurements.
///
/// It keeps each phase, which is the time of one record, and behind the last phase the whole, which
/// is the time from the start of the first phase to the end of the last. A phase is named after
/// accumulator and record, as `frame/simulation`, a whole after its accumulator alone.
///
/// All memory for measurements is taken at the start, 24 bytes each. A name takes memory when its
/// record is first measured; without memory for it, its measurement is left out. Nothing else
/// allocates while measuring.
class Trace {
 public:
  /// What the ring holds under one name, in microseconds. Each time is one that was measured.
  struct Line {
    std::string name;                ///< of a phase or a whole
    std::uint64_t count = 0;         ///< how many measurements
    std::uint64_t minimum = 0;       ///< the shortest
    std::uint64_t median = 0;        ///< half of them took no longer
    std::uint64_t percentile99 = 0;  ///< 99 % of them took no longer
    std::uint64_t maximum = 0;       ///< the longest
  };

  /// One phase or whole, in microseconds of the steady clock.
  struct Measurement {
    std::string_view name;       ///< good for as long as the trace lives
    std::uint64_t started = 0;   ///< when it began
    std::uint64_t duration = 0;  ///< how long it took
  };

  /// Keeps the last `capacity` phases and wholes; 0 keeps none. `threadName` names the thread in
  /// the file; it may be empty. Throws std::bad_alloc, and std::length_error for too large a
  /// capacity.
  explicit Trace(std::size_t capacity, std::string threadName = {});

  ~Trace();

  Trace(const Trace&) = delete;
  Trace& operator=(const Trace&) = delete;

  /// One line for each name in the ring, in the order in which they first ended. Throws
  /// std::bad_alloc.
  std::vector<Line> Summarize() const;

  /// Calls `use` with each phase and whole in the ring, in the order in which they ended. Passes on
  /// what `use` throws. REQUIRES: `use` measures nothing into this trace.
  void ForEach(const std::function<void(const Measurement&)>& use) const;

  /// Writes the ring as a trace-event file, in JSON and UTF-8: a complete event for each phase and
  /// whole, in the order in which they ended, in microseconds of the steady clock. Neither the
  /// stream's locale nor its format is used. Bytes of names that are not UTF-8 become U+FFFD.
  ///
  /// A failed write shows in the state of `out`, and throws if `out` is set to. Throws
  /// std::bad_alloc.
  void WriteJson(std::ostream& out) const;

  /// Writes several rings into one file, each as a thread of its own, in the order of `traces`.
  /// Otherwise as above. REQUIRES: no pointer is null, and no ring is filled meanwhile.
  static void WriteJson(std::ostream& out, const std::vector<const Trace*>& traces);

 private:
  friend class TracedMeasurement;
  struct Accumulator;
  class State;

  // The whole of a measurement, known once its first phase has ended.
  struct Whole {
    Accumulator* accumulator = nullptr;
    std::uint64_t started = 0;
  };

  std::unique_ptr<State> state;
};

/// Ends a measurement with its scope, on return or exception, as ScopedMeasurement does. Each
/// record that ends through it also goes into the trace. Adds no clock reading.
///
/// Nested measurements follow the rules of AccumulatorHandle. A record that somebody else has
/// stopped adds nothing to the trace and, if it is the last one, no whole either.
class TracedMeasurement {
 public:
  /// Takes over the running measurement of `handle`, which SPerformanceProfiler::OpenAccumulator
  /// has started. REQUIRES: `trace` and the accumulator outlive this object.
  [[nodiscard]] TracedMeasurement(AccumulatorHandle handle, Trace& trace);

  /// Ends the current record. Its phase and the whole go into the trace.
  ~TracedMeasurement();

  TracedMeasurement(const TracedMeasurement&) = delete;
  TracedMeasurement& operator=(const TracedMeasurement&) = delete;

  /// As AccumulatorHandle::GoOnTo; the record that ends goes into the trace.
  void GoOnTo(const std::string& name);

 private:
  AccumulatorHandle handle;
  Trace::State& trace;
  Trace::Whole whole;
};

}  // namespace Common::Kit
