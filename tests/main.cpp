#include <vorn_lnk/guid>

#include <gtest/gtest.h>

#include <filesystem>

// Runs the tests in a new, empty folder, which stays for a look when one has failed.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const auto folder =
      std::filesystem::temp_directory_path() / ("common_services_test_" + Vorn::CreateGuid());
  std::filesystem::create_directory(folder);
  std::filesystem::current_path(folder);
  const int result = RUN_ALL_TESTS();
  std::filesystem::current_path(folder.parent_path());
  if (result == 0) std::filesystem::remove_all(folder);
  return result;
}
