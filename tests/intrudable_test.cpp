#include <atomic>
#include <thread>

#include "support.h"

namespace Common::Test {

template <class T>
using Ptr = Vorn::IntrudablePtr<T>;

struct Counted : Vorn::IScoped {
  // Those that releases left behind, and objects that have ended; many for one that has while a release ran.
  static inline std::atomic<std::uint32_t> references, ended;

  ~Counted() override { ended += releasing != 0 ? 1000 : 1; }
  void OnReleased(std::uint32_t count) override {
    ++releasing;
    references += count;
    std::this_thread::yield();
    --releasing;
  }

  std::atomic<int> releasing = 0;
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
  for (int round = 0; round < 200; ++round) {
    Ptr<Counted> shared(new Counted);
    std::thread other([copy = shared]() mutable { copy = nullptr; });
    shared = nullptr;
    other.join();
  }
  EXPECT_TRUE(Counted::references == 200 && Counted::ended == 200);
}

}  // namespace Common::Test
