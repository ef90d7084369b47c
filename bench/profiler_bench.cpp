// What a measurement costs, and the report of many records.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "bench.h"

namespace Common::Bench {
namespace {

constexpr int AccumulatorCount = 100;
constexpr int RecordsPerAccumulator = 100;

const std::string FrameName = "frame";
const std::string SimulationName = "simulation";

void ReadClock() { benchmark::DoNotOptimize(std::chrono::steady_clock::now()); }

void ReadClockTwice() {
  ReadClock();
  ReadClock();
}

// ---- Measuring.

void RegisterMeasuring(SPerformanceProfiler* profiler) {
  RegisterJob("measurement/1/ours", [=] { profiler->OpenAccumulator(FrameName).Stop(); });
  RegisterJob("measurement/1/floor", ReadClockTwice);

  // Each step ends the record before it and starts the next, with one clock reading for both.
  benchmark::RegisterBenchmark("further_records/2/ours", [=](benchmark::State& state) {
    AccumulatorHandle handle = profiler->OpenAccumulator(FrameName);
    for (auto _ : state) {
      handle.GoOnTo(SimulationName);
      handle.GoOnTo(FrameName);
    }
    handle.Stop();
  });
  RegisterJob("further_records/2/floor", ReadClockTwice);
}

// Google Benchmark's own timer, which also reads the processor time. It cannot be timed by the loop
// that it stops.
void RegisterOtherTimer() {
  constexpr int Pairs = 1'000;
  const auto run = [](benchmark::State& state) {
    while (state.KeepRunningBatch(Pairs)) {
      const auto before = std::chrono::steady_clock::now();
      for (int pair = 0; pair < Pairs; ++pair) {
        state.PauseTiming();
        state.ResumeTiming();
      }
      const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - before;
      state.SetIterationTime(taken.count());
    }
  };
  benchmark::RegisterBenchmark("measurement/1/google_benchmark", run)->UseManualTime();
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

// One formatted write a record into one text, and one write of that.
void WriteReportByHand(const Accumulators& accumulators, const std::string& path) {
  constexpr std::size_t LongestRow = 200;
  std::string text;
  std::size_t size = 0;
  const auto append = [&](const char* format, auto... values) {
    if (text.size() < size + LongestRow) text.resize(2 * (size + LongestRow));
    size += static_cast<std::size_t>(std::snprintf(&text[size], LongestRow, format, values...));
  };
  for (const auto& [name, records] : accumulators) {
    append("Profile for accumulator: \t%s\n\nName\tTime[us]\tTime[s]\tCalls\tMeasure Cost[us]\n",
           name.c_str());
    for (const MeasureRecord& record : records) {
      append("%s/%s\t%lu\t%g\t%lu\t%lu\n", name.c_str(), record.name.c_str(), record.totalTime,
             static_cast<double>(record.totalTime) * 1e-6, record.calls, record.measureCost);
    }
  }
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (write(file, text.data(), size) != static_cast<ssize_t>(size)) std::abort();
  close(file);
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
  RegisterOtherTimer();
  RegisterReport();
}

}  // namespace Common::Bench
