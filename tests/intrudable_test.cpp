#include <atomic>
#include <thread>

#include "support.h"

namespace Common::Test {
namespace {

template <class T>
using Ptr = Vorn::IntrudablePtr<T>;

// What is left of the count after each release, summed up.
int leftovers, ends, endsTooEarly;

struct Object : Vorn::IScoped {
  ~Object() override { ++ends, endsTooEarly += running; }
  void OnReleased(std::uint32_t count) override {
    ++running;
    std::this_thread::yield();
    if (count != 0) leftovers += static_cast<int>(count);
    --running;
  }

  std::atomic<int> running = 0;
};

static_assert(sizeof(Ptr<Object>) == sizeof(Object*) && !std::is_convertible_v<Object*, Ptr<Object>>);

TEST(IntrudablePtr, KeepsTheObjectForAsLongAsOneHoldsIt) {
  Ptr<Object> first(new Object), moved = std::move(first);
  Ptr<Vorn::IScoped> scoped = moved, none;
  EXPECT_TRUE(!first && first == nullptr && moved == &*moved && moved == scoped && none < scoped && none != scoped);
  auto& self = scoped;
  scoped = std::move(self);
  EXPECT_EQ(leftovers, 0) << "moves release nothing";
  scoped = self;
  Ptr<Vorn::Detail::Intrudable> base = std::move(moved);
  swap(scoped, none);
  base = nullptr;
  EXPECT_TRUE(leftovers == 2 + 1 && ends == 0);
  none = Ptr<Vorn::IScoped>(new Object);
  EXPECT_TRUE(leftovers == 2 + 1 && ends == 1);
}

TEST(IntrudablePtr, ReleasesOnTwoThreadsEndTheObjectOnceAndLast) {
  for (int round = 1; round <= 200; ++round) {
    Ptr<Object> shared(new Object);
    std::thread other([copy = shared]() mutable { copy = nullptr; });
    shared = nullptr;
    other.join();
    EXPECT_TRUE(leftovers == round && ends == round && endsTooEarly == 0);
  }
}

}  // namespace
}  // namespace Common::Test
