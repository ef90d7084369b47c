#pragma once

#include <common/kit/game_clock.h>
#include <common/kit/timers.h>

#include <cstdint>
#include <deque>
#include <optional>

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

// The simulation. In ticks, a reactor moves the sun and the gates, and timers on the game's clock
// work the cranes and end the unloadings. The rest happens in Step, once a frame.
class Port {
 public:
  // REQUIRES: `clock` outlives this object.
  Port(Services& services, const Common::Kit::GameClock& clock, const Settings& settings);
  ~Port();

  Port(const Port&) = delete;
  Port& operator=(const Port&) = delete;

  // One frame: ships arrive, at most one enters, some are called away.
  void Step();

  // Takes over changed settings. Those of the fleet apply to ships that have not arrived yet, and a
  // berth that is no longer wanted closes when its ship has left.
  void Apply(const Settings& changed);

  // Draws the ships still to come, in place of those that have not arrived.
  void CallFleet();

  // Whether all ships have come and gone.
  bool IsQuiet() const;

  Tally Total() const;

  // For views of the port. Null is a free berth.
  const std::deque<Ship*>& Berths() const { return berths; }
  const std::deque<Ship*>& Anchorage() const { return anchorage; }
  const Common::Kit::Timers& Timers() const { return timers; }

 private:
  std::uint64_t ScheduleOpening();
  void StartTimers();
  void FitBerths();
  std::uint64_t ShipsAtBerths() const;
  float ShareOfDay() const;
  void MoveSunAndGates();
  void WorkCranes();
  void EndDay();

  void Arrive(Ship& ship);
  void LetOneShipIn();
  std::optional<std::size_t> FindFreeBerth() const;
  bool IsGale() const;
  void MoorAt(std::size_t number, Ship& ship);
  void FinishUnloading(Ship*& berth);
  void CallAway(Ship*& berth);
  void BringAshore(Ship& ship, std::uint64_t tonnes);
  void PublishState();

  Services& services;
  Common::SFrameUtility& frames;
  Common::Log::SMessageLog& log;
  Common::SMessageTotem& totem;
  const Common::Kit::GameClock& clock;
  Settings settings;

  std::deque<Ship> fleet;  // first arrival first; the first `arrived` of them have come
  std::size_t arrived = 0;
  std::deque<Ship*> anchorage;
  std::deque<Ship*> berths;
  Tally tally;

  // Their callbacks point at this port.
  const Vorn::IntrudablePtr<Common::IFrameReactor> sun;
  Common::Kit::Timers timers;
  Common::Kit::Timers::Id cranes;
  Common::Kit::Timers::Id endOfDay;
  const std::uint64_t openingCall;
};

}  // namespace Harbor
