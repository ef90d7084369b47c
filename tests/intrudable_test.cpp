#include <atomic>
#include <thread>

#include "support.h"

namespace Common::Test {
namespace {

template <class T>
using Ptr = Vorn::IntrudablePtr<T>;

using Counts = std::vector<std::uint32_t>;

// Two interfaces with one count between them. Notes what releases leave of it, and 99 at its end.
struct Object : IPeriodic, Vorn::IScoped {
  explicit Object(Counts* released) : counts(released) {}
  ~Object() override { counts->push_back(99); }
  void OnReleased(std::uint32_t count) override { counts->push_back(count); }
  float GetValue() override { return 0.5F; }

  Counts* const counts;
};

static_assert(sizeof(Ptr<Object>) == sizeof(Object*) && std::is_nothrow_move_constructible_v<Ptr<Object>>);
static_assert(std::is_convertible_v<Ptr<Object>, Ptr<IPeriodic>> && !std::is_convertible_v<Object*, Ptr<Object>>);
static_assert(!std::is_constructible_v<Ptr<Object>, Ptr<IPeriodic>>);

TEST(IntrudablePtr, KeepsTheObjectForAsLongAsOneHoldsIt) {
  Counts counts;
  Ptr<Object> first(new Object(&counts));
  Object* const raw = first.get();
  Ptr<IPeriodic> periodic = first;
  Ptr<Vorn::IScoped> scoped(static_cast<Vorn::IScoped*>(raw));
  Ptr<Object> moved = std::move(first);
  EXPECT_FALSE(first);
  EXPECT_TRUE(counts.empty()) << "a move releases nothing";
  swap(first, moved);
  EXPECT_TRUE(first == raw && first == periodic && moved == nullptr && moved != first && moved < first);
  EXPECT_EQ(&*first, raw);
  EXPECT_EQ(periodic->GetValue(), 0.5F);

  periodic = nullptr;
  periodic = std::move(first);
  EXPECT_EQ(counts, Counts{2});
  auto& self = periodic;
  periodic = self;
  periodic = std::move(self);
  counts.clear();
  periodic = Ptr<IPeriodic>(new Object(&counts));
  EXPECT_EQ(periodic->GetValue(), 0.5F);
  scoped = nullptr;
  EXPECT_EQ(counts, (Counts{1, 0, 99}));
}

// Fails at its end if a call of OnReleased is still under way.
struct Shared : Vorn::IScoped {
  explicit Shared(std::atomic<int>* count) : ended(count) {}
  ~Shared() override { *ended += releasing == 0 ? 1 : 1000; }
  void OnReleased(std::uint32_t) override {
    ++releasing;
    std::this_thread::yield();
    --releasing;
  }

  std::atomic<int> releasing = 0;
  std::atomic<int>* const ended;
};

TEST(IntrudablePtr, ReleasesOnSeveralThreadsEndTheObjectOnceAndLast) {
  constexpr int Rounds = 200;
  std::atomic<int> ended = 0;
  for (int round = 0; round < Rounds; ++round) {
    Ptr<Vorn::IScoped> shared(new Shared(&ended));
    std::thread other([copy = shared]() mutable { copy = nullptr; });
    shared = nullptr;
    other.join();
  }
  EXPECT_EQ(ended, Rounds);
}

}  // namespace
}  // namespace Common::Test
