#include <vorn_lnk/guid>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

// Windows begins a death test by another run of this program, which belongs into the same folder.
fs::path EnterFolder() {
#ifdef _WIN32
  constexpr const wchar_t* Variable = L"COMMON_SERVICES_TEST_FOLDER";
  if (const wchar_t* const folder = _wgetenv(Variable)) return folder;
#endif
  fs::path folder = fs::temp_directory_path() / ("common_services_test_" + Vorn::CreateGuid());
  fs::create_directory(folder);
#ifdef _WIN32
  _wputenv_s(Variable, folder.c_str());
#endif
  return folder;
}

}  // namespace

// Runs the tests in a new, empty folder, which stays for a look when one has failed.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const fs::path folder = EnterFolder();
  fs::current_path(folder);
  const int result = RUN_ALL_TESTS();
  fs::current_path(folder.parent_path());
  if (result == 0) fs::remove_all(folder);
  return result;
}
