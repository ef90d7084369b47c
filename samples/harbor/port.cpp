#include "port.h"

#include <algorithm>
#include <string>

#include "totem_values.h"

namespace Harbor {
namespace {

constexpr float GatesOpenShare = 0.75F;  // of a day, from sunrise on
constexpr float FullLight = 1000.0F;

// How much a crane lifts: by day the hold is empty after half of the time at the berth, by night
// after all of it.
std::uint64_t TonnesPerLift(const Ship& ship, std::uint64_t unloadFrames, bool dark) {
  constexpr std::uint64_t framesPerLift = 2;
  const std::uint64_t byNight = ship.tonnes * framesPerLift / unloadFrames + 1;
  return dark ? byNight : 2 * byNight;
}

std::string Tonnes(std::uint64_t tonnes) { return std::to_string(tonnes) + " t"; }

}  // namespace

Port::Port(Services& services, const Settings& settings)
    : frames(*services.frames),
      log(*Log::Get()),
      totem(*Totem::Get()),
      frameTime(settings.frameTime),
      unloadFrames(settings.unloadFrames),
      fleet(DrawFleet(*services.seeds, *services.ids, settings)),
      berths(settings.berths, nullptr),
      sun(Clock::Get()->MakePeriodic(Common::PeriodicKind::Sine, settings.dayLength, 0.0F)),
      gates(Clock::Get()->MakePeriodic(Common::PeriodicKind::Square, settings.dayLength,
                                       GatesOpenShare)),
      timers(frames),
      openingCall(ScheduleOpening()) {
  StartReactors(settings);
}

// A call that is still queued would point at a port that is gone.
Port::~Port() { frames.CancelCall(openingCall); }

// Runs in the first tick, before any call that is scheduled after it.
std::uint64_t Port::ScheduleOpening() {
  const auto open = [this](std::uint64_t count) {
    log.LogMessage("the harbor is open, berths: " + std::to_string(count));
  };
  return frames.ScheduleCall(open, berths.size(), 0);
}

// Reactors run in the order of their addresses, which is any order, so none may count on another
// having run: what they tell each other goes through the totem and is read a frame later.
void Port::StartReactors(const Settings& settings) {
  const auto start = [this](std::uint64_t interval, void (Port::*work)()) {
    reactors.push_back(frames.CreateReactor(interval));
    reactors.back()->SetCallback([this, work](std::uint64_t) { (this->*work)(); });
  };
  start(0, &Port::MoveSunAndGates);
  // Every second frame: an interval of two frames exactly would now and then take three.
  start(frameTime * 3 / 2, &Port::WorkCranes);
  start(settings.dayLength, &Port::EndDay);
}

void Port::MoveSunAndGates() {
  const float light = std::max(0.0F, sun->GetValue()) * FullLight;
  WriteLight(totem, static_cast<std::uint16_t>(light));
  const bool open = gates->GetValue() > 0.0F;
  WriteGates(totem, open);

  if (WasDark(totem) != IsDark(totem)) {
    log.LogMessage(WasDark(totem) ? "the sun rises" : "night falls");
  }
  if (open != GatesAreOpen(totem)) log.LogMessage(open ? "the gates open" : "the gates close");
}

void Port::WorkCranes() {
  for (Ship* ship : berths) {
    if (ship == nullptr) continue;
    const std::uint64_t lift = TonnesPerLift(*ship, unloadFrames, IsDark(totem));
    BringAshore(*ship, std::min(lift, ship->aboard - ship->keeps));
  }
}

void Port::EndDay() { log.LogMessage("a day ends with " + Tonnes(tally.tonnesAshore) + " ashore"); }

void Port::Step() {
  const std::uint64_t now = totem.frameNumber.Read();
  while (arrived < fleet.size() && fleet[arrived].arrivalFrame <= now) Arrive(fleet[arrived++]);
  LetOneShipIn();
  for (Ship*& berth : berths) {
    if (berth != nullptr && berth->keeps > 0 && berth->aboard == berth->keeps) CallAway(berth);
  }
  PublishState();
}

void Port::Arrive(Ship& ship) {
  if (!ship.hasPapers) {
    log.LogError("refused " + ship.name + ": no papers for " + Tonnes(ship.aboard) + " of " +
                 ship.cargo);
    ++tally.refused;
    return;
  }
  log.LogMessage(ship.name + " arrives with " + Tonnes(ship.aboard) + " of " + ship.cargo);
  const bool isFull = std::find(berths.begin(), berths.end(), nullptr) == berths.end();
  if (!GatesAreOpen(totem)) {
    log.LogWarning(ship.name + " waits: the gates are closed");
  } else if (IsGale()) {
    log.LogWarning(ship.name + " waits: a gale blows");
  } else if (isFull) {
    log.LogWarning(ship.name + " waits: no free berth");
  } else if (!anchorage.empty()) {
    log.LogWarning(ship.name + " waits: others are before it");
  }
  anchorage.push_back(&ship);
}

// There is one pilot, who stays ashore in a gale.
void Port::LetOneShipIn() {
  if (anchorage.empty() || !GatesAreOpen(totem) || IsGale()) return;
  const auto berth = std::find(berths.begin(), berths.end(), nullptr);
  if (berth == berths.end()) return;
  Berth(*anchorage.front(), *berth);
  anchorage.pop_front();
}

bool Port::IsGale() const { return ReadWindForce(totem) >= GaleForce; }

// Half a frame early, or a tick that is punctual to the microsecond could find the time not quite
// passed.
void Port::Berth(Ship& ship, Ship*& berth) {
  berth = &ship;
  ship.unloading = timers.After(unloadFrames * frameTime - frameTime / 2,
                                [this, &berth] { FinishUnloading(berth); });
  log.LogMessage(ship.name + " unloads at berth " + std::to_string(&berth - berths.data() + 1));
}

void Port::FinishUnloading(Ship*& berth) {
  BringAshore(*berth, berth->aboard - berth->keeps);
  log.LogMessage(berth->name + " has unloaded " + Tonnes(berth->tonnes - berth->aboard) +
                 " and leaves");
  ++tally.unloaded;
  berth = nullptr;
}

void Port::CallAway(Ship*& berth) {
  timers.Cancel(berth->unloading);
  log.LogWarning(berth->name + " is called away with " + Tonnes(berth->aboard) + " still aboard");
  ++tally.calledAway;
  berth = nullptr;
}

void Port::BringAshore(Ship& ship, std::uint64_t tonnes) {
  ship.aboard -= tonnes;
  tally.tonnesAshore += tonnes;
}

void Port::PublishState() {
  const auto waiting = static_cast<std::uint32_t>(anchorage.size());
  const auto ashore = static_cast<std::uint32_t>(tally.tonnesAshore);
  WriteState(totem, waiting, ashore);
}

Tally Port::Total() const {
  Tally total = tally;
  total.leftInPort = arrived - tally.unloaded - tally.calledAway - tally.refused;
  return total;
}

}  // namespace Harbor
