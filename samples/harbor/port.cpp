#include "port.h"

#include <algorithm>
#include <string>

#include "phases.h"

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

bool GatesAreOpen(const Common::SMessageTotem& totem) { return totem.byteOne.Read() != 0; }
bool IsDark(const Common::SMessageTotem& totem) { return totem.fourByteValue.Read().parts[0] == 0; }
std::uint64_t ShipsWaiting(const Common::SMessageTotem& totem) {
  return totem.eightByteValue.Read().parts[0];
}
std::uint64_t TonnesAshore(const Common::SMessageTotem& totem) {
  return totem.eightByteValue.Read().parts[1];
}

Port::Port(Services& services, const Settings& settings, Common::AccumulatorHandle& measuredFrame)
    : frames(*services.frames),
      log(*Log::Get()),
      totem(*Totem::Get()),
      frame(measuredFrame),
      frameTime(settings.frameTime),
      unloadFrames(settings.unloadFrames),
      fleet(DrawFleet(*services.seeds, *services.ids, settings)),
      berths(settings.berths, nullptr),
      sun(Clock::Get()->MakePeriodic(Common::PeriodicKind::Sine, settings.dayLength, 0.0F)),
      gates(Clock::Get()->MakePeriodic(Common::PeriodicKind::Square, settings.dayLength,
                                       GatesOpenShare)) {
  StartReactors(settings);
  const auto open = [this](std::uint64_t count) {
    frame.GoOnTo(Phase::DelayedCalls);
    log.LogMessage("the harbour is open, berths: " + std::to_string(count));
  };
  frames.ScheduleCall(open, berths.size(), 0);
}

// Reactors run in the order of their addresses, which is any order, so none may count on another
// having run: what they tell each other goes through the totem and is read a frame later.
void Port::StartReactors(const Settings& settings) {
  const auto start = [this](std::uint64_t interval, void (Port::*work)()) {
    reactors.push_back(frames.CreateReactor(interval));
    reactors.back()->SetCallback([this, work](std::uint64_t) { (this->*work)(); });
  };
  start(0, &Port::MoveSunAndGates);
  start(frameTime * 3 / 2,
        &Port::WorkCranes);  // every second frame: two frames exactly would now and then be three
  start(settings.dayLength, &Port::EndDay);
}

void Port::MoveSunAndGates() {
  const float light = std::max(0.0F, sun->GetValue()) * FullLight;
  totem.fourByteValue.Write({{static_cast<std::uint16_t>(light), 0}});
  const bool open = gates->GetValue() > 0.0F;
  totem.byteOne.Write(open ? 1 : 0);

  // The totem keeps the light of the frame before for whoever wants to see it change.
  const bool wasDark = totem.fourByteValuePrevious.Read().parts[0] == 0;
  if (wasDark != IsDark(totem)) log.LogMessage(wasDark ? "the sun rises" : "night falls");
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
  } else if (isFull) {
    log.LogWarning(ship.name + " waits: no free berth");
  } else if (!anchorage.empty()) {
    log.LogWarning(ship.name + " waits: others are before it");
  }
  anchorage.push_back(&ship);
}

// There is one pilot. So no two unloadings are scheduled in one microsecond, which would give them
// one id, and CancelCall would end both.
void Port::LetOneShipIn() {
  if (anchorage.empty() || !GatesAreOpen(totem)) return;
  const auto berth = std::find(berths.begin(), berths.end(), nullptr);
  if (berth == berths.end()) return;
  Berth(*anchorage.front(), *berth);
  anchorage.pop_front();
}

// Delayed calls run strictly in the order of scheduling. All have the same delay here, so none
// holds back another. It ends half a frame early, or a tick that is punctual to the microsecond
// could find the call not quite due.
void Port::Berth(Ship& ship, Ship*& berth) {
  berth = &ship;
  const auto index = static_cast<std::uint64_t>(&berth - berths.data());
  const auto finish = [this](std::uint64_t berthIndex) { FinishUnloading(berthIndex); };
  ship.endCall = frames.ScheduleCall(finish, index, unloadFrames * frameTime - frameTime / 2);
  log.LogMessage(ship.name + " unloads at berth " + std::to_string(index + 1));
}

// A tick is frame edge, reactors and a look at the queue up to its first delayed call, and from
// there on delayed calls to its end. So marking where one begins tells the two phases apart.
void Port::FinishUnloading(std::uint64_t berthIndex) {
  frame.GoOnTo(Phase::DelayedCalls);
  Ship& ship = *berths[berthIndex];
  BringAshore(ship, ship.aboard - ship.keeps);
  log.LogMessage(ship.name + " has unloaded and leaves");
  ++tally.unloaded;
  berths[berthIndex] = nullptr;
}

void Port::CallAway(Ship*& berth) {
  frames.CancelCall(berth->endCall);
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
  totem.eightByteValue.Write({{waiting, static_cast<std::uint32_t>(tally.tonnesAshore)}});
}

Tally Port::Total() const {
  Tally total = tally;
  total.leftInPort = arrived - tally.unloaded - tally.calledAway - tally.refused;
  return total;
}

}  // namespace Harbor
