// What the fuzz targets share: a check, stand-ins, and callables that tell when they end.
//
// A factory works once a process, so a target keeps its service and the stand-ins that the service
// needs in one static object for all inputs, whose members end in the right order.
#pragma once

#include <common/frame_utility.h>
#include <common/kit/stand_ins.h>

#include <cstdlib>
#include <iostream>

namespace Common::Fuzz {

using StoredClock = Kit::Stored<Kit::StandInClock>;
using StoredLog = Kit::Stored<Kit::StandInLog>;

inline void Check(bool holds, const char* claim) {
  if (holds) return;
  std::cerr << "Does not hold: " << claim << std::endl;
  std::abort();
}

struct Thrown {};

// Owned by a callable. Tells its host when it is destroyed; the host may then call back.
template <class Host>
struct Callable {
  Callable(Host* owner, std::uint64_t ownNumber) : host(owner), number(ownNumber) {
    ++host->callablesAlive;
  }
  ~Callable() {
    --host->callablesAlive;
    host->OnDestroyed(number);
  }

  Host* const host;
  const std::uint64_t number;
};

// A frame utility with a single reactor, of interval 0, and no calls.
class OneReactor : public SFrameUtility {
 public:
  Vorn::IntrudablePtr<IFrameReactor> CreateReactor(std::uint64_t /*interval*/) override {
    return Vorn::IntrudablePtr<IFrameReactor>(reactor = new Reactor);
  }
  std::uint64_t ScheduleCall(FrameCallback, std::uint64_t, std::uint64_t) override { std::abort(); }
  void CancelCall(std::uint64_t) override { std::abort(); }
  void Tick() override { reactor->callback(0); }

 private:
  struct Reactor : IFrameReactor {
    void SetCallback(FrameCallback newCallback) override { callback = std::move(newCallback); }
    void Clear() override { std::abort(); }

    FrameCallback callback;
  };

  Reactor* reactor = nullptr;
};

}  // namespace Common::Fuzz
