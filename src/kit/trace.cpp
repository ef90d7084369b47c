#include <common/kit/trace.h>

#include <algorithm>
#include <cassert>
#include <deque>
#include <map>
#include <new>
#include <nlohmann/json.hpp>
#include <ostream>
#include <unordered_map>
#include <utility>

namespace Common::Kit {
namespace {

using Json = nlohmann::ordered_json;
using Records = std::vector<MeasureRecord>;

// Names a phase, or a whole, which has no record.
struct Name {
  std::string accumulator;
  std::string record;
  std::string text;
};

struct Entry {
  std::uint64_t started = 0;
  std::uint64_t duration = 0;
  const Name* name = nullptr;
};

Trace::Line MakeLine(const std::string& name, std::vector<std::uint64_t>& durations) {
  std::sort(durations.begin(), durations.end());
  const std::size_t count = durations.size();
  const auto atPercent = [&](std::size_t percent) {
    return durations[(count * percent + 99) / 100 - 1];
  };
  return {name, count, durations.front(), atPercent(50), atPercent(99), durations.back()};
}

void Write(std::ostream& out, const std::string& text) {
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

// Writes events one a line, as the elements of an array.
class EventWriter {
 public:
  explicit EventWriter(std::ostream& out) : out(out) {}

  void Add(const Json& event) {
    Write(out, separator + event.dump(/*indent=*/-1, /*indent_char=*/' ', /*ensure_ascii=*/false,
                                      Json::error_handler_t::replace));
    separator = ",\n";
  }

 private:
  std::ostream& out;
  const char* separator = "\n";
};

// A record as it was while it ran, to tell how long once it has ended.
struct Running {
  std::uint64_t Duration(const Records& records) const {
    return records[position].totalTime - timeBefore;
  }

  const std::uint64_t position;
  const bool idle;
  const std::uint64_t started;
  const std::uint64_t timeBefore;
};

Running CurrentRecord(const AccumulatorHandle& handle) {
  assert(handle.records != nullptr && handle.position < handle.records->size() &&
         "the handle came from no profiler");
  const MeasureRecord& record = (*handle.records)[handle.position];
  return {handle.position, record.idle, record.started, record.totalTime};
}

}  // namespace

// The names of one accumulator. A profiler may free its records and make them again in another
// order, so names by position are checked at each use.
struct Trace::Accumulator {
  explicit Accumulator(std::string ownName) : name(std::move(ownName)) {}

  const std::string name;
  const Name* whole = nullptr;
  std::vector<const Name*> phases;
  std::vector<const Name*> phasesByPosition;
};

class Trace::State {
 public:
  State(std::size_t capacity, std::string threadName)
      : ring(capacity), threadName(std::move(threadName)) {}

  void KeepPhase(Whole& whole, const Records& records, const Running& ended) noexcept {
    Keep(ended.started, ended.Duration(records), [&] {
      if (whole.accumulator == nullptr) whole = {&FindAccumulator(records), ended.started};
      return FindPhase(*whole.accumulator, ended.position, records[ended.position].name);
    });
  }

  void KeepWhole(const Whole& whole, const Records& records, const Running& last) noexcept {
    if (whole.accumulator == nullptr) return;
    const std::uint64_t duration = last.started + last.Duration(records) - whole.started;
    Keep(whole.started, duration, [&] { return FindWhole(*whole.accumulator); });
  }

  // Calls `use` with each entry, the oldest first.
  template <class Use>
  void ForEachEntry(Use use) const {
    const auto newest = ring.begin() + static_cast<std::ptrdiff_t>(next);
    if (isFull) std::for_each(newest, ring.end(), use);
    std::for_each(ring.begin(), newest, use);
  }

  std::vector<Line> Summarize() const {
    std::unordered_map<const Name*, std::vector<std::uint64_t>> durations;
    ForEachEntry([&](const Entry& entry) { durations[entry.name].push_back(entry.duration); });
    std::vector<Line> lines;
    for (const Name& name : names) {
      const auto found = durations.find(&name);
      if (found != durations.end()) lines.push_back(MakeLine(name.text, found->second));
    }
    return lines;
  }

  void WriteEvents(EventWriter& writer, std::size_t thread) const {
    if (!threadName.empty()) {
      const Json arguments{{"name", threadName}};
      writer.Add(
          {{"name", "thread_name"}, {"ph", "M"}, {"args", arguments}, {"pid", 1}, {"tid", thread}});
    }
    ForEachEntry([&](const Entry& entry) {
      writer.Add({{"name", entry.name->text},
                  {"cat", entry.name->accumulator},
                  {"ph", "X"},
                  {"ts", entry.started},
                  {"dur", entry.duration},
                  {"pid", 1},
                  {"tid", thread}});
    });
  }

