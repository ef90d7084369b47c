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

// Hosts that were built apart count on what stands here. The totem's header has its layout.

static_assert(sizeof(Vorn::IntrudablePtr<IPeriodic>) == 8 && sizeof(Vorn::Detail::Intrudable) == 16);
static_assert(sizeof(Vorn::SharedPath) == 24 && sizeof(Vorn::Singleton<STimeProvider, std::shared_ptr>) == 16);
static_assert(sizeof(MeasureRecord) == 72 && sizeof(AccumulatorHandle) == 16);
static_assert(offsetof(MeasureRecord, idle) == 0 && offsetof(MeasureRecord, name) == 8);
static_assert(offsetof(MeasureRecord, started) == 40 && offsetof(MeasureRecord, totalTime) == 48);
static_assert(offsetof(MeasureRecord, measureCost) == 56 && offsetof(MeasureRecord, calls) == 64);
static_assert(offsetof(AccumulatorHandle, position) == 0 && offsetof(AccumulatorHandle, records) == 8);

constexpr std::uintptr_t FirstPlace = 2;  // behind the two of the destructor

// A pointer to a virtual operation holds one more than the operation's distance from the table's start, on both
// systems.
template <class Operation>
std::uintptr_t PlaceOf(Operation operation) {
  return (std::bit_cast<std::array<std::uintptr_t, 2>>(operation)[0] - 1) / sizeof(void*);
}

template <class... Operations>
void ExpectTable(Operations... operations) {
  std::uintptr_t place = FirstPlace;
  for (const std::uintptr_t found : {PlaceOf(operations)...}) EXPECT_EQ(found, place++);
}

TEST(Abi, VirtualOperationsKeepTheirPlaces) {
  using Time = STimeProvider;
  ExpectTable(&Time::SetOrigin, &Time::Now, &Time::Wait, &Time::MakeTimeFiller, &Time::RunTimingCheck,
              &Time::MakePeriodic);
  ExpectTable(&IPeriodic::GetValue);
  ExpectTable(&SSeedProvider::SetSeed, &SSeedProvider::NextSeed);
  using Frame = SFrameUtility;
  ExpectTable(&Frame::CreateReactor, &Frame::ScheduleCall, &Frame::CancelCall, &Frame::Tick);
  ExpectTable(&IFrameReactor::SetCallback, &IFrameReactor::Clear);
  ExpectTable(&Vorn::Detail::Intrudable::OnReleased);
  using Log = Log::SMessageLog;
  ExpectTable(&Log::LogError, &Log::LogWarning, &Log::LogMessage, &Log::SetLogFile, &Log::SetLiveOutput,
              &Log::AddSideLine, &Log::ClearSideLines, &Log::SideLines);
  using Profiler = SPerformanceProfiler;
  ExpectTable(&Profiler::OpenAccumulator, &Profiler::WriteReport, &Profiler::WriteReportAndClear);
  using Id = Unique::SRuntimeUniqueId;
  ExpectTable(&Id::NextId, &Id::NextIdString, &Id::IdToString, &Id::JoinIdAndText, &Id::MakeUniqueName,
              &Id::OverrideCounter);
  using Store = Config::SConfigFile;
  using Entries = Config::ConfigEntries;
  using Text = const std::string&;
  using Path = const Vorn::SharedPath&;
  ExpectTable(&Store::ParseContent, static_cast<Entries (Store::*)(Vorn::SharedPath)>(&Store::ReadFile),
              static_cast<Entries (Store::*)(Text)>(&Store::ReadFile), &Store::Load, &Store::Save,
              static_cast<void (Store::*)(const Entries&, Path)>(&Store::WriteFile),
              static_cast<void (Store::*)(const Entries&, Text)>(&Store::WriteFile), &Store::FormatEntries,
              &Store::GetString, &Store::FindString, &Store::SetString, &Store::SetInt, &Store::GetInt);
}

}  // namespace
}  // namespace Common
