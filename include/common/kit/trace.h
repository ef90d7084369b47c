/// @file
/// The last measurements one by one, beside the sums of the profiler: a sum tells that frames take
/// 12 ms on average, a trace shows the one that took 40 and what it spent them on. Open the file
/// that it writes in Perfetto's viewer or in chrome://tracing.
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

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Common::Kit {

class TracedMeasurement;

/// A ring of the measurements that ended last, for one thread; each thread has its own, as it has
/// its own profiler. TracedMeasurement fills it.
///
/// All memory for the measurements is taken at the start, 24 bytes each. A name takes memory when
/// its record is first measured, as the record itself does; nothing else allocates while measuring.
/// Where there is no memory for a name, the ring goes without that measurement.
///
/// For one thread at a time. REQUIRES: it outlives its measurements.
class Trace {
 public:
  /// What the ring holds of one record, in microseconds. Median and percentile are the values that
  /// half and 99 % of the measurements do not exceed; each is a time that was measured.
  struct Line {
    std::string name;                ///< accumulator and record, as `frame/simulation`
    std::uint64_t count = 0;         ///< how many measurements the ring holds of it
    std::uint64_t minimum = 0;       ///< the shortest
    std::uint64_t median = 0;        ///< half of them took no longer
    std::uint64_t percentile99 = 0;  ///< 99 % of them took no longer
    std::uint64_t maximum = 0;       ///< the longest
  };

  /// Makes a ring of the last `capacity` measurements; 0 keeps none. `threadName` names the thread
  /// in the file; empty leaves it without a name. Throws std::bad_alloc, and std::length_error for
  /// a capacity that no memory could hold.
  explicit Trace(std::size_t capacity, std::string threadName = {})
      : ring(capacity), threadName(std::move(threadName)) {}

  Trace(const Trace&) = delete;
  Trace& operator=(const Trace&) = delete;

  /// One line for each record that has a measurement in the ring, in the order in which the records
  /// were first measured. Throws std::bad_alloc.
  std::vector<Line> Summarize() const {
    std::vector<std::vector<std::uint64_t>> durations(names.size());
    ForEach([&](const Measurement& measured) {
      durations[measured.name].push_back(measured.duration);
    });
    std::vector<Line> lines;
    for (std::size_t name = 0; name < names.size(); ++name) {
      if (!durations[name].empty()) lines.push_back(MakeLine(names[name].Text(), durations[name]));
    }
    return lines;
  }

  /// Writes the ring as a trace-event file, in JSON and UTF-8: a complete event for each
  /// measurement, named `accumulator/record`, with start and duration in microseconds of the steady
  /// clock. Neither the stream's locale nor its format is used. Bytes of names that are not UTF-8
  /// become U+FFFD.
  ///
  /// A write that fails shows in the state of `out`. Throws std::bad_alloc, and what `out` throws
  /// by its own settings.
  void WriteJson(std::ostream& out) const { WriteJson(out, {this}); }

  /// Writes several rings into one file, each as a thread of its own, in the order of `traces`.
  /// Otherwise as the other WriteJson. REQUIRES: no pointer is null, and no ring is filled at the
  /// same time.
  static void WriteJson(std::ostream& out, const std::vector<const Trace*>& traces) {
    Write(out, "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[");
    std::string separator = "\n";
    for (std::size_t index = 0; index < traces.size(); ++index) {
      assert(traces[index] != nullptr && "a trace that is not there");
      traces[index]->WriteEvents(out, NumberText(index + 1), separator);
    }
    Write(out, "\n]}\n");
  }

 private:
  friend class TracedMeasurement;

  // An enumerator, since a constant of the class would be one for the process and keep a plugin
  // loaded.
  enum : std::uint32_t { NoName = ~std::uint32_t{0} };  // of a measurement that goes unkept

  struct Measurement {
    std::uint64_t started = 0;
    std::uint64_t duration = 0;
    std::uint32_t name = 0;
  };

  // The names of one accumulator's records, where its array was seen last. The profiler may free
  // the array and put another accumulator's there, so the names are compared at each use.
  struct Accumulator {
    std::string name;
    std::vector<std::uint32_t> namesByPosition;
  };

  struct Name {
    bool IsOf(const Accumulator& other, const std::string& wanted) const {
      return accumulator == &other && record == wanted;
    }
    std::string Text() const { return accumulator->name + "/" + record; }

    const Accumulator* accumulator;
    std::string record;
  };

  enum : std::size_t { RecentCount = 64 };

  static std::size_t PlaceAmongRecent(const std::vector<MeasureRecord>* records) {
    constexpr std::uint64_t SpreadingFactor = 0x9E37'79B9'7F4A'7C15;
    return (reinterpret_cast<std::uintptr_t>(records) * SpreadingFactor) >> 58;
  }

  // Null where there is no memory for a new one.
  Accumulator* FindAccumulator(const AccumulatorHandle& handle) noexcept {
    assert(handle.records != nullptr && handle.position < handle.records->size() &&
           "the handle came from no profiler");
    const std::string& name = handle.records->front().name;
    Accumulator*& recent = recentAccumulators[PlaceAmongRecent(handle.records)];
    if (recent == nullptr || recent->name != name) recent = FindOrMakeAccumulator(name);
    return recent;
  }

  Accumulator* FindOrMakeAccumulator(const std::string& name) noexcept {
    try {
      for (const std::unique_ptr<Accumulator>& accumulator : accumulators) {
        if (accumulator->name == name) return accumulator.get();
      }
      auto made = std::make_unique<Accumulator>();
      made->name = name;
      accumulators.push_back(std::move(made));
      return accumulators.back().get();
    } catch (const std::bad_alloc&) {
      return nullptr;
    }
  }

  std::uint32_t FindName(Accumulator* accumulator, const AccumulatorHandle& handle) noexcept {
    if (accumulator == nullptr) return NoName;
    const std::string& record = (*handle.records)[handle.position].name;
    if (handle.position < accumulator->namesByPosition.size()) {
      const std::uint32_t known = accumulator->namesByPosition[handle.position];
      // The first record bears the accumulator's name, which was compared already.
      if (known != NoName && (handle.position == 0 || names[known].record == record)) return known;
    }
    return FindOrMakeName(*accumulator, record, handle.position);
  }

  std::uint32_t FindOrMakeName(Accumulator& accumulator, const std::string& record,
                               std::size_t position) noexcept {
    try {
      std::vector<std::uint32_t>& byPosition = accumulator.namesByPosition;
      // Unlike push_back, resize would keep a plugin loaded that is built without optimization.
      while (byPosition.size() <= position) byPosition.push_back(NoName);
      std::uint32_t index = 0;
      while (index < names.size() && !names[index].IsOf(accumulator, record)) ++index;
      if (index == names.size()) names.push_back({&accumulator, record});
      byPosition[position] = index;
      return index;
    } catch (const std::bad_alloc&) {
      return NoName;
    }
  }

  void Keep(std::uint32_t name, std::uint64_t started, std::uint64_t duration) noexcept {
    if (name == NoName || ring.empty()) return;
    ring[next] = {started, duration, name};
    if (++next == ring.size()) {
      next = 0;
      isFull = true;
    }
  }

  // Calls `use` with each measurement that the ring holds, the oldest first.
  template <class Use>
  void ForEach(Use use) const {
    const auto newest = ring.begin() + static_cast<std::ptrdiff_t>(next);
    if (isFull) std::for_each(newest, ring.end(), use);
    std::for_each(ring.begin(), newest, use);
  }

  static Line MakeLine(std::string name, std::vector<std::uint64_t>& durations) {
    std::sort(durations.data(), durations.data() + durations.size());
    const std::size_t count = durations.size();
    const auto atPercent = [&](std::size_t percent) {
      return durations[(count * percent + 99) / 100 - 1];
    };
    return {std::move(name), count,         durations.front(),
            atPercent(50),   atPercent(99), durations.back()};
  }

  void WriteEvents(std::ostream& out, const std::string& thread, std::string& separator) const {
    const std::string place = ",\"pid\":1,\"tid\":" + thread + "}";
    if (!threadName.empty()) {
      Write(out, separator + R"({"name":"thread_name","ph":"M","args":{"name":)" +
                     Quote(threadName) + "}" + place);
      separator = ",\n";
    }
    std::vector<std::string> openings;
    for (const Name& name : names) {
      openings.push_back("{\"name\":" + Quote(name.Text()) +
                         ",\"cat\":" + Quote(name.accumulator->name) + ",\"ph\":\"X\",\"ts\":");
    }
    ForEach([&](const Measurement& measured) {
      Write(out, separator + openings[measured.name] + NumberText(measured.started) +
                     ",\"dur\":" + NumberText(measured.duration) + place);
      separator = ",\n";
    });
  }

  static void Write(std::ostream& out, const std::string& text) {
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
  }

  // std::to_string would keep a plugin loaded, by a table that is one for the process.
  static std::string NumberText(std::uint64_t number) {
    std::string digits;
    do {
      digits.insert(digits.begin(), static_cast<char>('0' + number % 10));
      number /= 10;
    } while (number != 0);
    return digits;
  }

  // `text` as a JSON string.
  static std::string Quote(std::string_view text) {
    std::string quoted = "\"";
    while (!text.empty()) {
      const std::size_t length = LengthOfCharacter(text);
      const auto first = static_cast<unsigned char>(text.front());
      if (length == 0) {
        quoted += "\\ufffd";
      } else if (first < 0x20) {
        quoted += EscapeOf(first);
      } else {
        if (first == '"' || first == '\\') quoted += '\\';
        quoted.append(text.data(), length);
      }
      text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return quoted + "\"";
  }

  static std::string EscapeOf(unsigned char control) {
    constexpr std::string_view HexDigits = "0123456789abcdef";
    return std::string("\\u00") + HexDigits[control / 16] + HexDigits[control % 16];
  }

  // How many bytes the UTF-8 character takes that `text` opens with; 0 if it opens with none.
  static std::size_t LengthOfCharacter(std::string_view text) {
    const auto byteAt = [text](std::size_t index) -> std::uint32_t {
      return static_cast<unsigned char>(text[index]);
    };
    if (byteAt(0) < 0x80) return 1;
    if (byteAt(0) < 0xC2 || byteAt(0) > 0xF4) return 0;
    const std::size_t length = byteAt(0) < 0xE0 ? 2 : (byteAt(0) < 0xF0 ? 3 : 4);
    if (text.size() < length) return 0;
    std::uint32_t codePoint = byteAt(0) & (0xFFU >> (length + 1));
    for (std::size_t index = 1; index < length; ++index) {
      if ((byteAt(index) & 0xC0) != 0x80) return 0;
      codePoint = (codePoint << 6) | (byteAt(index) & 0x3F);
    }
    const std::uint32_t lowest = length == 2 ? 0x80 : (length == 3 ? 0x800 : 0x10000);
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return codePoint < lowest || codePoint > 0x10FFFF || isSurrogate ? 0 : length;
  }

  std::vector<Measurement> ring;
  std::size_t next = 0;  // where the next measurement goes
  bool isFull = false;
  std::vector<std::unique_ptr<Accumulator>> accumulators;
  std::vector<Name> names;
  // The accumulators that were measured last, by the address of their records.
  std::array<Accumulator*, RecentCount> recentAccumulators{};
  std::string threadName;
};

/// Used as ScopedMeasurement: ends a measurement with its scope, in whichever way that is left.
/// Each record that ends through it goes into the trace too. Costs no clock reading of its own.
///
/// The rules for nested measurements are those of AccumulatorHandle: a record that somebody else
/// has stopped adds nothing to the trace, either.
class TracedMeasurement {
 public:
  /// Takes over the measurement that runs on `handle`, which SPerformanceProfiler::OpenAccumulator
  /// has started. REQUIRES: `trace` and the accumulator outlive this object.
  [[nodiscard]] TracedMeasurement(AccumulatorHandle handle, Trace& trace)
      : handle(handle),
        trace(trace),
        accumulator(trace.FindAccumulator(handle)),
        nameInTrace(trace.FindName(accumulator, handle)) {}

  /// Ends the measurement of the current record, which goes into the trace.
  ~TracedMeasurement() {
    const Running running = Present();
    handle.Stop();
    KeepWhatEnded(running);
  }

  TracedMeasurement(const TracedMeasurement&) = delete;
  TracedMeasurement& operator=(const TracedMeasurement&) = delete;

  /// As AccumulatorHandle::GoOnTo; the record that ends goes into the trace.
  void GoOnTo(const std::string& name) {
    const Running running = Present();
    handle.GoOnTo(name);
    KeepWhatEnded(running);
    nameInTrace = trace.FindName(accumulator, handle);
  }

 private:
  // The record that is about to end, and what tells afterwards how long it ran.
  struct Running {
    std::uint64_t position;
    bool idle;
    std::uint64_t started;
    std::uint64_t timeBefore;
  };

  Running Present() const {
    const MeasureRecord& record = (*handle.records)[handle.position];
    return {handle.position, record.idle, record.started, record.totalTime};
  }

  void KeepWhatEnded(const Running& ended) {
    if (ended.idle) return;
    const MeasureRecord& record = (*handle.records)[ended.position];
    trace.Keep(nameInTrace, ended.started, record.totalTime - ended.timeBefore);
  }

  AccumulatorHandle handle;
  Trace& trace;
  Trace::Accumulator* const accumulator;
  std::uint32_t nameInTrace;
};

}  // namespace Common::Kit
