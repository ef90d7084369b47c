#include "port.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "totem_values.h"

namespace Harbor {
namespace {

constexpr float GatesOpenShare = 0.75F;  // of a day, from sunrise on
constexpr float FullLight = 1000.0F;
constexpr float FullTurn = 6.2831855F;

// By day the hold is empty after half of the time at the berth, by night after all of it.
std::uint64_t TonnesPerLift(const Ship& ship, std::uint64_t unloadFrames, bool dark) {
  constexpr std::uint64_t framesPerLift = 2;
  const std::uint64_t byNight = ship.tonnes * framesPerLift / unloadFrames + 1;
  return dark ? byNight : 2 * byNight;
}

std::string Tonnes(std::uint64_t tonnes) { return std::to_string(tonnes) + " t"; }

}  // namespace

Port::Port(Services& services, const Common::Kit::GameClock& clock, const Settings& settings)
    : services(services),
      frames(*services.frames),
      log(*Log::Get()),
      totem(*Totem::Get()),
      clock(clock),
      settings(settings),
      sun(frames.CreateReactor(0)),
      timers(frames, clock),
      openingCall(ScheduleOpening()) {
  CallFleet();
  FitBerths();
  sun->SetCallback([this](std::uint64_t) { MoveSunAndGates(); });
  StartTimers();
}

// A call still queued would point at a port that is gone.
Port::~Port() { frames.CancelCall(openingCall); }

// Runs in the first tick, before any call scheduled after it.
std::uint64_t Port::ScheduleOpening() {
  const auto open = [this](std::uint64_t count) {
    log.LogMessage("the harbor is open, berths: " + std::to_string(count));
  };
  return frames.ScheduleCall(open, settings.berths, 0);
}

// A crane needs two frames for a lift. Timers keep their phase, so late frames cost no lift.
void Port::StartTimers() {
  timers.Cancel(cranes);
  timers.Cancel(endOfDay);
  cranes = timers.Every(2 * settings.frameTime, [this] { WorkCranes(); });
  endOfDay = timers.Every(settings.dayLength, [this] { EndDay(); });
}

void Port::Apply(const Settings& changed) {
  const bool fleetHasChanged = changed.ships != settings.ships || changed.seed != settings.seed;
  const bool timesHaveChanged =
      changed.frameTime != settings.frameTime || changed.dayLength != settings.dayLength;
  settings = changed;
  if (fleetHasChanged) CallFleet();
  if (timesHaveChanged) StartTimers();
  FitBerths();
}

// Ships that have come stay in the deque, since others point at them, until all have gone.
void Port::CallFleet() {
  if (IsQuiet()) arrived = 0;
  fleet.resize(arrived);
  const std::uint64_t now = totem.frameNumber.Read();
  for (Ship& ship : DrawFleet(*services.seeds, *services.ids, settings)) {
    ship.arrivalFrame += now;
    fleet.push_back(std::move(ship));
  }
}

// A deque too, since the timer of an unloading refers to its berth.
void Port::FitBerths() {
  while (berths.size() < settings.berths) berths.push_back(nullptr);
  while (berths.size() > settings.berths && berths.back() == nullptr) berths.pop_back();
}

bool Port::IsQuiet() const {
  return arrived == fleet.size() && anchorage.empty() && ShipsAtBerths() == 0;
}

std::uint64_t Port::ShipsAtBerths() const {
  const auto free = std::count(berths.begin(), berths.end(), nullptr);
  return berths.size() - static_cast<std::uint64_t>(free);
}

float Port::ShareOfDay() const {
  return static_cast<float>(clock.Now() % settings.dayLength) /
         static_cast<float>(settings.dayLength);
}

void Port::MoveSunAndGates() {
  const float share = ShareOfDay();
  const float light = std::max(0.0F, std::sin(share * FullTurn)) * FullLight;
  WriteLight(totem, static_cast<std::uint16_t>(light));
  const bool open = share < GatesOpenShare;
  WriteGates(totem, open);

  if (WasDark(totem) != IsDark(totem)) {
    log.LogMessage(WasDark(totem) ? "the sun rises" : "night falls");
  }
  if (open != GatesAreOpen(totem)) log.LogMessage(open ? "the gates open" : "the gates close");
}

void Port::WorkCranes() {
  for (Ship* ship : berths) {
    if (ship == nullptr) continue;
    const std::uint64_t lift = TonnesPerLift(*ship, settings.unloadFrames, IsDark(totem));
    BringAshore(*ship, std::min(lift, ship->aboard - ship->keeps));
  }
}

void Port::EndDay() { log.LogMessage("a day ends with " + Tonnes(tally.tonnesAshore) + " ashore"); }

void Port::Step() {
  const std::uint64_t now = totem.frameNumber.Read();
  while (arrived < fleet.size() && fleet[arrived].arrivalFrame <= now) Arrive(fleet[arrived++]);
  LetOneShipIn();
  FitBerths();
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
  if (!GatesAreOpen(totem)) {
    log.LogWarning(ship.name + " waits: the gates are closed");
  } else if (IsGale()) {
    log.LogWarning(ship.name + " waits: a gale blows");
  } else if (!FindFreeBerth().has_value()) {
    log.LogWarning(ship.name + " waits: no free berth");
  } else if (!anchorage.empty()) {
    log.LogWarning(ship.name + " waits: others are before it");
  }
  anchorage.push_back(&ship);
}

// There is one pilot, who stays ashore in a gale.
void Port::LetOneShipIn() {
  if (anchorage.empty() || !GatesAreOpen(totem) || IsGale()) return;
  const std::optional<std::size_t> berth = FindFreeBerth();
  if (!berth.has_value()) return;
  MoorAt(*berth, *anchorage.front());
  anchorage.pop_front();
}

std::optional<std::size_t> Port::FindFreeBerth() const {
  for (std::size_t number = 0; number < settings.berths; ++number) {
    if (berths[number] == nullptr) return number;
  }
  return std::nullopt;
}

bool Port::IsGale() const { return ReadWindForce(totem) >= GaleForce; }

// Half a frame early, or a tick that is exactly on time might find the timer not quite due.
void Port::MoorAt(std::size_t number, Ship& ship) {
  Ship*& berth = berths[number];
  berth = &ship;
  ship.unloading = timers.After(settings.unloadFrames * settings.frameTime - settings.frameTime / 2,
                                [this, &berth] { FinishUnloading(berth); });
  log.LogMessage(ship.name + " unloads at berth " + std::to_string(number + 1));
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
  total.leftInPort = anchorage.size() + ShipsAtBerths();
  return total;
}

}  // namespace Harbor
