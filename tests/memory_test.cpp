// Lack of memory, at each allocation in turn inside each operation. What leaks is found by the address sanitizer.
#include <common/config_file.h>
#include <common/frame_utility.h>
#include <common/performance_profiler.h>
#include <common/runtime_unique_id.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iostream>

#include "support.h"

namespace Common::Test {

extern int allocationsUntilFailure;  // 0 where none is to fail

using Call = std::function<void()>;

// Runs the call with ever later allocations failing, from `first` to `last` or to the one that it no longer comes to.
// Returns how often it came through all the same.
static int FailAllocations(const Call& call, int first = 1, int last = 1000) {
  int swallowed = 0;
  bool reached = true;
  for (int number = first; number <= last && reached; ++number) {
    allocationsUntilFailure = number;
    try {
      call();
      reached = std::exchange(allocationsUntilFailure, 0) == 0;
      swallowed += reached ? 1 : 0;
    } catch (const std::bad_alloc&) {
    }
  }
  return swallowed;
}

static const std::string LongText(100, 'x');
static const std::string Path = "content/config/config.txt";

TEST(LackOfMemory, LeavesAFactoryInOrder) {
  const StoredClock clock;
  WriteBytes(Path, "key = " + LongText);
  for (const Call& manufacture :
       {Call([] { delete ManufactureFrameUtility(); }), Call([] { delete Unique::Manufacture(); }),
        Call([] { delete ManufactureConfigFile(); }), Call([] { delete Log::ManufactureMessageLog(); })}) {
    for (int number = 1; number < 30; ++number) {
      EXPECT_EXIT((FailAllocations(manufacture, number, number), std::_Exit(0)), testing::ExitedWithCode(0), "");
    }
  }
  EXPECT_EQ(ReadBytes(Path), "key = " + LongText + '\n');
}

TEST(LackOfMemory, LosesNoLineAndKeepsNoLock) {
  const Capture out(std::cout);
  std::unique_ptr<Log::SMessageLog> log(Log::ManufactureMessageLog());
  log->SetLiveOutput(true);
  std::ptrdiff_t lines = 3;
  for (int call = 0; call < 600; ++call) lines += FailAllocations([&] { log->LogMessage(LongText); }) + 1;
  EXPECT_EQ(FailAllocations([&] { log->SetLogFile("zeb_log.txt"); }), 0);
  log.reset();
  EXPECT_EQ(std::ranges::count(ReadBytes("zeb_log.txt"), '\n'), lines);
}

TEST(LackOfMemory, LeavesWhatWasThere) {
  const StoredLog log;
  const StoredClock clock;
  WriteBytes(Path, "key = " + LongText + '\n');
  const std::unique_ptr<Config::SConfigFile> store(ManufactureConfigFile());
  const std::unique_ptr<SPerformanceProfiler> profiler(ManufacturePerformanceProfiler());
  const std::unique_ptr<SFrameUtility> frame(ManufactureFrameUtility());
  const std::unique_ptr<Unique::SRuntimeUniqueId> ids(Unique::Manufacture());
  int runs = 0;
  const auto run = [&runs](std::uint64_t) { ++runs; };
  Vorn::IntrudablePtr<IFrameReactor> reactor;
  Vorn::IntrudablePtr<IScopedIdOverride> scope;
  AccumulatorHandle handle = profiler->OpenAccumulator("a");
  const Call calls[] = {[&] { store->Save(); },
                        [&] { store->ParseContent("bad\n" + LongText + " = 1", LongText); },
                        [&] { store->Load(Path); },
                        [&] { store->GetString(LongText, LongText); },
                        [&] { profiler->OpenAccumulator(LongText); },
                        [&] { handle.GoOnTo(LongText); },
                        [&] { profiler->WriteReport(LongText); },
                        [&] { (reactor = frame->CreateReactor(0))->SetCallback(run); },
                        [&] { frame->ScheduleCall(run, 0, 0); },
                        [&] { scope = ids->OverrideCounter(7); },
                        [&] { ids->MakeUniqueName(LongText); }};
  for (const Call& call : calls) {
    EXPECT_EQ(FailAllocations(call), 0);
    EXPECT_EQ(ReadBytes(Path), "key = " + LongText + '\n') << "no file is cut for what cannot be written";
  }
  frame->Tick();
  scope = nullptr;
  EXPECT_TRUE(runs == 2 && handle.records->size() == 2 && ids->NextId() == 1);
}

}  // namespace Common::Test
