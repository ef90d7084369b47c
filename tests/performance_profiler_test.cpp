#include <common/performance_profiler.h>

#include <limits>
#include <stdexcept>

#include "support.h"

namespace Common::Test {
namespace {

const std::string DefaultPath = "content/ut_result/profiler_data.csv";
const std::string ColumnHeads = "Name\tTime[us]\tTime[s]\tCalls\tMeasure Cost[us]\n";

using Profiler = std::unique_ptr<SPerformanceProfiler>;

Profiler MakeProfiler() { return Profiler(ManufacturePerformanceProfiler()); }

std::string Block(const std::string& name, const std::string& rows) {
  return "Profile for accumulator: \t" + name + "\n\n" + ColumnHeads + rows + "\n";
}

std::vector<std::string> NamesOf(const AccumulatorHandle& handle) {
  std::vector<std::string> names;
  for (const MeasureRecord& record : *handle.records) names.push_back(record.name);
  return names;
}

TEST(PerformanceProfiler, ReportsEachRecordToTheByte) {
  const Profiler profiler = MakeProfiler();
  WriteBytes("report.txt", std::string(1000, 'x'));
  profiler->WriteReport("report.txt");
  EXPECT_EQ(ReadBytes("report.txt"), OnDisk("\n"));

  profiler->OpenAccumulator("a");
  profiler->OpenAccumulator("\xC3");
  *profiler->OpenAccumulator("Z\t/z").records = {{true, "Z\t/z", 9, 1'500'000, 3, 2},
                                                 {false, "running", 9, 1, 0, 1},
                                                 {true, "", 9, 16'777'217, 0, 0},
                                                 {true, "long", 9, 1'000'000'000'000, 0, 0},
                                                 {true, "most", 9, std::numeric_limits<std::uint64_t>::max(), 0, 0}};
  profiler->WriteReport("report.txt");
  EXPECT_EQ(ReadBytes("report.txt"),
            OnDisk("\n" +
                   Block("Z\t/z",
                         "Z\t/z/Z\t/z\t1500000\t1.5\t2\t3\n"
                         "Z\t/z/running\t1\t1e-06\t1\t0\n"
                         "Z\t/z/\t16777217\t16.7772\t0\t0\n"
                         "Z\t/z/long\t1000000000000\t1e+06\t0\t0\n"
                         "Z\t/z/most\t18446744073709551615\t1.84467e+13\t0\t0\n") +
                   Block("a", "a/a\t0\t0\t0\t0\n") + Block("\xC3", "\xC3/\xC3\t0\t0\t0\t0\n")));
}

TEST(PerformanceProfiler, ReportsToTheDefaultPathAndAtItsEnd) {
  Profiler profiler = MakeProfiler();
  auto handle = profiler->OpenAccumulator("a");
  handle.records->front().calls = 7;
  const std::string failure = "Failed to open file " + DefaultPath + " for writing!";
  EXPECT_EQ(FailureOf([&] { profiler->WriteReport(""); }), failure);
  EXPECT_EQ(FailureOf([&] { profiler->WriteReportAndClear(""); }), failure);
  MakeProfiler().reset();
  EXPECT_TRUE(std::filesystem::is_empty(".")) << "no folder is made";

  std::filesystem::create_directories("content/ut_result");
  profiler->WriteReportAndClear("");
  EXPECT_EQ(ReadBytes(DefaultPath), OnDisk("\n" + Block("a", "a/a\t0\t0\t7\t0\n")));
  profiler->OpenAccumulator("a");
  const std::string fresh = OnDisk("\n" + Block("a", "a/a\t0\t0\t0\t0\n"));
  profiler->WriteReport(
      "h\xC3\xA4"
      "fen.txt");
  EXPECT_EQ(ReadBytes(std::filesystem::path(u8"h\u00E4fen.txt")), fresh);
  MakeProfiler().reset();
  EXPECT_EQ(ReadBytes(DefaultPath), OnDisk("\n")) << "each profiler has its own accumulators";
  profiler.reset();
  EXPECT_EQ(ReadBytes(DefaultPath), fresh);
}

TEST(AccumulatorHandle, IsStartedAndStoppedOnce) {
  constexpr std::uint64_t LongAgo = 1;
  const Profiler profiler = MakeProfiler();
  const AccumulatorHandle handle = profiler->OpenAccumulator("a");
  MeasureRecord& record = handle.records->front();
  EXPECT_FALSE(record.idle);
  EXPECT_GT(std::exchange(record.started, LongAgo), LongAgo);
  const AccumulatorHandle again = profiler->OpenAccumulator("a");
  EXPECT_EQ(again.records, handle.records);
  EXPECT_EQ(record.started, LongAgo) << "the first start counts";

  handle.Stop();
  const std::uint64_t measured = record.totalTime;
  again.Stop();
  EXPECT_TRUE(record.idle);
  EXPECT_EQ(record.calls, 1U);
  EXPECT_EQ(record.totalTime, measured);
  profiler->OpenAccumulator("a");
  EXPECT_FALSE(record.idle);
  EXPECT_GE(record.started, LongAgo + measured);
}

TEST(AccumulatorHandle, GoesOnToFurtherRecordsWithoutAGap) {
  const Profiler profiler = MakeProfiler();
  const AccumulatorHandle first = profiler->OpenAccumulator("a");
  const auto started = std::exchange(first.records->front().started, 1);
  AccumulatorHandle handle = first;
  for (const char* name : {"b", "c", "a", "c", "c"}) handle.GoOnTo(name);
  ASSERT_EQ(NamesOf(first), (std::vector<std::string>{"a", "b", "c"}));
  const MeasureRecord &a = first.records->at(0), &b = first.records->at(1), &c = first.records->at(2);
  EXPECT_EQ(handle.position, 2U);
  EXPECT_EQ((std::vector{a.calls, b.calls, c.calls}), (std::vector<std::uint64_t>{2, 1, 2}));
  EXPECT_EQ((std::vector{a.idle, b.idle, c.idle}), (std::vector{true, true, false}));
  EXPECT_EQ(a.totalTime + b.totalTime + c.totalTime, c.started - 1);
  EXPECT_GE(a.totalTime, started - 1);

  for (int further = 0; further < 1000; ++further) handle.GoOnTo(std::to_string(further));
  EXPECT_EQ(profiler->OpenAccumulator("a").records, first.records);
  EXPECT_EQ(NamesOf(first).size(), 1003U);
  EXPECT_EQ(NamesOf(first).at(12), "9");
  first.Stop();
  EXPECT_EQ(first.records->front().calls, 3U) << "the handle from before the array grew";
}

TEST(AccumulatorHandle, IsStoppedByItsScope) {
  const Profiler profiler = MakeProfiler();
  const AccumulatorHandle handle = profiler->OpenAccumulator("a");
  try {
    ScopedMeasurement measurement(handle);
    measurement.GoOnTo("b");
    throw std::runtime_error("a phase failed");
  } catch (const std::runtime_error&) {
    EXPECT_TRUE(handle.records->back().idle);
    EXPECT_EQ(handle.records->back().calls, 1U);
    EXPECT_EQ(handle.records->front().calls, 1U);
  }
}

TEST(AccumulatorHandle, AddsUpWhatMeasuringCosts) {
  const Profiler profiler = MakeProfiler();
  std::vector<std::uint64_t> costs;
  for (int round = 0; round < 2; ++round) {
    for (int call = 0; call < 1000; ++call) profiler->OpenAccumulator("a").Stop();
    costs.push_back(profiler->OpenAccumulator("a").records->front().measureCost);
    profiler->OpenAccumulator("a").records->front().idle = true;
  }
  EXPECT_GT(costs[0], 0U);
  EXPECT_EQ(costs[1], 2 * costs[0]);
}

}  // namespace
}  // namespace Common::Test
