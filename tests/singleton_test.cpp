#include <common/config_file.h>
#include <common/frame_utility.h>
#include <common/message_totem.h>
#include <common/runtime_unique_id.h>
#include <common/seed_provider.h>

#include <type_traits>

#include "support.h"

namespace {
struct StorageKey;
}

// The storage opens itself to every Singleton, so one that is written here can look into it.
template <>
class Vorn::Singleton<StorageKey, std::shared_ptr> {
 public:
  static const std::map<std::size_t, void*>& Entries() { return Detail::Storage::GetStorageImpl(); }
};

namespace Common::Test {
namespace {

static_assert(!std::is_base_of_v<std::exception, Vorn::MissingInstance>);
static_assert(std::is_base_of_v<std::exception, ApplicationErrorException>);

struct Probe {
  explicit Probe(std::string* result) : failureAtEnd(result) {}
  ~Probe() { *failureAtEnd = FailureOf(Access<Probe>::Get); }

  std::string* const failureAtEnd;
};

TEST(Singleton, OwnerKeepsTheEntryAndTakesItOutBeforeTheServiceEnds) {
  const auto& entries = Access<StorageKey>::Entries();
  EXPECT_TRUE(entries.empty());
  EXPECT_EQ(FailureOf(Access<Probe>::Get), NoInstance);
  std::string failureAtEnd;
  auto* const first = new Probe(&failureAtEnd);
  auto owner = Access<Probe>::Create(first);
  EXPECT_EQ(owner.use_count(), 1);
  EXPECT_EQ(entries, (std::map<std::size_t, void*>{{typeid(Access<Probe>).hash_code(), first}}));

  std::string failureOfSecond;
  {
    const Access<Probe> accessor;
    Probe second(&failureOfSecond);
    EXPECT_EQ(FailureOf([&] { Access<Probe>::Create(&second); }), DoubleInstancing);
  }
  EXPECT_EQ(failureOfSecond, "none") << "the first service is still there";
  EXPECT_EQ(Access<Probe>::Get(), first);

  owner.reset();
  EXPECT_EQ(failureAtEnd, NoInstance);
  owner = Access<Probe>::Create(new Probe(&failureAtEnd));
  EXPECT_NE(Access<Probe>::Get(), nullptr);
}

template <class Service>
void ExpectOneCall(Service* (*manufacture)(), const std::string& failure, std::size_t entriesMade = 0) {
  const std::size_t entries = Access<StorageKey>::Entries().size();
  std::unique_ptr<Service> service(manufacture());
  EXPECT_EQ(FailureOf(manufacture), failure);
  EXPECT_EQ(Access<StorageKey>::Entries().size(), entries + entriesMade);
  service.reset();
  EXPECT_EQ(FailureOf(manufacture), failure) << "also when the first has ended";
}

TEST(Factories, WorkOnceAndLeaveTheStorageAlone) {
  const StoredClock clock;
  ExpectOneCall(ManufactureConfigFile, "Multiple instances of SCOnfigFile");
  ExpectOneCall(ManufactureFrameUtility, "Multiple instaces of frame utility!", 1);
  ExpectOneCall(Log::ManufactureMessageLog, "Multiple instances of SMessageLog!");
  ExpectOneCall(Unique::Manufacture, "Multiple instances of SRuntimeUniqueId!");
  ExpectOneCall(ManufactureSeedProvider, "Multiple instances of SSeedProvider");
  ExpectOneCall(ManufactureTimeProvider, "Multiple instances of STimeProvider!");
}

TEST(Factories, CountCallsThatFail) {
  EXPECT_EQ(FailureOf(ManufactureSeedProvider), "SSeedProvider requires STimeProvider!");
  WriteBytes("content/config/config.txt", "bad line\n");
  EXPECT_EQ(FailureOf(ManufactureConfigFile), NoInstance) << "no log to report to";
  auto totem = Access<SMessageTotem>::Create(new SMessageTotem);
  EXPECT_EQ(FailureOf(ManufactureFrameUtility), DoubleInstancing);
  EXPECT_NE(Access<SMessageTotem>::Get(), nullptr);
  totem.reset();
  std::filesystem::remove_all("content");
  const StoredClock clock;
  EXPECT_EQ(FailureOf(ManufactureSeedProvider), "Multiple instances of SSeedProvider");
  EXPECT_EQ(FailureOf(ManufactureConfigFile), "Multiple instances of SCOnfigFile");
  EXPECT_EQ(FailureOf(ManufactureFrameUtility), "Multiple instaces of frame utility!");
}

}  // namespace
}  // namespace Common::Test
