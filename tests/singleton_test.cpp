#include <common/config_file.h>
#include <common/frame_utility.h>
#include <common/message_totem.h>
#include <common/runtime_unique_id.h>
#include <common/seed_provider.h>

#include "support.h"

struct StorageKey;

// The storage opens itself to every Singleton, so one that is written here can look into it.
template <>
class Vorn::Singleton<StorageKey, std::shared_ptr> {
 public:
  static const std::map<std::size_t, void*>& Entries() { return Detail::Storage::GetStorageImpl(); }
};

namespace Common::Test {

static_assert(!std::is_base_of_v<std::exception, Vorn::MissingInstance>);

struct Probe {
  explicit Probe(std::string* failure) : failureAtEnd(failure) {}
  ~Probe() { *failureAtEnd = FailureOf(Access<Probe>::Get); }

  std::string* const failureAtEnd;
};

TEST(Singleton, OwnerKeepsTheEntryAndTakesItOutBeforeTheServiceEnds) {
  const auto& entries = Access<StorageKey>::Entries();
  EXPECT_TRUE(entries.empty());
  std::string failureAtEnd;
  auto* const first = new Probe(&failureAtEnd);
  auto owner = Access<Probe>::Create(first);
  EXPECT_EQ(entries, (std::map<std::size_t, void*>{{typeid(Access<Probe>).hash_code(), first}}));
  EXPECT_EQ(FailureOf([&] { Access<Probe>::Create(std::make_unique<Probe>(&failureAtEnd).get()); }), DoubleInstancing);
  EXPECT_EQ(failureAtEnd, "none") << "the first service is still there";
  Access<Probe>();
  EXPECT_EQ(Access<Probe>::Get(), first) << "an accessor leaves it";
  owner.reset();
  EXPECT_EQ(failureAtEnd, NoInstance);
  EXPECT_TRUE(entries.empty());
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
  EXPECT_EQ(Access<StorageKey>::Entries().size(), 1U) << "the clock";
}

TEST(Factories, CountCallsThatFail) {
  EXPECT_EQ(FailureOf(ManufactureSeedProvider), "SSeedProvider requires STimeProvider!");
  auto totem = Access<SMessageTotem>::Create(new SMessageTotem);
  EXPECT_EQ(FailureOf(ManufactureFrameUtility), DoubleInstancing);
  EXPECT_EQ(Access<SMessageTotem>::Get()->frameNumber.Read(), 0U);
  totem.reset();
  const StoredClock clock;
  EXPECT_EQ(FailureOf(ManufactureSeedProvider), "Multiple instances of SSeedProvider");
  EXPECT_EQ(FailureOf(ManufactureFrameUtility), "Multiple instaces of frame utility!");
}

}  // namespace Common::Test
