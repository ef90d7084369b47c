#include <common/runtime_unique_id.h>

#include "support.h"

namespace Common::Test {

TEST(RuntimeUniqueId, NamesTakeOneIdEachAndOverridesNest) {
  const std::unique_ptr<Unique::SRuntimeUniqueId> ids(Unique::Manufacture());
  EXPECT_EQ(ids->NextId(), 1);
  std::vector<Vorn::IntrudablePtr<IScopedIdOverride>> overrides;
  while (overrides.size() < 30'000) {
    overrides.push_back(ids->OverrideCounter(100));
    EXPECT_EQ(ids->NextId(), 101);
  }
  for (; !overrides.empty(); overrides.pop_back()) EXPECT_EQ(ids->NextId(), 102);
  EXPECT_EQ(ids->NextIdString(), "/$2#");
  EXPECT_EQ(ids->JoinIdAndText("abc", -5), "-5abc");
  EXPECT_EQ(ids->MakeUniqueName(""), "/$3#/object");
  EXPECT_EQ(ids->MakeUniqueName("foo"), "/$4#foo");
  EXPECT_EQ(ids->MakeUniqueName("/$17#"), "/$5#/object");
  EXPECT_EQ(ids->MakeUniqueName("/$#/$no number#foo#"), "/$6#foo#");
  EXPECT_EQ(ids->MakeUniqueName("a/$17#b"), "/$7#a/$17#b");
  std::string prefixes;
  while (prefixes.size() < 1'000'000) prefixes += "/$17#";
  EXPECT_EQ(ids->MakeUniqueName(prefixes + "/$17"), "/$8#/$17");
  GroupDigits();
  EXPECT_EQ(ids->IdToString(-1'234'567), "-1,234,567");
}

}  // namespace Common::Test
