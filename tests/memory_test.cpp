// Lack of memory, at each allocation in turn inside each operation. What leaks is found by the address sanitizer.
#include <common/config_file.h>
#include <common/frame_utility.h>
#include <common/performance_profiler.h>
#include <common/runtime_unique_id.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <new>

#include "support.h"

namespace Common::Test {

extern int allocationsUntilFailure;  // 0 where none is to fail

using Call = std::function<void()>;

enum class End { Untouched, Failed, Swallowed };

// Runs the call with its allocation of this number failing, if it comes that far.
End FailAllocation(int number, const Call& call) {
  allocationsUntilFailure = number;
  try {
    call();
  } catch (const std::bad_alloc&) {
    return End::Failed;
  }
  return std::exchange(allocationsUntilFailure, 0) == 0 ? End::Swallowed : End::Untouched;
}

// Runs the call until it needs no more allocations than it gets. Returns how often it came through before.
int FailEachAllocation(const Call& call) {
  int swallowed = 0;
  End end = End::Failed;
  for (int number = 1; end != End::Untouched; ++number)
    swallowed += (end = FailAllocation(number, call)) == End::Swallowed;
  return swallowed;
}

const std::string LongText(100, 'x');

TEST(LackOfMemory, LeavesAFactoryWithoutATrace) {
  const StoredClock clock;
  WriteBytes("content/config/config.txt", "key = " + LongText);
  const Call each[] = {[] { delete ManufactureFrameUtility(); },    [] { delete ManufactureConfigFile(); },
                       [] { delete Log::ManufactureMessageLog(); }, [] { delete Unique::Manufacture(); },
                       [] { delete ManufactureTimeProvider(); },    [] { delete ManufacturePerformanceProfiler(); }};
  for (const Call& manufacture : each) {
    int status = 1;
    for (int number = 1; status == 1; ++number) {
      const pid_t child = fork();
      if (child == 0) _exit(FailAllocation(number, manufacture) == End::Untouched ? 0 : 1);
      waitpid(child, &status, 0);
      status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(ReadBytes("content/config/config.txt"), "key = " + LongText + '\n');
}

TEST(LackOfMemory, LosesNoLineAndKeepsNoLock) {
  const Capture out(std::cout);
  std::unique_ptr<Log::SMessageLog> log(Log::ManufactureMessageLog());
  log->SetLiveOutput(true);
  std::ptrdiff_t lines = 3;
  for (int call = 0; call < 600; ++call) lines += FailEachAllocation([&] { log->LogMessage(LongText); }) + 1;
  EXPECT_EQ(FailEachAllocation([&] { log->AddSideLine(LongText); }), 0);
  EXPECT_EQ(FailEachAllocation([&] { log->SetLogFile("zeb_log.txt"); }), 0);
  log.reset();
  EXPECT_EQ(std::ranges::count(ReadBytes("zeb_log.txt"), '\n'), lines);
}

TEST(LackOfMemory, LeavesWhatWasThere) {
  StoredLog log;
  const StoredClock clock;
  const std::string path = "content/config/config.txt";
  WriteBytes(path, "key = " + LongText + '\n');
  const std::unique_ptr<Config::SConfigFile> store(ManufactureConfigFile());
  const std::unique_ptr<SPerformanceProfiler> profiler(ManufacturePerformanceProfiler());
  const std::unique_ptr<SFrameUtility> frame(ManufactureFrameUtility());
  const std::unique_ptr<Unique::SRuntimeUniqueId> ids(Unique::Manufacture());
  profiler->WriteReport("report");
  int runs = 0;
  const auto run = [&runs](std::uint64_t) { ++runs; };
  Vorn::IntrudablePtr<IFrameReactor> reactor;
  Vorn::IntrudablePtr<IScopedIdOverride> override;
  Common::AccumulatorHandle handle = profiler->OpenAccumulator("a");
  const Call each[] = {[&] { store->Save(); },
                       [&] { store->WriteFile(store->ParseContent("bad\n" + LongText + " = 1", LongText), "other"); },
                       [&] { store->Load(path); },
                       [&] { store->GetString(LongText, LongText); },
                       [&] { store->SetString(LongText + "2", LongText); },
                       [&] { profiler->OpenAccumulator(LongText); },
                       [&] { handle.GoOnTo(LongText); },
                       [&] { reactor = frame->CreateReactor(0); },
                       [&] { reactor->SetCallback(run); },
                       [&] { frame->ScheduleCall(run, 0, 0); },
                       [&] { frame->Tick(); },
                       [&] { override = ids->OverrideCounter(7); },
                       [&] { ids->MakeUniqueName(LongText); }};
  for (const Call& call : each) {
    EXPECT_EQ(FailEachAllocation(call), 0);
    EXPECT_EQ(ReadBytes(path), OnDisk("key = " + LongText + '\n')) << "no file is cut for what cannot be written";
  }
  EXPECT_EQ(FailEachAllocation([&] { profiler->WriteReport("report"); }), 0);
  EXPECT_EQ(runs, 2);
  EXPECT_EQ(handle.records->size(), 2U);
  override = nullptr;
  EXPECT_EQ(ids->NextId(), 1);
}

}  // namespace Common::Test
