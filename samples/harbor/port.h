#pragma once

#include <common/kit/timers.h>

#include <cstdint>
#include <deque>
#include <vector>

#include "fleet.h"
#include "services.h"
#include "settings.h"

namespace Harbor {

struct Tally {
  std::uint64_t tonnesAshore = 0;
  std::uint64_t unloaded = 0;
  std::uint64_t calledAway = 0;
  std::uint64_t refused = 0;
  std::uint64_t leftInPort = 0;
};

// The simulation. What changes with the clock happens in ticks: reactors move the sun, the gates
// and the cranes, and timers end the unloadings. What follows from it happens once a frame in Step.
class Port {
 public:
  Port(Services& services, const Settings& settings);
  ~Port();

  Port(const Port&) = delete;
  Port& operator=(const Port&) = delete;

  // One frame: ships arrive, at most one enters, some are called away.
  void Step();

  Tally Total() const;

 private:
  std::uint64_t ScheduleOpening();
  void StartReactors(const Settings& settings);
  void MoveSunAndGates();
  void WorkCranes();
  void EndDay();

  void Arrive(Ship& ship);
  void LetOneShipIn();
  bool IsGale() const;
  void Berth(Ship& ship, Ship*& berth);
  void FinishUnloading(Ship*& berth);
  void CallAway(Ship*& berth);
  void BringAshore(Ship& ship, std::uint64_t tonnes);
  void PublishState();

  Common::SFrameUtility& frames;
  Common::Log::SMessageLog& log;
  Common::SMessageTotem& totem;
  const std::uint64_t frameTime;
  const std::uint64_t unloadFrames;

  std::vector<Ship> fleet;
  std::size_t arrived = 0;
  std::deque<Ship*> anchorage;
  std::vector<Ship*> berths;  // null where one is free
  Tally tally;

  const Vorn::IntrudablePtr<Common::IPeriodic> sun;
  const Vorn::IntrudablePtr<Common::IPeriodic> gates;

  // Their callbacks point at this port, and end with it.
  std::vector<Vorn::IntrudablePtr<Common::IFrameReactor>> reactors;
  Common::Kit::Timers timers;
  const std::uint64_t openingCall;
};

}  // namespace Harbor
