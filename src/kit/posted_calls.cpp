#include <common/kit/posted_calls.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <utility>

namespace Common::Kit {
namespace {

// A deque grows without moving its elements, which would destroy callables under the lock.
using CallQueue = std::deque<std::function<void()>>;

constexpr std::size_t CacheLine = 64;

// Takes the first call out of the queue once it has returned or thrown.
class FirstCall {
 public:
  explicit FirstCall(CallQueue& queue) : queue(queue) {}
  ~FirstCall() { queue.pop_front(); }

  FirstCall(const FirstCall&) = delete;
  FirstCall& operator=(const FirstCall&) = delete;

  void Run() const { queue.front()(); }

 private:
  CallQueue& queue;
};

}  // namespace

struct PostedCalls::State {
  std::size_t TakePosted();
  void RunWaiting();
  void RunNext();

  alignas(CacheLine) std::mutex mutex;
  CallQueue posted;

  // For the ticking thread, on another cache line than the lock. Other threads read only `left`.
  alignas(CacheLine) CallQueue batch;
  std::atomic<std::size_t> left = 0;
  Vorn::IntrudablePtr<IFrameReactor> reactor;
};

// Fills the batch if it is empty. Returns how many calls wait.
std::size_t PostedCalls::State::TakePosted() {
  const std::lock_guard lock(mutex);
  if (batch.empty()) {
    batch.swap(posted);
    left.store(batch.size(), std::memory_order_relaxed);
  }
  return batch.size() + posted.size();
}

// Calls that an exception left in the batch come first.
void PostedCalls::State::RunWaiting() {
  for (std::size_t due = TakePosted(); due > 0; --due) {
    if (batch.empty()) TakePosted();
    RunNext();
  }
}

void PostedCalls::State::RunNext() {
  const FirstCall call(batch);
  left.store(batch.size() - 1, std::memory_order_relaxed);
  call.Run();
}

PostedCalls::PostedCalls(SFrameUtility& frames) : state(std::make_unique<State>()) {
  state->reactor = frames.CreateReactor(0);
  state->reactor->SetCallback(
      [&state = *state](std::uint64_t /*frameNumber*/) { state.RunWaiting(); });
}

PostedCalls::~PostedCalls() {
  state->reactor = nullptr;
  while (state->TakePosted() > 0) state->batch.clear();
}

void PostedCalls::Post(std::function<void()> call) {
  const std::lock_guard lock(state->mutex);
  state->posted.push_back(std::move(call));
}

std::size_t PostedCalls::Waiting() const {
  const std::lock_guard lock(state->mutex);
  return state->left.load(std::memory_order_relaxed) + state->posted.size();
}

}  // namespace Common::Kit
