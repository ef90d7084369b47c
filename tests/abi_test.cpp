#include <common/config_file.h>
#include <common/frame_utility.h>
#include <common/message_log.h>
#include <common/message_totem.h>
#include <common/performance_profiler.h>
#include <common/runtime_unique_id.h>
#include <common/seed_provider.h>
#include <common/time_provider.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>

namespace Common {
namespace {

// A pointer to a virtual operation holds one more than the operation's distance from the table's start, on both
// systems.
template <class Operation>
std::uintptr_t PlaceOf(Operation operation) {
  return (std::bit_cast<std::array<std::uintptr_t, 2>>(operation)[0] - 1) / sizeof(void*);
}

template <class... Operations>
void ExpectTable(Operations... operations) {
  std::uintptr_t place = 2;  // behind the two of the destructor
  for (const std::uintptr_t found : {PlaceOf(operations)...}) EXPECT_EQ(found, place++);
}

// Hosts that were built apart count on the order. The headers themselves check the layouts.
TEST(Abi, VirtualOperationsKeepTheirPlaces) {
  using Time = STimeProvider;
  using Frame = SFrameUtility;
  using Log = Log::SMessageLog;
  using Profiler = SPerformanceProfiler;
  using Id = Unique::SRuntimeUniqueId;
  using Store = Config::SConfigFile;
  using Entries = Config::ConfigEntries;
  using Path = Vorn::SharedPath;
  ExpectTable(&Time::SetOrigin, &Time::Now, &Time::Wait, &Time::MakeTimeFiller, &Time::RunTimingCheck,
              &Time::MakePeriodic);
  ExpectTable(&IPeriodic::GetValue);
  ExpectTable(&SSeedProvider::SetSeed, &SSeedProvider::NextSeed);
  ExpectTable(&Frame::CreateReactor, &Frame::ScheduleCall, &Frame::CancelCall, &Frame::Tick);
  ExpectTable(&IFrameReactor::SetCallback, &IFrameReactor::Clear);
  ExpectTable(&Vorn::Detail::Intrudable::OnReleased);
  ExpectTable(&Log::LogError, &Log::LogWarning, &Log::LogMessage, &Log::SetLogFile, &Log::SetLiveOutput,
              &Log::AddSideLine, &Log::ClearSideLines, &Log::SideLines);
  ExpectTable(&Profiler::OpenAccumulator, &Profiler::WriteReport, &Profiler::WriteReportAndClear);
  ExpectTable(&Id::NextId, &Id::NextIdString, &Id::IdToString, &Id::JoinIdAndText, &Id::MakeUniqueName,
              &Id::OverrideCounter);
  ExpectTable(&Store::ParseContent, static_cast<Entries (Store::*)(Path)>(&Store::ReadFile),
              static_cast<Entries (Store::*)(const std::string&)>(&Store::ReadFile), &Store::Load, &Store::Save,
              static_cast<void (Store::*)(const Entries&, const Path&)>(&Store::WriteFile),
              static_cast<void (Store::*)(const Entries&, const std::string&)>(&Store::WriteFile),
              &Store::FormatEntries, &Store::GetString, &Store::FindString, &Store::SetString, &Store::SetInt,
              &Store::GetInt);
}

}  // namespace
}  // namespace Common
