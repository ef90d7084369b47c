#include <common/seed_provider.h>

#include "support.h"

namespace Common::Test {
namespace {

using Numbers = std::vector<std::uint64_t>;

struct SeedProvider : testing::Test {
  SeedProvider() {
    clock->now = 1'000;
    clock->step = 10;
    seeds.reset(ManufactureSeedProvider());
  }

  Numbers NextTwo() { return {seeds->NextSeed(), seeds->NextSeed()}; }

  StoredClock clock;
  std::unique_ptr<SSeedProvider> seeds;
};

TEST_F(SeedProvider, MixesOneReadingOfTheClockAStep) {
  EXPECT_EQ(clock->readings, 4) << "at manufacture";
  EXPECT_EQ(NextTwo(), (Numbers{287108899993025510U, 292738485425273810U}));
  EXPECT_EQ(clock->readings, 8);
}

TEST_F(SeedProvider, FollowsASeedWithoutAClock) {
  clock.Remove();
  seeds->SetSeed(1);
  EXPECT_EQ(NextTwo(), (Numbers{12611081982597786077U, 15223784524874362603U}));
  EXPECT_EQ(NextTwo(), (Numbers{5600678109580786373U, 9179551698695605161U}));
  seeds->SetSeed(1);
  EXPECT_EQ(seeds->NextSeed(), 12611081982597786077U) << "the same again";
  seeds->SetSeed(6098277594740742035U);
  EXPECT_EQ(NextTwo(), (Numbers{8508362586714475169U, 15420721916567421163U})) << "modulus zero";
}

TEST_F(SeedProvider, GoesBackToTheClockAndHasShiftedWhereThereIsNone) {
  clock.Remove();
  seeds->SetSeed(0);
  EXPECT_EQ(FailureOf([&] { seeds->NextSeed(); }), NoInstance);
  const StoredClock atZero;
  EXPECT_EQ(seeds->NextSeed(), 7056577666136145920U);
}

}  // namespace
}  // namespace Common::Test
