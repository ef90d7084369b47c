// What a measurement costs, and the report of many records.
#include <algorithm>
#include <cstdio>
#include <map>

#include "bench.h"

namespace Common::Bench {
namespace {

constexpr int AccumulatorCount = 100;
constexpr int RecordsPerAccumulator = 100;

const std::string FrameName = "frame";
const std::string SimulationName = "simulation";

// ---- Measuring.

struct Sums {
  void Add(std::uint64_t time) {
    totalTime += time;
    ++calls;
  }

  std::uint64_t totalTime = 0;
  std::uint64_t calls = 0;
};

void RegisterMeasuring(SPerformanceProfiler* profiler) {
  RegisterJob("measurement/1/ours", [=] { profiler->OpenAccumulator(FrameName).Stop(); });
  const auto sums = std::make_shared<std::map<std::string, Sums>>();
  sums->emplace(FrameName, Sums{});
  RegisterJob("measurement/1/floor", [sums] {
    Sums& frame = sums->find(FrameName)->second;
    const std::uint64_t before = ReadMicroseconds();
    frame.Add(ReadMicroseconds() - before);
    benchmark::ClobberMemory();
  });
}

// Each step ends a record and starts the next with one clock reading.
void RegisterGoingOn(SPerformanceProfiler* profiler) {
  benchmark::RegisterBenchmark("further_records/2/ours", [=](benchmark::State& state) {
    AccumulatorHandle handle = profiler->OpenAccumulator(FrameName);
    for (auto _ : state) {
      handle.GoOnTo(SimulationName);
      handle.GoOnTo(FrameName);
    }
    handle.Stop();
  });

  benchmark::RegisterBenchmark("further_records/2/floor", [](benchmark::State& state) {
    std::vector<std::pair<std::string, Sums>> records{{FrameName, {}}, {SimulationName, {}}};
    Sums* present = &records.front().second;
    std::uint64_t started = ReadMicroseconds();
    const auto goOnTo = [&](const std::string& name) {
      const auto isNamed = [&name](const auto& record) { return record.first == name; };
      const auto next = std::find_if(records.begin(), records.end(), isNamed);
      const std::uint64_t now = ReadMicroseconds();
      present->Add(now - started);
      present = &next->second;
      started = now;
      benchmark::ClobberMemory();
    };
    for (auto _ : state) {
      goOnTo(SimulationName);
      goOnTo(FrameName);
    }
  });
}

// ---- The report.

using Accumulators = std::vector<std::pair<std::string, std::vector<MeasureRecord>>>;

std::string RecordName(int index) { return "phase_" + std::to_string(index); }
std::string AccumulatorName(int index) { return "subsystem_" + std::to_string(index); }

void FillProfiler(SPerformanceProfiler* profiler) {
  for (int accumulator = 0; accumulator < AccumulatorCount; ++accumulator) {
    AccumulatorHandle handle = profiler->OpenAccumulator(AccumulatorName(accumulator));
    for (int record = 1; record < RecordsPerAccumulator; ++record)
      handle.GoOnTo(RecordName(record));
    handle.Stop();
    for (MeasureRecord& record : *handle.records) record.totalTime = record.calls * 123'456;
  }
}

Accumulators MakeRecords() {
  Accumulators accumulators;
  for (int accumulator = 0; accumulator < AccumulatorCount; ++accumulator) {
    auto& [name, records] = accumulators.emplace_back(AccumulatorName(accumulator), 0);
    for (int record = 0; record < RecordsPerAccumulator; ++record) {
      records.push_back(MeasureRecord{.name = record == 0 ? name : RecordName(record)});
      records.back().totalTime = 123'456;
      records.back().calls = 1;
    }
  }
  return accumulators;
}

// The same text, formatted into memory and written at once.
void WriteReportByHand(const Accumulators& accumulators, const std::string& path) {
  constexpr std::size_t LongestRow = 200;
  std::string text = "\n";
  std::size_t size = text.size();
  const auto append = [&](const char* format, auto... values) {
    if (text.size() < size + LongestRow) text.resize(2 * (size + LongestRow));
    size += static_cast<std::size_t>(std::snprintf(&text[size], LongestRow, format, values...));
  };
  for (const auto& [name, records] : accumulators) {
    append("Profile for accumulator: \t%s\n\nName\tTime[us]\tTime[s]\tCalls\tMeasure Cost[us]\n",
           name.c_str());
    for (const MeasureRecord& record : records) {
      const float seconds = static_cast<float>(record.totalTime) / 1'000'000.0F;
      append("%s/%s\t%lu\t%g\t%lu\t%lu\n", name.c_str(), record.name.c_str(), record.totalTime,
             static_cast<double>(seconds), record.calls, record.measureCost);
    }
    append("\n");
  }
  WriteAtOnce(path, std::string_view(text).substr(0, size));
}

void RegisterReport() {
  constexpr int Records = AccumulatorCount * RecordsPerAccumulator;
  const std::shared_ptr<SPerformanceProfiler> profiler(ManufacturePerformanceProfiler());
  FillProfiler(profiler.get());
  const auto folder = std::make_shared<ScopedFolder>(MemoryFolder);
  RegisterJob(Name("report", Records, "ours"),
              [=] { profiler->WriteReport(folder->File("report.csv")); });
  RegisterJob(Name("report", Records, "floor"), [folder, accumulators = MakeRecords()] {
    WriteReportByHand(accumulators, folder->File("report_by_hand.csv"));
  });
}

}  // namespace

void RegisterProfiler(const Plan& plan) {
  RegisterMeasuring(plan.services.profiler.get());
  RegisterGoingOn(plan.services.profiler.get());
  RegisterReport();
}

}  // namespace Common::Bench
