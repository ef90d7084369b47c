// What hosts reach the services through: the storage, the factories, and the tables of operations.
#include <common/config_file.h>
#include <common/frame_utility.h>
#include <common/message_totem.h>
#include <common/performance_profiler.h>
#include <common/runtime_unique_id.h>
#include <common/seed_provider.h>

#include <array>
#include <bit>
#include <new>

#include "support.h"

namespace Common::Test {

static_assert(!std::is_base_of_v<std::exception, Vorn::MissingInstance>);

// A service that asks for itself while it ends.
struct Probe {
  ~Probe() { failureAtEnd = FailureOf(Vorn::Service<Probe>::Get); }

  static inline std::string failureAtEnd;
};

TEST(Singleton, OwnerKeepsTheEntryAndTakesItOutBeforeTheServiceEnds) {
  EXPECT_EQ(FailureOf(Vorn::Service<Probe>::Get), NoInstance);
  auto* const probe = new Probe;
  auto owner = Vorn::Service<Probe>::Create(probe);
  Vorn::Service<Probe>();
  EXPECT_EQ(Vorn::Service<Probe>::Get(), probe) << "an accessor that ends leaves the entry";
  owner.reset();
  EXPECT_EQ(Probe::failureAtEnd, NoInstance);
}

TEST(Singleton, ASecondServiceOfATypeIsRefusedAndStaysTheCallers) {
  auto* const probe = new Probe;
  const auto owner = Vorn::Service<Probe>::Create(probe);
  const auto other = std::make_unique<Probe>();
  EXPECT_EQ(FailureOf([&other] { (void)Vorn::Service<Probe>::Create(other.get()); }),
            DoubleInstancing);
  EXPECT_EQ(Vorn::Service<Probe>::Get(), probe);
}

TEST(Singleton, KindsOfPointersHaveEntriesOfTheirOwnWhichMayBeNull) {
  const auto unique = Vorn::Singleton<Probe, std::unique_ptr>::Create(new Probe);
  const auto shared = Vorn::Service<Probe>::Create(nullptr);
  EXPECT_EQ(Vorn::Service<Probe>::Get(), nullptr);
}

template <class T>
struct PtrWithoutMemory {
  explicit PtrWithoutMemory(std::unique_ptr<T>&&) { throw std::bad_alloc(); }
};

TEST(Singleton, WithoutMemoryForTheOwnerTheServiceStaysTheCallers) {
  Probe probe;
  using AccessWithoutMemory = Vorn::Singleton<Probe, PtrWithoutMemory>;
  EXPECT_THROW((void)AccessWithoutMemory::Create(&probe), std::bad_alloc);
  EXPECT_EQ(FailureOf(AccessWithoutMemory::Get), NoInstance);
}

TEST(Factories, WorkOnceAndLeaveTheStorageAlone) {
  EXPECT_EQ(FailureOf(ManufactureSeedProvider), "SSeedProvider requires STimeProvider!");
  const StoredClock clock;
  EXPECT_EQ(FailureOf(ManufactureSeedProvider), "Multiple instances of SSeedProvider")
      << "although the first has failed";
  const auto expectOneCall = [](auto* manufacture, const std::string& failure) {
    delete manufacture();
    EXPECT_EQ(FailureOf(manufacture), failure) << "although the first has ended";
  };
  expectOneCall(ManufactureConfigFile, "Multiple instances of SCOnfigFile");
  expectOneCall(ManufactureFrameUtility, "Multiple instaces of frame utility!");
  expectOneCall(Log::ManufactureMessageLog, "Multiple instances of SMessageLog!");
  expectOneCall(Unique::Manufacture, "Multiple instances of SRuntimeUniqueId!");
  expectOneCall(ManufactureTimeProvider, "Multiple instances of STimeProvider!");
  EXPECT_EQ(FailureOf(Vorn::Service<SFrameUtility>::Get), NoInstance) << "an owner enters it";
}

#if defined(__GXX_ABI_VERSION) && defined(__x86_64__)
// As the Itanium C++ ABI has it on x86-64, under Linux and under mingw-w64: a pointer to a virtual
// operation holds one more than the operation's distance from the table's start.
template <class Operation>
static std::uintptr_t PlaceOf(Operation operation) {
  return (std::bit_cast<std::array<std::uintptr_t, 2>>(operation)[0] - 1) / sizeof(void*);
}

template <class... Operations>
static void ExpectOrder(const char* service, Operations... operations) {
  std::uintptr_t place = 2;  // behind the two of the destructor
  EXPECT_TRUE(((PlaceOf(operations) == place++) && ...)) << service << ": " << place - 2;
}

// Hosts that were built apart count on the order: whatever is added stands at the end. The headers
// themselves check the layouts.
TEST(Abi, OperationsKeepTheirPlaces) {
  using Clock = STimeProvider;
  ExpectOrder("STimeProvider", &Clock::SetOrigin, &Clock::Now, &Clock::Wait, &Clock::MakeTimeFiller,
              &Clock::RunTimingCheck, &Clock::MakePeriodic);
  ExpectOrder("SSeedProvider", &SSeedProvider::SetSeed, &SSeedProvider::NextSeed);
  ExpectOrder("SFrameUtility", &SFrameUtility::CreateReactor, &SFrameUtility::ScheduleCall,
              &SFrameUtility::CancelCall, &SFrameUtility::Tick, &SFrameUtility::WaitingCalls);
  ExpectOrder("IFrameReactor", &IFrameReactor::SetCallback, &IFrameReactor::Clear);
  using Log = Log::SMessageLog;
  ExpectOrder("SMessageLog", &Log::LogError, &Log::LogWarning, &Log::LogMessage, &Log::SetLogFile,
              &Log::SetLiveOutput, &Log::AddSideLine, &Log::ClearSideLines, &Log::SideLines,
              &Log::Flush, &Log::SetGuardFile, &Log::Wants);
  using Profiler = SPerformanceProfiler;
  ExpectOrder("SPerformanceProfiler", &Profiler::OpenAccumulator, &Profiler::WriteReport,
              &Profiler::WriteReportAndClear, &Profiler::Accumulators);
  using Ids = Unique::SRuntimeUniqueId;
  ExpectOrder("SRuntimeUniqueId", &Ids::NextId, &Ids::NextIdString, &Ids::IdToString,
              &Ids::JoinIdAndText, &Ids::MakeUniqueName, &Ids::OverrideCounter);
  using Store = Config::SConfigFile;
  using Entries = Config::ConfigEntries;
  ExpectOrder(
      "SConfigFile", &Store::ParseContent,
      static_cast<Entries (Store::*)(Vorn::SharedPath)>(&Store::ReadFile),
      static_cast<Entries (Store::*)(const std::string&)>(&Store::ReadFile), &Store::Load,
      &Store::Save,
      static_cast<void (Store::*)(const Entries&, const Vorn::SharedPath&)>(&Store::WriteFile),
      static_cast<void (Store::*)(const Entries&, const std::string&)>(&Store::WriteFile),
      &Store::FormatEntries, &Store::GetString, &Store::FindString, &Store::SetString,
      &Store::SetInt, &Store::GetInt, &Store::Entries, &Store::Remove);
  EXPECT_EQ(PlaceOf(&Vorn::Detail::Intrudable::OnReleased), 2U);
  EXPECT_EQ(PlaceOf(&IPeriodic::GetValue), 2U);
}
#endif

}  // namespace Common::Test
