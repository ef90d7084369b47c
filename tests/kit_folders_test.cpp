#include <common/kit/folders.h>
#include <vorn_lnk/shared_path>

#include "support.h"

namespace Common::Test {
namespace {

namespace fs = std::filesystem;

using Kit::PrepareFolders;

TEST(KitFolders, AreMadeWhereTheyAreMissingAndMadeCurrent) {
  const fs::path start = fs::current_path();
  const std::string name = "saved/h\u00E4fen";
  WriteBytes(start / Vorn::PathFromUtf8(name) / "content/config/config.txt", "kept = 1");
  PrepareFolders(name);
  EXPECT_EQ(fs::current_path(), start / "saved" / u8"h\u00E4fen");
  EXPECT_EQ(ReadBytes("content/config/config.txt"), "kept = 1");
  EXPECT_TRUE(fs::is_directory("content/ut_result"));
}

TEST(KitFolders, ThatCannotBeAreNamedAndLeaveTheCurrentFolderAsItIs) {
  using namespace std::string_literals;
  const fs::path start = fs::current_path();
  WriteBytes("file", "");
  for (const std::string& name : {"file"s, ""s, "a\0b"s}) {
    try {
      PrepareFolders(name);
      ADD_FAILURE() << name;
    } catch (const fs::filesystem_error& failure) {
      EXPECT_EQ(failure.path1().native().find(Vorn::PathFromUtf8(name).native()), 0U) << name;
    }
  }
  EXPECT_EQ(fs::current_path(), start);
  EXPECT_FALSE(fs::exists("a"));
}

}  // namespace
}  // namespace Common::Test
