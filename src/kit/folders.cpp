#include <common/content_paths.h>
#include <common/kit/folders.h>
#include <vorn_lnk/shared_path>

#include <filesystem>
#include <system_error>

namespace Common::Kit {
namespace {

// The system would cut a name at its NUL and take another folder.
std::filesystem::path RequireName(const std::string& folder) {
  std::filesystem::path path = Vorn::PathFromUtf8(folder);
  if (folder.empty() || folder.find('\0') != std::string::npos) {
    throw std::filesystem::filesystem_error("cannot prepare folder", path,
                                            std::make_error_code(std::errc::invalid_argument));
  }
  return path;
}

}  // namespace

void PrepareFolders(const std::string& folder) {
  const std::filesystem::path path = RequireName(folder);
  for (const std::string& inside : {ConfigFolder, UtResultFolder}) {
    std::filesystem::create_directories(path / inside);
  }
  std::filesystem::current_path(path);
}

}  // namespace Common::Kit
