#include <vorn_lnk/file>
#include <vorn_lnk/guid>

#include "support.h"

namespace Common::Test {

using Vorn::SharedPath;

TEST(SharedPath, CopiesShareUntilOneTakesAPathOfItsOwn) {
  SharedPath first = SharedPath::NewWrapped("a/../b"), second = first;
  const SharedPath third = first;
  EXPECT_EQ(static_cast<std::filesystem::path>(third), "a/../b");
  first.Reset("alone", true);
  second.Reset("together", false);
  EXPECT_EQ(first.String() + " " + third.String(), "alone together");
  second.Reset();
  EXPECT_EQ(second.String() + " " + third.String(), " together");
}

TEST(ReadWholeFileToString, GivesEveryByteOrThrows) {
  const std::string name = "\xC3\xBC-" + Vorn::CreateGuid();
  const SharedPath path = SharedPath::NewWrapped(Vorn::PathFromUtf8(name));
  EXPECT_TRUE(path.String() == name && !path.Exists());
  for (const SharedPath& unreadable : {path, SharedPath::NewWrapped(".")}) {
    EXPECT_EQ(FailureOf([&] { Vorn::ReadWholeFileToString(unreadable); }), "filesystem_error");
  }
  const std::string bytes = std::string("\0\r\n\x1A", 4) + std::string(200'000, 'x');
  WriteBytes(path.Path(), bytes);
  EXPECT_TRUE(path.Exists());
  EXPECT_EQ(Vorn::ReadWholeFileToString(path), bytes);
}

}  // namespace Common::Test
