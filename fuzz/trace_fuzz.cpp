// Measurements that are nested and stopped by others, with reports that free the records in
// between, against a plain list of phases and wholes. Time passes by moving the start of a running
// record back.
#include <common/kit/trace.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <deque>
#include <nlohmann/json.hpp>
#include <sstream>

#include "shared.h"

namespace {

using namespace Common;
using Fuzz::Check;

const std::string Names[] = {"frame", "load", "draw", "\"\n"};

struct Kept {
  std::string accumulator;
  std::string name;
  std::uint64_t started;
  std::uint64_t duration;
};

// A measurement, and what is known of it: names, and the start of its first record.
struct Measured {
  Measured(AccumulatorHandle handle, Kit::Trace& trace)
      : records(*handle.records),
        accumulator(records.front().name),
        record(accumulator),
        measurement(std::in_place, handle, trace) {}

  MeasureRecord& Current() const {
    return *std::find_if(records.begin(), records.end(),
                         [this](const MeasureRecord& other) { return other.name == record; });
  }

  std::vector<MeasureRecord>& records;
  const std::string accumulator;
  std::string record;  // the name of the current one
  std::optional<std::uint64_t> started;
  std::optional<Kit::TracedMeasurement> measurement;
};

class Host {
 public:
  explicit Host(FuzzedDataProvider& input) : data(input) {}

  void Run() {
    while (data.remaining_bytes() > 0) {
      const auto operation = data.ConsumeIntegralInRange(0, 8);
      if (operation == 0) FreeRecords();
      if (operation == 1) CheckRing();
      if (operation == 2 || operation == 3) Open();
      if (operation == 4 && !measured.empty()) EndOne();
      if (operation > 4 && !measured.empty()) GoOn(*measured[DrawIndex()]);
    }
    FreeRecords();
    CheckRing();
    if (writesFile) CheckFile();
  }

 private:
  void Open() {
    const std::string name = data.PickValueInArray(Names);
    measured.push_back(std::make_unique<Measured>(profiler->OpenAccumulator(name), trace));
  }

  void GoOn(Measured& one) {
    const std::string name = data.PickValueInArray(Names);
    EndRecord(one, [&] { one.measurement->GoOnTo(name); });
    one.record = name;
  }

  std::size_t DrawIndex() {
    return data.ConsumeIntegralInRange<std::size_t>(0, measured.size() - 1);
  }

  void EndOne() {
    const std::size_t index = DrawIndex();
    Measured& one = *measured[index];
    if (const auto ended = EndRecord(one, [&] { one.measurement.reset(); }))
      Keep({one.accumulator, one.accumulator, *one.started, *ended - *one.started});
    measured.erase(measured.begin() + static_cast<std::ptrdiff_t>(index));
  }

  // Returns the time at which the record ended; none if somebody else had stopped it.
  template <class End>
  std::optional<std::uint64_t> EndRecord(Measured& one, End end) {
    MeasureRecord& current = one.Current();
    if (!current.idle) current.started -= data.ConsumeIntegralInRange<std::uint64_t>(0, 255);
    const MeasureRecord before = current;
    end();
    if (before.idle) return std::nullopt;
    const std::uint64_t duration = one.Current().totalTime - before.totalTime;
    Keep({one.accumulator, one.accumulator + "/" + one.record, before.started, duration});
    if (!one.started.has_value()) one.started = before.started;
    return before.started + duration;
  }

  // New records may come in another order, and at the addresses of old ones.
  void FreeRecords() {
    while (!measured.empty()) EndOne();
    profiler->WriteReportAndClear("/dev/null");
  }

  void Keep(const Kept& entry) {
    kept.push_back(entry);
    if (kept.size() > capacity) kept.pop_front();
  }

  void CheckRing() const {
    auto next = kept.begin();
    trace.ForEach([&](const Kit::Trace::Measurement& entry) {
      Check(next != kept.end() && entry.name == next->name && entry.started == next->started &&
                entry.duration == next->duration,
            "the ring holds what ended last, in its order");
      ++next;
    });
    Check(next == kept.end(), "the ring holds all that it has room for");
  }

  void CheckFile() const {
    nlohmann::json events = {{{"name", "thread_name"},
                              {"ph", "M"},
                              {"args", {{"name", "main"}}},
                              {"pid", 1},
                              {"tid", 1}}};
    for (const auto& [accumulator, name, started, duration] : kept) {
      events.push_back({{"name", name},
                        {"cat", accumulator},
                        {"ph", "X"},
                        {"ts", started},
                        {"dur", duration},
                        {"pid", 1},
                        {"tid", 1}});
    }
    std::stringstream file;
    trace.WriteJson(file);
    Check(nlohmann::json::parse(file).at("traceEvents") == events, "the file holds the ring");
  }

  FuzzedDataProvider& data;
  const bool writesFile = data.ConsumeIntegralInRange(0, 7) == 7;  // which takes its time
  const std::size_t capacity = data.ConsumeIntegralInRange<std::size_t>(0, 9);
  const std::unique_ptr<SPerformanceProfiler> profiler{ManufacturePerformanceProfiler()};
  Kit::Trace trace{capacity, "main"};
  std::deque<Kept> kept;
  std::vector<std::unique_ptr<Measured>> measured;
};

}  // namespace

// Reuses freed memory at once, so that new records stand where others stood.
extern "C" const char* __asan_default_options() {
  return "quarantine_size_mb=0:thread_local_quarantine_size_kb=0";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  Host(data).Run();
  return 0;
}