 private:
  template <class FindName>
  void Keep(std::uint64_t started, std::uint64_t duration, FindName findName) noexcept {
    if (ring.empty()) return;
    try {
      ring[next] = {started, duration, findName()};
    } catch (const std::bad_alloc&) {
      return;  // no memory for the name
    }
    if (++next == ring.size()) {
      next = 0;
      isFull = true;
    }
  }

  // Looks up by address, which is quick, then by name: records may be new, or be where freed
  // records of another accumulator were.
  Accumulator& FindAccumulator(const Records& records) {
    const std::string& name = records.front().name;
    const auto known = byAddress.find(&records);
    if (known != byAddress.end() && known->second->name == name) return *known->second;
    Accumulator& accumulator = accumulators.try_emplace(name, name).first->second;
    ForgetFreedRecords();
    byAddress.insert_or_assign(&records, &accumulator);
    return accumulator;
  }

  void ForgetFreedRecords() {
    constexpr std::size_t MostAddressesOfOne = 16;
    if (byAddress.size() >= MostAddressesOfOne * accumulators.size()) byAddress.clear();
  }

  const Name* FindPhase(Accumulator& accumulator, std::size_t position, const std::string& record) {
    std::vector<const Name*>& byPosition = accumulator.phasesByPosition;
    if (position >= byPosition.size()) byPosition.resize(position + 1);
    const Name*& known = byPosition[position];
    // The first record bears the accumulator's name, which was compared already.
    const bool isKnown = known != nullptr && (position == 0 || known->record == record);
    if (!isKnown) known = FindOrMakePhase(accumulator, record);
    return known;
  }

  const Name* FindOrMakePhase(Accumulator& accumulator, const std::string& record) {
    std::vector<const Name*>& phases = accumulator.phases;
    const auto isOfRecord = [&](const Name* phase) { return phase->record == record; };
    const auto found = std::find_if(phases.begin(), phases.end(), isOfRecord);
    if (found != phases.end()) return *found;
    names.push_back({accumulator.name, record, accumulator.name + "/" + record});
    phases.push_back(&names.back());
    return phases.back();
  }

  const Name* FindWhole(Accumulator& accumulator) {
    if (accumulator.whole == nullptr) {
      names.push_back({accumulator.name, {}, accumulator.name});
      accumulator.whole = &names.back();
    }
    return accumulator.whole;
  }

  std::vector<Entry> ring;
  std::size_t next = 0;  // where the next entry goes
  bool isFull = false;
  std::deque<Name> names;  // a deque, since entries point at them
  std::map<std::string, Accumulator> accumulators;
  std::unordered_map<const Records*, Accumulator*> byAddress;
  const std::string threadName;
};

Trace::Trace(std::size_t capacity, std::string threadName)
    : state(std::make_unique<State>(capacity, std::move(threadName))) {}

Trace::~Trace() = default;

std::vector<Trace::Line> Trace::Summarize() const { return state->Summarize(); }

void Trace::ForEach(const std::function<void(const Measurement&)>& use) const {
  state->ForEachEntry([&use](const Entry& entry) {
    use({entry.name->text, entry.started, entry.duration});
  });
}

void Trace::WriteJson(std::ostream& out) const { WriteJson(out, {this}); }

void Trace::WriteJson(std::ostream& out, const std::vector<const Trace*>& traces) {
  Write(out, R"({"displayTimeUnit":"ms","traceEvents":[)");
  EventWriter writer(out);
  for (std::size_t index = 0; index < traces.size(); ++index) {
    assert(traces[index] != nullptr && "a trace that is not there");
    traces[index]->state->WriteEvents(writer, index + 1);
  }
  Write(out, "\n]}\n");
}

TracedMeasurement::TracedMeasurement(AccumulatorHandle handle, Trace& trace)
    : handle(handle), trace(*trace.state) {}

TracedMeasurement::~TracedMeasurement() {
  const Running last = CurrentRecord(handle);
  handle.Stop();
  if (last.idle) return;
  trace.KeepPhase(whole, *handle.records, last);
  trace.KeepWhole(whole, *handle.records, last);
}

void TracedMeasurement::GoOnTo(const std::string& name) {
  const Running ended = CurrentRecord(handle);
  handle.GoOnTo(name);
  if (!ended.idle) trace.KeepPhase(whole, *handle.records, ended);
}

}  // namespace Common::Kit
