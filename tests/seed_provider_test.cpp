#include <common/seed_provider.h>

#include "support.h"

namespace Common::Test {
namespace {

TEST(SeedProvider, FollowsTheRecurrenceWithoutAClock) {
  StoredClock clock;
  const std::unique_ptr<SSeedProvider> seeds(ManufactureSeedProvider());
  clock.Remove();
  for (int round = 0; round < 2; ++round) {
    seeds->SetSeed(1);
    for (const std::uint64_t expected :
         {12611081982597786077U, 15223784524874362603U, 5600678109580786373U, 9179551698695605161U}) {
      EXPECT_EQ(seeds->NextSeed(), expected);
    }
  }
  seeds->SetSeed(6098277594740742035U);  // its modulus is zero
  EXPECT_EQ(seeds->NextSeed(), 8508362586714475169U);
  EXPECT_EQ(seeds->NextSeed(), 15420721916567421163U);
}

TEST(SeedProvider, MixesReadingsOfTheClockUntilASeedIsSet) {
  StoredClock clock;
  clock->now = 1000;
  clock->step = 10;
  const std::unique_ptr<SSeedProvider> seeds(ManufactureSeedProvider());
  EXPECT_EQ(clock->readings, 4);
  EXPECT_EQ(seeds->NextSeed(), 287108899993025510U);
  EXPECT_EQ(seeds->NextSeed(), 292738485425273810U);
  seeds->SetSeed(1);
  seeds->SetSeed(0);
  EXPECT_EQ(clock->readings, 8);
  clock->now = 2000;
  EXPECT_EQ(seeds->NextSeed(), 9208346188127926310U);
  clock.Remove();
  EXPECT_EQ(FailureOf([&] { seeds->NextSeed(); }), NoInstance);
  const StoredClock later;
  later->now = 2020;
  later->step = 10;
  EXPECT_EQ(seeds->NextSeed(), 565764703056033810U) << "the failed step has shifted";
}

}  // namespace
}  // namespace Common::Test
