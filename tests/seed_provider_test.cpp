#include <common/seed_provider.h>

#include "support.h"

namespace Common::Test {

TEST(SeedProvider, MixesReadingsOfTheClockUntilASeedIsSet) {
  StoredClock clock;
  clock->now = 1000;
  clock->step = 10;
  const std::unique_ptr<SSeedProvider> seeds(ManufactureSeedProvider());
  const auto nextTwo = [&] { return std::vector{seeds->NextSeed(), seeds->NextSeed()}; };
  using Pair = std::vector<std::uint64_t>;
  EXPECT_EQ(nextTwo(), (Pair{287108899993025510U, 292738485425273810U}));
  EXPECT_EQ(clock->readings, 8) << "one a step";
  clock.Remove();
  for (const std::uint64_t seed : {1U, 0U, 1U}) seeds->SetSeed(seed);
  EXPECT_EQ(nextTwo(), (Pair{12611081982597786077U, 15223784524874362603U}));
  EXPECT_EQ(nextTwo(), (Pair{5600678109580786373U, 9179551698695605161U}));
  seeds->SetSeed(6098277594740742035U);  // its modulus is zero
  EXPECT_EQ(nextTwo(), (Pair{8508362586714475169U, 15420721916567421163U}));
  seeds->SetSeed(0);
  EXPECT_EQ(FailureOf(nextTwo), NoInstance);
  const StoredClock atZero;
  EXPECT_EQ(seeds->NextSeed(), 7056577666136145920U) << "the failed step has shifted";
}

}  // namespace Common::Test
