#include <common/kit/posted_calls.h>

#include <thread>

#include "support.h"

namespace Common::Test {
namespace {

using Kit::PostedCalls;
using Numbers = std::vector<int>;

// What calls may throw, post or end is for posted_calls_fuzz to test, against a model.
struct KitPostedCalls : testing::Test {
  std::function<void()> Note(int number) {
    return [this, number] { ran.push_back(number); };
  }

  // What a tick runs.
  Numbers Tick() {
    ran.clear();
    frames->Tick();
    return ran;
  }

  StoredClock clock;
  std::unique_ptr<SFrameUtility> frames{ManufactureFrameUtility()};
  std::optional<PostedCalls> calls{*frames};
  Numbers ran;
};

TEST_F(KitPostedCalls, RunOnceInOrderAndTheNextTickRunsWhatTheyPost) {
  calls->Post(Note(1));
  calls->Post([this] {
    calls->Post(Note(4));
    Note(2)();
    EXPECT_EQ(calls->Waiting(), 2U);
  });
  calls->Post(Note(3));
  EXPECT_EQ(calls->Waiting(), 3U);
  EXPECT_EQ(Tick(), (Numbers{1, 2, 3}));
  EXPECT_EQ(Tick(), Numbers{4});
  EXPECT_EQ(Tick(), Numbers());
}

TEST_F(KitPostedCalls, ComeFromAnyThreadInTheOrderOfEach) {
  constexpr std::size_t Threads = 4;
  constexpr std::size_t Posts = 5'000;
  std::vector<std::size_t> next(Threads);
  std::size_t served = 0;
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < Threads; ++thread) {
    threads.emplace_back([&, thread] {
      for (std::size_t post = 0; post < Posts; ++post) {
        calls->Post([&, thread, post] {
          EXPECT_EQ(next[thread]++, post) << "of thread " << thread;
          ++served;
        });
        EXPECT_LE(calls->Waiting(), Threads * Posts);
      }
    });
  }
  while (served < Threads * Posts) frames->Tick();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(calls->Waiting(), 0U);
}

}  // namespace
}  // namespace Common::Test
