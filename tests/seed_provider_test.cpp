#include <common/application_error_exception.h>
#include <common/seed_provider.h>
#include <common/time_provider.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

using Clock = Vorn::Singleton<Common::STimeProvider, std::shared_ptr>;

TEST(SeedProvider, FollowsTheRecurrenceWithoutAClock) {
  auto clock = Clock::Create(Common::ManufactureTimeProvider());
  const std::unique_ptr<Common::SSeedProvider> seeds(Common::ManufactureSeedProvider());
  clock.reset();
  for (int round = 0; round < 2; ++round) {
    seeds->SetSeed(1);
    for (const std::uint64_t expected :
         {12611081982597786077U, 15223784524874362603U, 5600678109580786373U, 9179551698695605161U}) {
      EXPECT_EQ(seeds->NextSeed(), expected);
    }
  }
}

}  // namespace
