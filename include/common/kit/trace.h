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
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
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
/// All memory for the measurements is taken at the start, 16 bytes each. A name takes memory when
/// its record is first measured, as the record itself does; nothing else allocates while measuring.
/// Where there is no memory for a name, the ring goes without that measurement.
///
/// For one thread at a time. REQUIRES: outlives its measurements.
class Trace {
 public:
  /// What the ring holds of one record, in microseconds. Median and percentile are the values that
  /// half and 99 % of the measurements do not exceed; each is a time that was measured.
  struct Line {
    std::string name;  ///< accumulator and record, as `frame/simulation`
    std::uint64_t count = 0;
    std::uint64_t minimum = 0;
    std::uint64_t median = 0;
    std::uint64_t percentile99 = 0;
    std::uint64_t maximum = 0;
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
  /// Otherwise as the other WriteJson. REQUIRES: no ring is filled at the same time.
  static void WriteJson(std::ostream& out, const std::vector<const Trace*>& traces) {
    Write(out, "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[");
    std::string separator = "\n";
    for (std::size_t index = 0; index < traces.size(); ++index) {
      traces[index]->WriteEvents(out, std::to_string(index + 1), separator);
    }
    Write(out, "\n]}\n");
  }

 private:
  friend class TracedMeasurement;

  // The name of a measurement that goes unkept.
  static constexpr std::uint32_t NoName = ~std::uint32_t{0};

  struct Measurement {
    std::uint64_t started = 0;
    std::uint32_t duration = 0;
    std::uint32_t name = 0;
  };

  // The names of one accumulator's records, where its array was seen last. The profiler may free
  // the array and put another accumulator's there, so the names are compared at each use.
  struct Accumulator {
    std::string name;
    std::vector<std::uint32_t> namesByPosition;
  };

  struct Name {
    std::string Text() const { return accumulator->name + "/" + record; }

    const Accumulator* accumulator;
    std::string record;
  };

  // The accumulators that were measured last, found by the address of their records.
  static constexpr std::size_t RecentCount = 64;

  static std::size_t PlaceAmongRecent(const std::vector<MeasureRecord>* records) {
    constexpr std::uint64_t SpreadingFactor = 0x9E37'79B9'7F4A'7C15;
    return (reinterpret_cast<std::uintptr_t>(records) * SpreadingFactor) >> 58;
  }

  // Null where there is no memory for a new one.
  Accumulator* FindAccumulator(const AccumulatorHandle& handle) noexcept {
    const std::string& name = handle.records->front().name;
    Accumulator*& recent = recentAccumulators[PlaceAmongRecent(handle.records)];
    if (recent == nullptr || recent->name != name) recent = FindOrMakeAccumulator(name);
    return recent;
  }

  Accumulator* FindOrMakeAccumulator(const std::string& name) noexcept {
    try {
      Accumulator& accumulator = accumulators[name];
      accumulator.name = name;
      return &accumulator;
    } catch (const std::bad_alloc&) {
      return nullptr;
    }
  }

  std::uint32_t FindName(Accumulator* accumulator, const AccumulatorHandle& handle) noexcept {
    if (accumulator == nullptr) return NoName;
    const std::string& record = (*handle.records)[handle.position].name;
    if (handle.position < accumulator->namesByPosition.size()) {
      const std::uint32_t known = accumulator->namesByPosition[handle.position];
      if (known != NoName && names[known].record == record) return known;
    }
    return FindOrMakeName(*accumulator, record, handle.position);
  }

  std::uint32_t FindOrMakeName(Accumulator& accumulator, const std::string& record,
                               std::size_t position) noexcept {
    try {
      std::vector<std::uint32_t>& byPosition = accumulator.namesByPosition;
      if (position >= byPosition.size()) byPosition.resize(position + 1, NoName);
      const auto isWanted = [&](const Name& name) {
        return name.accumulator == &accumulator && name.record == record;
      };
      const auto found = std::find_if(names.begin(), names.end(), isWanted);
      const auto index = static_cast<std::uint32_t>(found - names.begin());
      if (found == names.end()) names.push_back({&accumulator, record});
      byPosition[position] = index;
      return index;
    } catch (const std::bad_alloc&) {
      return NoName;
    }
  }

