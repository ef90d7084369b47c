#include "fleet.h"

#include <array>
#include <random>
#include <string_view>

namespace Harbor {
namespace {

constexpr std::array<std::string_view, 6> ShipNames{"Heron",  "Petrel", "Curlew",
                                                    "Plover", "Gannet", "Skua"};
constexpr std::array<std::string_view, 5> Cargoes{"grain", "timber", "salt", "wool", "coal"};

constexpr std::uint64_t LightestCargo = 100;
constexpr std::uint64_t HeaviestCargo = 400;
constexpr std::uint64_t FirstArrival = 2;  // the totem shows the gates from the second frame on
constexpr std::uint64_t ShipsPerBadPapers = 8;
constexpr std::uint64_t ShipsPerCallAway = 5;

// A remainder, since the standard library's distributions differ between implementations.
class Chance {
 public:
  explicit Chance(std::uint64_t seed) : generator(seed) {}

  std::uint64_t Below(std::uint64_t limit) { return generator() % limit; }
  bool OneIn(std::uint64_t count) { return Below(count) == 0; }

  template <class Texts>
  std::string_view OneOf(const Texts& texts) {
    return texts[Below(texts.size())];
  }

 private:
  std::mt19937_64 generator;
};

}  // namespace

std::vector<Ship> DrawFleet(Common::SSeedProvider& seeds, Common::Unique::SRuntimeUniqueId& ids,
                            const Settings& settings) {
  seeds.SetSeed(settings.seed);
  Chance chance(seeds.NextSeed());
  const std::uint64_t lastArrival = settings.frames / 2;  // leaves time to serve the last one
  std::vector<Ship> fleet;
  for (std::uint64_t index = 0; index < settings.ships; ++index) {
    Ship ship;
    ship.name = ids.MakeUniqueName(chance.OneOf(ShipNames));
    ship.cargo = chance.OneOf(Cargoes);
    ship.arrivalFrame = FirstArrival + lastArrival * index / settings.ships +
                        chance.Below(lastArrival / settings.ships + 1);
    ship.hasPapers = !chance.OneIn(ShipsPerBadPapers);
    ship.tonnes = LightestCargo + chance.Below(HeaviestCargo - LightestCargo + 1);
    ship.keeps = chance.OneIn(ShipsPerCallAway) ? ship.tonnes / 2 : 0;
    ship.aboard = ship.tonnes;
    fleet.push_back(std::move(ship));
  }
  return fleet;
}

}  // namespace Harbor
