#include <vorn_lnk/file>
#include <vorn_lnk/guid>

#include "support.h"

namespace Common::Test {

TEST(Sibling, PathsAreSharedAndFilesReadWholeOrNotAtAll) {
  const std::string name = "\xC3\xBC-" + Vorn::CreateGuid();
  auto holder = Vorn::SharedPath::NewWrapped(Vorn::PathFromUtf8(name));
  const Vorn::SharedPath sharer = holder;
  EXPECT_TRUE(sharer.String() == name && !sharer.Exists());
  EXPECT_EQ(FailureOf([&] { Vorn::ReadWholeFileToString(sharer); }), "filesystem_error");
  const std::string bytes = std::string("\0\r\n\x1A", 4) + std::string(200'000, 'x');
  WriteBytes(sharer.Path(), bytes);
  EXPECT_EQ(Vorn::ReadWholeFileToString(sharer), bytes);
  holder.Reset(".", false);
  EXPECT_EQ(FailureOf([&] { Vorn::ReadWholeFileToString(sharer); }), "filesystem_error") << "a folder";
  holder.Reset();
  EXPECT_TRUE(holder.String().empty() && !holder.Exists() && sharer.Exists());
}

}  // namespace Common::Test