  void Keep(std::uint32_t name, std::uint64_t started, std::uint64_t duration) noexcept {
    constexpr std::uint64_t Longest = ~std::uint32_t{0};
    if (name == NoName || ring.empty()) return;
    ring[next] = {started, static_cast<std::uint32_t>(std::min(duration, Longest)), name};
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
    std::sort(durations.begin(), durations.end());
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
      Write(out, separator + openings[measured.name] + std::to_string(measured.started) +
                     ",\"dur\":" + std::to_string(measured.duration) + place);
      separator = ",\n";
    });
  }

  static void Write(std::ostream& out, const std::string& text) {
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
  }

  // `text` as a JSON string.
  static std::string Quote(std::string_view text) {
    std::string quoted = "\"";
    while (!text.empty()) {
      const std::size_t length = std::max<std::size_t>(LengthOfCharacter(text), 1);
      const std::string_view character = text.substr(0, length);
      if (LengthOfCharacter(text) == 0) {
        quoted += "\\ufffd";
      } else if (static_cast<unsigned char>(character.front()) < 0x20) {
        quoted += EscapeOf(character.front());
      } else {
        if (character == "\"" || character == "\\") quoted += '\\';
        quoted += character;
      }
      text.remove_prefix(length);
    }
    return quoted + "\"";
  }

  static std::string EscapeOf(char control) {
    constexpr std::string_view HexDigits = "0123456789abcdef";
    const auto value = static_cast<std::size_t>(control);
    return std::string("\\u00") + HexDigits[value / 16] + HexDigits[value % 16];
  }

  // How many bytes the UTF-8 character takes that `text` opens with; 0 if it opens with none.
  static std::size_t LengthOfCharacter(std::string_view text) {
    // The second byte of a character has narrower bounds where the first leaves room for what is
    // too long, a surrogate, or beyond the last code point.
    struct Form {
      unsigned char firstLowest, firstHighest, secondLowest, secondHighest;
      std::size_t length;
    };
    static constexpr std::array<Form, 8> Forms{{{0xC2, 0xDF, 0x80, 0xBF, 2},
                                                {0xE0, 0xE0, 0xA0, 0xBF, 3},
                                                {0xE1, 0xEC, 0x80, 0xBF, 3},
                                                {0xED, 0xED, 0x80, 0x9F, 3},
                                                {0xEE, 0xEF, 0x80, 0xBF, 3},
                                                {0xF0, 0xF0, 0x90, 0xBF, 4},
                                                {0xF1, 0xF3, 0x80, 0xBF, 4},
                                                {0xF4, 0xF4, 0x80, 0x8F, 4}}};
    const auto byteAt = [text](std::size_t index) {
      return static_cast<unsigned char>(text[index]);
    };
    const auto isWithin = [](unsigned char byte, unsigned char lowest, unsigned char highest) {
      return byte >= lowest && byte <= highest;
    };
    if (byteAt(0) < 0x80) return 1;
    for (const Form& form : Forms) {
      if (!isWithin(byteAt(0), form.firstLowest, form.firstHighest)) continue;
      if (text.size() < form.length) return 0;
      if (!isWithin(byteAt(1), form.secondLowest, form.secondHighest)) return 0;
      for (std::size_t index = 2; index < form.length; ++index) {
        if (!isWithin(byteAt(index), 0x80, 0xBF)) return 0;
      }
      return form.length;
    }
    return 0;
  }

  std::vector<Measurement> ring;
  std::size_t next = 0;  // where the next measurement goes
  bool isFull = false;
  std::map<std::string, Accumulator> accumulators;
  std::deque<Name> names;
  std::array<Accumulator*, RecentCount> recentAccumulators{};
  std::string threadName;
};

/// Used as ScopedMeasurement: stops its measurement when the scope ends, by whatever way. Each
/// record that ends through it goes into the trace too. Costs no clock reading of its own.
///
/// The rules for nested measurements are those of AccumulatorHandle: a record that somebody else
/// has stopped adds nothing to the trace, either.
class TracedMeasurement {
 public:
  /// Takes over the measurement that runs on `handle`, which SPerformanceProfiler::OpenAccumulator
  /// has started. REQUIRES: `trace` and the accumulator outlive this object.
  TracedMeasurement(AccumulatorHandle handle, Trace& trace)
      : handle(handle),
        trace(trace),
        accumulator(trace.FindAccumulator(handle)),
        nameInTrace(trace.FindName(accumulator, handle)) {}

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
