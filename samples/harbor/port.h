#pragma once

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
// and the cranes, and delayed calls end the unloadings. What follows from it happens once a frame
// in Step. REQUIRES: no tick after the port's end, as queued calls still point at it.
class Port {
 public:
  // Delayed calls mark their phase in `frame`, the measurement of the frame that is under way.
  Port(Services& services, const Settings& settings, Common::AccumulatorHandle& frame);

  Port(const Port&) = delete;
  Port& operator=(const Port&) = delete;

  // One frame: ships arrive, at most one enters, some are called away.
  void Step();

  Tally Total() const;

 private:
  void StartReactors(const Settings& settings);
  void MoveSunAndGates();
  void WorkCranes();
  void EndDay();

  void Arrive(Ship& ship);
  void LetOneShipIn();
  void Berth(Ship& ship, Ship*& berth);
  void FinishUnloading(std::uint64_t berthIndex);
  void CallAway(Ship*& berth);
  void BringAshore(Ship& ship, std::uint64_t tonnes);
  void PublishState();

  Common::SFrameUtility& frames;
  Common::Log::SMessageLog& log;
  Common::SMessageTotem& totem;
  Common::AccumulatorHandle& frame;
  const std::uint64_t frameTime;
  const std::uint64_t unloadFrames;

  std::vector<Ship> fleet;
  std::size_t arrived = 0;
  std::deque<Ship*> anchorage;
  std::vector<Ship*> berths;  // null where one is free
  Tally tally;

  const Vorn::IntrudablePtr<Common::IPeriodic> sun;
  const Vorn::IntrudablePtr<Common::IPeriodic> gates;
  std::vector<Vorn::IntrudablePtr<Common::IFrameReactor>> reactors;  // released first
};

// What a port writes into the totem for the next frame, and everyone may read there.
bool GatesAreOpen(const Common::SMessageTotem& totem);
bool IsDark(const Common::SMessageTotem& totem);
std::uint64_t ShipsWaiting(const Common::SMessageTotem& totem);
std::uint64_t TonnesAshore(const Common::SMessageTotem& totem);

}  // namespace Harbor
