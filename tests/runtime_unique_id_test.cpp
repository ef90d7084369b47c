#include <common/runtime_unique_id.h>

#include "support.h"

namespace Common::Test {
namespace {

using Override = Vorn::IntrudablePtr<IScopedIdOverride>;

struct RuntimeUniqueId : testing::Test {
  std::unique_ptr<Unique::SRuntimeUniqueId> ids{Unique::Manufacture()};
};

TEST_F(RuntimeUniqueId, CountsFromOneAndTurnsIdsIntoText) {
  EXPECT_EQ(ids->NextId(), 1);
  EXPECT_EQ(ids->NextIdString(), "/$2#");
  EXPECT_EQ(ids->JoinIdAndText("abc", -5), "-5abc");
  UseCommas();
  EXPECT_EQ(ids->IdToString(-1'234'567), "-1.234.567");
  EXPECT_EQ(ids->NextId(), 3) << "text takes no id";
}

TEST_F(RuntimeUniqueId, NewPrefixTakesThePlaceOfAllLeadingOnes) {
  EXPECT_EQ(ids->MakeUniqueName("foo"), "/$1#foo");
  EXPECT_EQ(ids->MakeUniqueName("/$#/$no number#foo#"), "/$2#foo#");
  EXPECT_EQ(ids->MakeUniqueName("/$17#"), "/$3#/object");
}

TEST_F(RuntimeUniqueId, SmallestIdComesBehindTheLargest) {
  const Override counter = ids->OverrideCounter(INT64_MAX - 1);
  EXPECT_EQ(ids->NextId(), INT64_MAX);
  EXPECT_EQ(ids->MakeUniqueName("/$1#foo"), "/$-9223372036854775808#foo");
}

TEST_F(RuntimeUniqueId, OverridesNestDeepAndLeaveTheCounterBelowAlone) {
  ids->NextId();
  std::vector<Override> overrides;
  while (overrides.size() < 30'000) {
    overrides.push_back(ids->OverrideCounter(100));
    ASSERT_EQ(ids->NextId(), 101);
  }
  for (; !overrides.empty(); overrides.pop_back()) ASSERT_EQ(ids->NextId(), 102);
  EXPECT_EQ(ids->NextId(), 2);
}

}  // namespace
}  // namespace Common::Test
