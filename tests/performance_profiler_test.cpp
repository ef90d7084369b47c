#include <common/performance_profiler.h>

#include "support.h"

namespace Common::Test {
namespace {

struct PerformanceProfiler : testing::Test {
  std::unique_ptr<SPerformanceProfiler> profiler{ManufacturePerformanceProfiler()};
  AccumulatorHandle handle = profiler->OpenAccumulator("a");
  std::vector<MeasureRecord>& records = *handle.records;
};

std::string Block(const std::string& name, const std::string& rows) {
  return "\nProfile for accumulator: \t" + name +
         "\n\nName\tTime[us]\tTime[s]\tCalls\tMeasure Cost[us]\n" + rows;
}

TEST_F(PerformanceProfiler, ReportsEachRecordToTheByte) {
  profiler->OpenAccumulator("\xC3");
  *profiler->OpenAccumulator("Z\t/z").records = {{true, "Z\t/z", 9, 1'500'000, 3, 2},
                                                 {false, "", 9, 1, 0, 1},
                                                 {true, "b", 9, 16'777'550, 0, 0}};
  WriteBytes(u8"h\u00E4fen.txt", std::string(1000, 'x'));
  profiler->WriteReport("h\u00E4fen.txt");
  const std::string rows =
      "Z\t/z/Z\t/z\t1500000\t1.5\t2\t3\nZ\t/z/\t1\t1e-06\t1\t0\nZ\t/z/b\t16777550\t16.7775\t0\t0\n";
  EXPECT_EQ(ReadBytes(u8"h\u00E4fen.txt"),
            OnDisk(Block("Z\t/z", rows) + Block("a", "a/a\t0\t0\t0\t0\n") +
                   Block("\xC3", "\xC3/\xC3\t0\t0\t0\t0\n") + "\n"));
}

TEST_F(PerformanceProfiler, ReportsToTheDefaultPathAndAtItsEnd) {
  const std::string path = "content/ut_result/profiler_data.csv";
  records[0].calls = 7;
  const auto report = [this] { profiler->WriteReportAndClear(""); };
  EXPECT_EQ(FailureOf(report), "Failed to open file " + path + " for writing!");
  std::unique_ptr<SPerformanceProfiler>(ManufacturePerformanceProfiler()).reset();
  EXPECT_TRUE(std::filesystem::is_empty(".")) << "no folder is made";
  std::filesystem::create_directories("content/ut_result");
  report();
  EXPECT_EQ(ReadBytes(path), OnDisk(Block("a", "a/a\t0\t0\t7\t0\n") + "\n"));
  profiler.reset();
  EXPECT_EQ(ReadBytes(path), OnDisk("\n"));
}

TEST_F(PerformanceProfiler, CountsTheFirstStartAndTheFirstStop) {
  EXPECT_GT(std::exchange(records[0].started, 1), 1U);
  EXPECT_EQ(profiler->OpenAccumulator("a").records, &records);
  EXPECT_EQ(records[0].started, 1U);
  handle.Stop();
  const std::uint64_t measured = records[0].totalTime;
  handle.Stop();
  EXPECT_EQ(records[0].calls, 1U);
  profiler->OpenAccumulator("a");
  EXPECT_GT(records[0].started, measured);
}

TEST_F(PerformanceProfiler, GoesOnToFurtherRecordsWithoutAGap) {
  records[0].started = 1;
  for (const char* name : {"b", "c", "a", "c", "c"}) handle.GoOnTo(name);
  EXPECT_EQ(records.at(1).name + records.at(2).name, "bc");
  EXPECT_EQ(records[0].calls * 100 + records[1].calls * 10 + records[2].calls, 212U);
  EXPECT_EQ(records[0].totalTime + records[1].totalTime + records[2].totalTime,
            records[2].started - 1);
  for (int further = 3; further < 1000; ++further) handle.GoOnTo(std::to_string(further));
  EXPECT_EQ(records.back().name, "999");
  profiler->OpenAccumulator("a").Stop();
  EXPECT_EQ(records[0].calls, 3U);
}

TEST_F(PerformanceProfiler, StopsWithTheScopeAndAddsUpTheCost) {
  std::uint64_t costOfThousand = 0;
  for (int call = 1; call <= 2000; ++call) {
    ScopedMeasurement(profiler->OpenAccumulator("a")).GoOnTo("b");
    if (call == 1000) costOfThousand = records[0].measureCost;
  }
  EXPECT_EQ(records[1].calls, 2000U);
  EXPECT_GT(costOfThousand, 0U);
  EXPECT_EQ(records[0].measureCost, 2 * costOfThousand);
}

}  // namespace
}  // namespace Common::Test
