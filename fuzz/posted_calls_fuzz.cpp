// Calls posted between ticks, by calls and by destructors, and queues that end with calls waiting,
// against a plain queue.
#include <common/kit/posted_calls.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <deque>

#include "shared.h"

namespace {

using namespace Common;
using Fuzz::Check;

class Host {
 public:
  explicit Host(FuzzedDataProvider& input) : data(input) {}

  void Run() {
    while (data.remaining_bytes() > 0) {
      const auto operation = data.ConsumeIntegralInRange(0, 7);
      if (operation == 0) EndAndBeginAgain();
      if (operation == 1 || operation == 2) Tick();
      if (operation > 2) Post();
      CheckQueue();
    }
    EndAndBeginAgain();
  }

  // Called by the callables.
  void OnDestroyed(std::uint64_t number) {
    Check(number != running, "a callable lives until it has returned");
    if (!isEnding) CheckQueue();
    PostSome();
  }

  std::uint64_t callablesAlive = 0;

 private:
  void Post() {
    waiting.push_back(++lastNumber);
    calls->Post([this, owned = std::make_shared<Fuzz::Callable<Host>>(this, lastNumber)] {
      OnRun(owned->number);
    });
  }

  void PostSome() {
    for (auto left = data.ConsumeIntegralInRange(0, 2); left > 0; --left) Post();
  }

  void OnRun(std::uint64_t number) {
    Check(due > 0 && waiting.front() == number, "the calls run in the order of posting");
    --due;
    waiting.pop_front();
    running = number;
    PostSome();
    CheckQueue();
    running = 0;
    if (data.ConsumeIntegralInRange(0, 3) == 3) throw Fuzz::Thrown();
  }

  void Tick() {
    due = waiting.size();
    try {
      frames.Tick();
      Check(due == 0, "all run that wait");
    } catch (const Fuzz::Thrown&) {
    }
  }

  // Drops what waits, and what the destructors of its callables post.
  void EndAndBeginAgain() {
    isEnding = true;
    owner.reset();
    isEnding = false;
    waiting.clear();
    Check(callablesAlive == 0, "no callable is left");
    owner = std::make_unique<Kit::PostedCalls>(frames);
    calls = owner.get();
  }

  void CheckQueue() const {
    Check(callablesAlive == waiting.size() + (running != 0 ? 1 : 0),
          "a callable lives as long as its call waits or runs");
    Check(calls->Waiting() == waiting.size(), "what waits is counted");
  }

  FuzzedDataProvider& data;
  Fuzz::OneReactor frames;
  std::unique_ptr<Kit::PostedCalls> owner = std::make_unique<Kit::PostedCalls>(frames);
  Kit::PostedCalls* calls = owner.get();  // until the owner has ended them
  std::deque<std::uint64_t> waiting;
  std::size_t due = 0;  // how many of them run in the tick under way
  std::uint64_t lastNumber = 0;
  std::uint64_t running = 0;
  bool isEnding = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  Host(data).Run();
  return 0;
}
