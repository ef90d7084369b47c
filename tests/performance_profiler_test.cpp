#include <common/performance_profiler.h>

#include <thread>

#include "support.h"

namespace Common::Test {
namespace {

const std::string DefaultPath = "content/ut_result/profiler_data.csv";
const std::string EmptyReport = OnDisk("\n");

struct PerformanceProfiler : testing::Test {
  // What replaces a longer file.
  std::string Report() {
    WriteBytes(u8"h\u00E4fen.csv", std::string(1'000, 'x'));
    profiler->WriteReport("h\u00E4fen.csv");
    return ReadBytes(u8"h\u00E4fen.csv");
  }

  std::vector<std::string> NamesOfRecords() const {
    std::vector<std::string> names;
    for (const MeasureRecord& record : records) names.push_back(record.name);
    return names;
  }

  std::unique_ptr<SPerformanceProfiler> profiler{ManufacturePerformanceProfiler()};
  AccumulatorHandle handle = profiler->OpenAccumulator("a");  // its first record is running
  std::vector<MeasureRecord>& records = *handle.records;
};

std::string Block(const std::string& name, const std::string& rows) {
  return OnDisk("Profile for accumulator: \t" + name +
                "\n\nName\tTime[us]\tTime[s]\tCalls\tMeasure Cost[us]\n" + rows + "\n");
}

// ---- The report.

TEST_F(PerformanceProfiler, ReportsEveryRecordToTheByte) {
  profiler->OpenAccumulator("\xC3");
  *profiler->OpenAccumulator("Z\t/z").records = {{true, "Z\t/z", 9, 1'500'000, 3, 2},
                                                 {false, "", 9, 1, 0, 1},
                                                 {true, "b", 9, 16'777'550, 0, 0}};
  EXPECT_EQ(Report(), EmptyReport +
                          Block("Z\t/z",
                                "Z\t/z/Z\t/z\t1500000\t1.5\t2\t3\nZ\t/z/\t1\t1e-06\t1\t0\n"
                                "Z\t/z/b\t16777550\t16.7775\t0\t0\n") +
                          Block("a", "a/a\t0\t0\t0\t0\n") +
                          Block("\xC3", "\xC3/\xC3\t0\t0\t0\t0\n"));
}

TEST_F(PerformanceProfiler, ReportsNumbersInTheGlobalLocale) {
  records = {{true, "1234", 0, 1'234'567, 1'234, 4'321}};
  UseCommas();
  EXPECT_EQ(Report(), EmptyReport + Block("a", "a/1234\t1.234.567\t1,23457\t4.321\t1.234\n"));
}

TEST_F(PerformanceProfiler, KeepsItsRecordsAndMakesNoFolderWhereItCannotWrite) {
  EXPECT_EQ(FailureOf([this] { profiler->WriteReportAndClear(""); }),
            "Failed to open file " + DefaultPath + " for writing!");
  EXPECT_TRUE(std::filesystem::is_empty("."));
  EXPECT_EQ(Report(), EmptyReport + Block("a", "a/a\t0\t0\t0\t0\n"));
}

TEST_F(PerformanceProfiler, ReplacesTheDefaultReportAtItsEnd) {
  std::filesystem::create_directories("content/ut_result");
  profiler->WriteReportAndClear("");
  EXPECT_EQ(ReadBytes(DefaultPath), EmptyReport + Block("a", "a/a\t0\t0\t0\t0\n"));
  profiler.reset();
  EXPECT_EQ(ReadBytes(DefaultPath), EmptyReport);
}

TEST_F(PerformanceProfiler, CopiesItsAccumulators) {
  handle.GoOnTo("b");
  auto copy = profiler->Accumulators();
  EXPECT_EQ(copy.at("a").at(1).name, "b");
  copy.at("a").clear();
  EXPECT_EQ(NamesOfRecords(), (std::vector<std::string>{"a", "b"}));
}

// ---- Measuring.

TEST_F(PerformanceProfiler, MeasuresMicroseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  handle.Stop();
  EXPECT_GE(records[0].totalTime, 20'000U);
  EXPECT_LT(records[0].totalTime, 20'000'000U);
}

TEST_F(PerformanceProfiler, CountsTheFirstStart) {
  records[0].started = 1;
  EXPECT_EQ(profiler->OpenAccumulator("a").records, &records);
  EXPECT_EQ(records[0].started, 1U);
  AccumulatorHandle(handle).GoOnTo("b");
  records[1].started = 1;
  handle.GoOnTo("b");
  EXPECT_EQ(records[1].started, 1U);
}

TEST_F(PerformanceProfiler, CountsTheFirstStopUntilTheNextStart) {
  handle.Stop();
  records[0].started = 1;
  handle.Stop();
  EXPECT_EQ(records[0].calls, 1U);
  profiler->OpenAccumulator("a");
  EXPECT_GT(records[0].started, 1U);
}

TEST_F(PerformanceProfiler, GoesOnToNamedRecordsWithoutAGap) {
  records[0].started = 1;
  for (const char* name : {"b", "c", "a", "a", "d", "c"}) handle.GoOnTo(name);
  EXPECT_EQ(NamesOfRecords(), (std::vector<std::string>{"a", "b", "c", "d"}));
  std::uint64_t measured = 0;
  for (const MeasureRecord& record : records) {
    EXPECT_EQ(record.calls, record.name == "a" ? 3U : 1U) << record.name;
    measured += record.totalTime;
  }
  EXPECT_EQ(measured, records[2].started - 1);
}

TEST_F(PerformanceProfiler, StopsWithTheScope) {
  ScopedMeasurement(profiler->OpenAccumulator("a")).GoOnTo("b");
  EXPECT_TRUE(records[1].idle);
  EXPECT_EQ(records[1].calls, 1U);
}

TEST_F(PerformanceProfiler, AddsUpWhatMeasuringCosts) {
  const auto measureThousandTimes = [this] {
    for (int call = 0; call < 1'000; ++call) profiler->OpenAccumulator("a").Stop();
  };
  measureThousandTimes();
  const std::uint64_t costOfThousand = records[0].measureCost;
  EXPECT_GT(costOfThousand, 0U);
  measureThousandTimes();
  EXPECT_EQ(records[0].measureCost, 2 * costOfThousand);
}

}  // namespace
}  // namespace Common::Test
