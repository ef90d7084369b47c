#include <common/runtime_unique_id.h>

#include "support.h"

namespace Common::Test {
namespace {

TEST(RuntimeUniqueId, NamesTakeOneIdEach) {
  const std::unique_ptr<Unique::SRuntimeUniqueId> ids(Unique::Manufacture());
  EXPECT_EQ(ids->NextId(), 1);
  EXPECT_EQ(ids->NextId(), 2);
  EXPECT_EQ(ids->NextIdString(), "/$3#");
  EXPECT_EQ(ids->IdToString(-5), "-5");
  EXPECT_EQ(ids->JoinIdAndText("abc", 5), "5abc");
  std::string prefixes;
  for (int count = 0; count < 200'000; ++count) prefixes += "/$17#";
  std::int64_t id = 3;
  for (const auto& [name, end] : std::vector<std::pair<std::string, std::string>>{{"", "/object"},
                                                                                  {"foo", "foo"},
                                                                                  {"/$17#foo", "foo"},
                                                                                  {"/$17#", "/object"},
                                                                                  {"/$17#/$18#foo", "foo"},
                                                                                  {"/$#/$no number#foo", "foo"},
                                                                                  {"/$17", "/$17"},
                                                                                  {"/$17#/$18", "/$18"},
                                                                                  {"/$17##", "#"},
                                                                                  {"a/$17#b", "a/$17#b"},
                                                                                  {"#/$", "#/$"},
                                                                                  {prefixes, "/object"},
                                                                                  {prefixes + "foo/$1#", "foo/$1#"}}) {
    EXPECT_EQ(ids->MakeUniqueName(name), "/$" + std::to_string(++id) + "#" + end);
  }
  GroupDigits();
  const auto thousands = ids->OverrideCounter(1'234'566);
  EXPECT_EQ(ids->IdToString(-1'234'567), "-1,234,567");
  EXPECT_EQ(ids->NextIdString(), "/$1,234,567#");
}

TEST(RuntimeUniqueId, OverridesNest) {
  const std::unique_ptr<Unique::SRuntimeUniqueId> ids(Unique::Manufacture());
  EXPECT_EQ(ids->NextId(), 1);
  std::vector<Vorn::IntrudablePtr<IScopedIdOverride>> overrides;
  for (std::int64_t depth = 1; depth <= 30'000; ++depth) {
    overrides.push_back(ids->OverrideCounter(depth * 100));
    EXPECT_EQ(ids->NextId(), depth * 100 + 1);
  }
  for (std::int64_t depth = 30'000; depth > 0; --depth) {
    auto last = std::move(overrides.back());
    overrides.pop_back();
    const auto copy = last;
    last = nullptr;
    EXPECT_EQ(ids->NextId(), depth * 100 + 2) << "a copy keeps it";
  }
  EXPECT_EQ(ids->NextId(), 2);
}

}  // namespace
}  // namespace Common::Test
