// What hosts reach the services through: the storage, the factories, and the tables of operations.
#include <common/config_file.h>
#include <common/frame_utility.h>
#include <common/message_totem.h>
#include <common/performance_profiler.h>
#include <common/runtime_unique_id.h>
#include <common/seed_provider.h>

#include <array>
#include <bit>
#include <cstdlib>
#include <iostream>
#include <new>

#include "support.h"

namespace Common::Test {

static_assert(!std::is_base_of_v<std::exception, Vorn::MissingInstance>);

// A service that asks for itself while it ends.
struct Probe {
  explicit Probe(std::string& failureAtEnd) : failureAtEnd(failureAtEnd) {}
  ~Probe() { failureAtEnd = FailureOf(Access<Probe>::Get); }

  std::string& failureAtEnd;
};

TEST(Singleton, OwnerKeepsTheEntryAndTakesItOutBeforeTheServiceEnds) {
  EXPECT_EQ(FailureOf(Access<Probe>::Get), NoInstance);
  std::string failureAtEnd;
  auto* const probe = new Probe(failureAtEnd);
  auto owner = Access<Probe>::Create(probe);
  Access<Probe>();
  EXPECT_EQ(Access<Probe>::Get(), probe) << "an accessor that ends leaves the entry";
  owner.reset();
  EXPECT_EQ(failureAtEnd, NoInstance);
}

TEST(Singleton, ASecondServiceOfATypeIsRefusedAndStaysTheCallers) {
  std::string failureAtEnd, failureAtOthersEnd;
  auto* const probe = new Probe(failureAtEnd);
  const auto owner = Access<Probe>::Create(probe);
  const auto other = std::make_unique<Probe>(failureAtOthersEnd);
  EXPECT_EQ(FailureOf([&other] { (void)Access<Probe>::Create(other.get()); }), DoubleInstancing);
  EXPECT_EQ(Access<Probe>::Get(), probe);
}

template <class T>
struct PtrWithoutMemory {
  explicit PtrWithoutMemory(std::unique_ptr<T>&&) { throw std::bad_alloc(); }
};

TEST(Singleton, WithoutMemoryForTheOwnerTheServiceStaysTheCallers) {
  std::string failureAtEnd;
  Probe probe(failureAtEnd);
  using AccessWithoutMemory = Vorn::Singleton<Probe, PtrWithoutMemory>;
  EXPECT_THROW((void)AccessWithoutMemory::Create(&probe), std::bad_alloc);
  EXPECT_EQ(FailureOf(AccessWithoutMemory::Get), NoInstance);
}

TEST(Factories, WorkOnceAndLeaveTheStorageAlone) {
  const StoredClock clock;
  const auto expectOneCall = [](auto* manufacture, const std::string& failure) {
    delete manufacture();
    EXPECT_EQ(FailureOf(manufacture), failure) << "although the first has ended";
  };
  expectOneCall(ManufactureConfigFile, "Multiple instances of SCOnfigFile");
  expectOneCall(ManufactureFrameUtility, "Multiple instaces of frame utility!");
  expectOneCall(Log::ManufactureMessageLog, "Multiple instances of SMessageLog!");
  expectOneCall(Unique::Manufacture, "Multiple instances of SRuntimeUniqueId!");
  expectOneCall(ManufactureSeedProvider, "Multiple instances of SSeedProvider");
  expectOneCall(ManufactureTimeProvider, "Multiple instances of STimeProvider!");
  EXPECT_EQ(FailureOf(Access<SSeedProvider>::Get), NoInstance) << "an owner enters it";
}

TEST(Factories, CountCallsThatFail) {
  EXPECT_EQ(FailureOf(ManufactureSeedProvider), "SSeedProvider requires STimeProvider!");
  const StoredClock clock;
  EXPECT_EQ(FailureOf(ManufactureSeedProvider), "Multiple instances of SSeedProvider");
}

#if defined(__GXX_ABI_VERSION) && defined(__x86_64__)
// As the Itanium C++ ABI has it on x86-64, under Linux and under mingw-w64: a pointer to a virtual
// operation holds one more than the operation's distance from the table's start.
template <class Operation>
static std::uintptr_t PlaceOf(Operation operation) {
  return (std::bit_cast<std::array<std::uintptr_t, 2>>(operation)[0] - 1) / sizeof(void*);
}

// Hosts that were built apart count on the order: whatever is added stands at the end. The headers
// themselves check the layouts.
TEST(Abi, LastListedOperationsKeepTheirPlacesBehindTheTwoOfTheDestructor) {
  EXPECT_EQ(PlaceOf(&STimeProvider::MakePeriodic), 7U);
  EXPECT_EQ(PlaceOf(&SSeedProvider::NextSeed), 3U);
  EXPECT_EQ(PlaceOf(&SFrameUtility::Tick), 5U);
  EXPECT_EQ(PlaceOf(&IFrameReactor::Clear), 3U);
  EXPECT_EQ(PlaceOf(&Log::SMessageLog::Flush), 10U);
  EXPECT_EQ(PlaceOf(&SPerformanceProfiler::WriteReportAndClear), 4U);
  EXPECT_EQ(PlaceOf(&Unique::SRuntimeUniqueId::OverrideCounter), 7U);
  EXPECT_EQ(PlaceOf(&Config::SConfigFile::GetInt), 14U);
  EXPECT_EQ(PlaceOf(&Vorn::Detail::Intrudable::OnReleased), 2U);
  EXPECT_EQ(PlaceOf(&IPeriodic::GetValue), 2U);
}
#endif

}  // namespace Common::Test
