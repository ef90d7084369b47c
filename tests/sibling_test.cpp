#include <vorn_lnk/file>
#include <vorn_lnk/guid>

#include "support.h"

namespace Common::Test {

TEST(Sibling, PathsAreSharedAndFilesReadWholeOrNotAtAll) {
  const std::string name = "\xC3\xBC-" + Vorn::CreateGuid();
  auto first = Vorn::SharedPath::NewWrapped(Vorn::PathFromUtf8(name)), second = first;
  const Vorn::SharedPath third = first;
  EXPECT_TRUE(third.String() == name && !third.Exists());
  EXPECT_EQ(FailureOf([&] { Vorn::ReadWholeFileToString(third); }), "filesystem_error");
  const std::string bytes = std::string("\0\r\n\x1A", 4) + std::string(200'000, 'x');
  WriteBytes(third.Path(), bytes);
  EXPECT_EQ(Vorn::ReadWholeFileToString(third), bytes);
  first.Reset("alone", true);
  second.Reset(".", false);
  EXPECT_EQ(first.String() + third.String(), "alone.");
  EXPECT_EQ(FailureOf([&] { Vorn::ReadWholeFileToString(third); }), "filesystem_error") << "a folder";
  second.Reset();
  EXPECT_TRUE(second.String().empty() && !second.Exists() && third.Exists());
}

}  // namespace Common::Test
