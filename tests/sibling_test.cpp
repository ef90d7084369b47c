#include <vorn_lnk/file>
#include <vorn_lnk/guid>

#include "support.h"

namespace Common::Test {
namespace {

using Vorn::SharedPath;

TEST(SharedPath, CopiesShareUntilOneTakesAPathOfItsOwn) {
  SharedPath first = SharedPath::NewWrapped("a/../b");
  SharedPath second = first;
  SharedPath third = first;
  first.Reset("alone", true);
  second.Reset("together", false);
  EXPECT_EQ(first.Path(), "alone");
  EXPECT_EQ(third.String(), "together");
  second.Reset();
  EXPECT_EQ(second.String(), "");
  EXPECT_EQ(static_cast<std::filesystem::path>(third), "together");
  const SharedPath moved = std::move(third);
  EXPECT_EQ(moved.Path(), "together");
  EXPECT_EQ(third.Path(), "");
  third.Reset("new", false);
  EXPECT_EQ(SharedPath(third).Path(), "new");
  EXPECT_EQ(SharedPath::NewWrapped("a/../b").Path(), "a/../b");
}

TEST(SiblingFiles, AreReadWholeOrNotAtAll) {
  const std::string name = "\xC3\xBC-" + Vorn::CreateGuid();
  const SharedPath path = SharedPath::NewWrapped(Vorn::PathFromUtf8(name));
  EXPECT_EQ(path.String(), name);
  EXPECT_FALSE(path.Exists());
  EXPECT_FALSE(SharedPath().Exists());
  EXPECT_EQ(FailureOf([&] { Vorn::ReadWholeFileToString(path); }), "filesystem_error");
  const std::string bytes = std::string("\0\r\n\x1A\xFF", 5) + std::string(200'000, 'x');
  for (const std::string& content : {std::string(), bytes}) {
    WriteBytes(path.Path(), content);
    EXPECT_TRUE(path.Exists());
    EXPECT_EQ(Vorn::ReadWholeFileToString(path), content);
  }
  EXPECT_EQ(FailureOf([] { Vorn::ReadWholeFileToString(SharedPath::NewWrapped(".")); }), "filesystem_error");
  EXPECT_NE(Vorn::CreateGuid(), Vorn::CreateGuid());
}

}  // namespace
}  // namespace Common::Test
