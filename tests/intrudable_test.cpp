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

  static inline std::atomic<std::uint32_t> references, ended;  // those left over; 1000 for an end during a release
  const int together;
  std::atomic<int> entered = 0, left = 0;
};

TEST(IntrudablePtr, KeepsTheObjectForAsLongAsOneHoldsIt) {
  static_assert(sizeof(Ptr<Counted>) == sizeof(Counted*) && !std::is_convertible_v<Counted*, Ptr<Counted>>);
  Ptr<Counted> first(new Counted), moved = std::move(first);
  Ptr<Vorn::IScoped> scoped = moved, none;
  EXPECT_TRUE(!first && first == nullptr && moved == &*moved && moved == scoped && none < scoped && none != scoped);
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

TEST(IntrudablePtr, ReleasesOnTwoThreadsEndTheObjectOnceAndLast) {
  Ptr<Counted> shared(new Counted(2));
  std::thread other([copy = shared]() mutable { copy = nullptr; });
  shared = nullptr;
  other.join();
  EXPECT_TRUE(Counted::references == 1 && Counted::ended == 1);
}

}  // namespace Common::Test
