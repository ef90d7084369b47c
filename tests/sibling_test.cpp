#include <vorn_lnk/file>
#include <vorn_lnk/guid>

#include <atomic>
#include <thread>

#include "support.h"

namespace Common::Test {

template <class T>
using Ptr = Vorn::IntrudablePtr<T>;

struct Counted : Vorn::IScoped {
  explicit Counted(int releases = 0) : together(releases) {}
  ~Counted() override { ended += entered == left ? 1 : 1000; }

  // Where releases come together, the last one leaves first.
  void OnReleased(std::uint32_t count) override {
    references += count;
    for (++entered; entered < together;) std::this_thread::yield();
    if (together > 0 && count > 0) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ++left;
  }

  static inline std::atomic<std::uint32_t> references,
      ended;  // those left over; 1000 for an end during a release
  const int together;
  std::atomic<int> entered = 0, left = 0;
};

TEST(IntrudablePtr, KeepsTheObjectForAsLongAsOneHoldsIt) {
  static_assert(sizeof(Ptr<Counted>) == sizeof(Counted*) &&
                !std::is_convertible_v<Counted*, Ptr<Counted>>);
  Ptr<Counted> first(new Counted), moved = std::move(first);
  Ptr<Vorn::IScoped> scoped = moved, none;
  EXPECT_TRUE(!first && first == nullptr && moved == &*moved && moved == scoped && none < scoped &&
              none != scoped);
  auto& self = scoped;
  scoped = std::move(self);
  EXPECT_EQ(Counted::references, 0U) << "moves release nothing";
  scoped = self;
  Ptr<Vorn::Detail::Intrudable> base = std::move(moved);
  swap(scoped, none);
  base = nullptr;
  EXPECT_TRUE(Counted::references == 2 + 1 && Counted::ended == 0);
  none = Ptr<Vorn::IScoped>(new Counted);
  EXPECT_TRUE(Counted::references == 2 + 1 && Counted::ended == 1);
}

TEST(IntrudablePtr, ReleasesOnManyThreadsEndTheObjectOnceAndLast) {
  for (const int together : {0, 8}) {
    Counted::references = 0;
    std::vector<Ptr<Counted>> copies;
    copies.emplace_back(new Counted(together));
    while (copies.size() < 8) copies.push_back(copies.front());
    std::vector<std::thread> threads;
    for (Ptr<Counted>& copy : copies) {
      threads.emplace_back([&copy, turns = together == 0 ? 10'000 : 0]() mutable {
        for (; turns > 0; --turns) Ptr<Vorn::IScoped> another(copy);
        copy = nullptr;
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  EXPECT_EQ(Counted::references, 0U + 1 + 2 + 3 + 4 + 5 + 6 + 7)
      << "each of those together sees another count";
  EXPECT_EQ(Counted::ended, 2U);
}

TEST(Sibling, PathsAreSharedAndFilesReadWholeOrNotAtAll) {
  const std::string name = "\xC3\xBC-" + Vorn::CreateGuid();
  auto holder = Vorn::SharedPath::NewWrapped(Vorn::PathFromUtf8(name));
  const Vorn::SharedPath sharer = holder;
  EXPECT_TRUE(sharer.String() == name && !sharer.Exists());
  EXPECT_EQ(FailureOf([&] { Vorn::ReadWholeFileToString(sharer); }), "filesystem_error");
  const std::string bytes = std::string("\0\r\n\x1A", 4) + std::string(200'000, 'x');
  WriteBytes(sharer.Path(), bytes);
  EXPECT_EQ(Vorn::ReadWholeFileToString(sharer), bytes);
  holder.Reset(".", false);
  EXPECT_EQ(FailureOf([&] { Vorn::ReadWholeFileToString(sharer); }), "filesystem_error")
      << "a folder";
  holder.Reset();
  EXPECT_TRUE(holder.String().empty() && !holder.Exists() && sharer.Exists());
}

}  // namespace Common::Test
