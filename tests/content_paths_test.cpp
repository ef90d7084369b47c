#include <common/content_paths.h>
#include <gtest/gtest.h>

namespace Common::Test {
namespace {

TEST(ContentPaths, LieUnderTheirOwnFolders) {
  EXPECT_EQ(AutosaveFolder, "content/models/autosave");
  EXPECT_EQ(MeshCacheFolder, "content/mesh/cache");
  EXPECT_EQ(CompiledShadersFolder, "content/shaders/compiled");
  EXPECT_EQ(IndustryFolder, "content/game/industry");
  EXPECT_EQ(BinFolder, "bin");
}

}  // namespace
}  // namespace Common::Test
