#include <vorn_lnk/file>
#include <vorn_lnk/intrudable>
#include <vorn_lnk/shared_path>

#include <array>
#include <atomic>
#include <chrono>
#include <latch>
#include <thread>
#include <unordered_set>

#include "support.h"

namespace Common::Test {

template <class T>
using Ptr = Vorn::IntrudablePtr<T>;

static_assert(!std::is_convertible_v<Vorn::IScoped*, Ptr<Vorn::IScoped>>);

// Tells what is left of it and of its kind. Its own operations have names of those that count.
struct Crate : Vorn::IScoped {
  void AddReference() {}
  void ReleaseReference(int) {}
  ~Crate() override { ++ended; }
  void OnReleased(std::uint32_t count) override {
    ++releases;
    left = count;
  }

  static inline std::atomic<int> releases = 0, ended = 0;
  static inline std::atomic<std::uint32_t> left = 0;
};

TEST(IntrudablePtr, EachReleaseTellsWhatIsLeftAndTheLastEndsTheObject) {
  Ptr<Crate> crate(new Crate);
  Ptr<Vorn::IScoped> copyAsInterface = crate;
  Ptr<Vorn::Detail::Intrudable> copyAsBase = copyAsInterface;
  copyAsInterface = nullptr;
  EXPECT_EQ(Crate::left, 2U);
  crate = nullptr;
  EXPECT_EQ(Crate::left, 1U);
  EXPECT_EQ(Crate::ended, 0);
  copyAsBase = nullptr;
  EXPECT_EQ(Crate::left, 0U);
  EXPECT_EQ(Crate::ended, 1);
}

TEST(IntrudablePtr, MovesAndSwapsReleaseNothing) {
  Ptr<Crate> crate(new Crate);
  Ptr<Vorn::IScoped> moved = std::move(crate), other;
  EXPECT_EQ(crate, nullptr);
  auto& self = moved;
  moved = std::move(self);
  swap(moved, other);
  EXPECT_EQ(moved, nullptr);
  EXPECT_TRUE(other);
  EXPECT_EQ(Crate::releases, 0);
}

TEST(IntrudablePtr, ComparesAndHashesByWhatItHolds) {
  const Ptr<Crate> crate(new Crate), none;
  const Ptr<const Vorn::IScoped> sameCrate = crate;
  EXPECT_EQ(crate, sameCrate);
  EXPECT_EQ(crate, &*sameCrate);
  EXPECT_NE(crate, none);
  EXPECT_LT(none, crate);
  const std::unordered_set<Ptr<const Vorn::IScoped>> held{crate};
  EXPECT_TRUE(held.contains(sameCrate));
  EXPECT_FALSE(held.contains(none));
}

// Looks at its place when it ends.
struct Onlooker : Vorn::IScoped {
  ~Onlooker() override { seenAtEnd = place.get(); }

  static inline Ptr<Vorn::IScoped> place;
  static inline Vorn::IScoped* seenAtEnd = nullptr;
};

TEST(IntrudablePtr, TheNewObjectIsInPlaceWhenTheOldOneEnds) {
  Onlooker::place = Ptr<Vorn::IScoped>(new Onlooker);
  const Ptr<Vorn::IScoped> next(new Crate);
  Onlooker::place = next;
  EXPECT_EQ(Onlooker::seenAtEnd, next.get());
}

// Its releases wait until all of them are under way; the one that dropped the last reference then
// leaves first.
struct Meeting : Vorn::IScoped {
  static constexpr int Members = 8;

  ~Meeting() override {
    ++ended;
    presentAtEnd = present.load();
  }
  void OnReleased(std::uint32_t count) override {
    ++releasesByCount.at(count);
    ++present;
    allArrived.arrive_and_wait();
    if (count > 0) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    --present;
  }

  std::latch allArrived{Members};
  std::atomic<int> present = 0;
  static inline std::array<std::atomic<int>, Members> releasesByCount;
  static inline std::atomic<int> ended = 0, presentAtEnd = 0;
};

TEST(IntrudablePtr, ReleasesAtOneTimeSeeEachCountOnceAndTheLastToLeaveEndsTheObject) {
  std::vector<Ptr<Meeting>> copies;
  copies.emplace_back(new Meeting);
  while (copies.size() < Meeting::Members) copies.push_back(copies.front());
  std::vector<std::thread> threads;
  for (Ptr<Meeting>& copy : copies) threads.emplace_back([&copy] { copy = nullptr; });
  for (std::thread& thread : threads) thread.join();
  for (const auto& releases : Meeting::releasesByCount) EXPECT_EQ(releases, 1);
  EXPECT_EQ(Meeting::ended, 1);
  EXPECT_EQ(Meeting::presentAtEnd, 0);
}

#if !defined(NDEBUG) && !defined(_WIN32)
TEST(IntrudablePtr, FollowedWhileEmptyStopsADebugBuild) {
  const Ptr<Crate> empty;
  EXPECT_DEATH(empty->OnReleased(0), "an empty IntrudablePtr is followed");
}
#endif

TEST(SharedPath, NamesFilesInUtf8) {
  const std::string name = "\xC3\xBC.txt";
  const auto path = Vorn::SharedPath::NewWrapped(Vorn::PathFromUtf8(name));
  EXPECT_EQ(path.String(), name);
  EXPECT_FALSE(path.Exists());
  WriteBytes(std::filesystem::path(u8"\u00FC.txt"), "");
  EXPECT_TRUE(path.Exists());
  EXPECT_FALSE(Vorn::SharedPath::NewWrapped(std::string(300, 'x')).Exists()) << "too long a name";
}

TEST(SharedPath, SharersFollowUntilOneIsResetAlone) {
  Vorn::SharedPath holder;
  holder.Reset("first", false);
  const Vorn::SharedPath sharer = holder;
  holder.Reset("second", false);
  EXPECT_EQ(sharer.String(), "second");
  holder.Reset("third", true);
  EXPECT_EQ(sharer.String(), "second");
  EXPECT_EQ(holder.String(), "third");
  holder = sharer;
  holder.Reset();
  EXPECT_EQ(holder.String(), "");
  EXPECT_FALSE(holder.Exists());
  EXPECT_EQ(sharer.String(), "second");
}

TEST(ReadWholeFileToString, ReadsEveryByteOrThrows) {
  const auto file = Vorn::SharedPath::NewWrapped("bytes");
  const auto read = [&file] { return Vorn::ReadWholeFileToString(file); };
  EXPECT_EQ(FailureOf(read), "filesystem_error") << "nothing there";
  const std::string bytes = std::string("\0\r\n\x1A", 4) + std::string(200'000, 'x');
  WriteBytes("bytes", bytes);
  EXPECT_EQ(read(), bytes);
  const auto longer = Vorn::SharedPath::NewWrapped(std::string("bytes\0more", 10));
  EXPECT_FALSE(longer.Exists());
  EXPECT_EQ(FailureOf([&] { Vorn::ReadWholeFileToString(longer); }), "filesystem_error");
  std::filesystem::remove("bytes");
  std::filesystem::create_directory("bytes");
  EXPECT_EQ(FailureOf(read), "filesystem_error") << "a folder";
}

}  // namespace Common::Test
