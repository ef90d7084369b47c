#include "content_files.h"

#include <common/kit/folders.h>
#include <vorn_lnk/shared_path>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace Harbor {
namespace {

// Opening to append leaves an existing file as it is.
void RequireWritable(const std::string& file) {
  std::error_code ignored;
  const bool isNew = !std::filesystem::exists(file, ignored);
  const bool opened = std::ofstream(file, std::ios::app).good();
  if (!opened) throw std::runtime_error("cannot write " + file);
  if (isNew) std::filesystem::remove(file, ignored);
}

std::filesystem::path In(const std::string& directory, const std::string& folder) {
  return Vorn::PathFromUtf8(directory) / Vorn::PathFromUtf8(folder);
}

}  // namespace

void PrepareDirectory(const std::string& directory) {
  std::error_code ignored;
  if (!std::filesystem::is_directory(In(directory, Common::ConfigFolder), ignored)) {
    throw std::runtime_error("there is no folder " + Common::ConfigFolder + " in " + directory);
  }
  const bool hadReportFolder =
      std::filesystem::exists(In(directory, Common::UtResultFolder), ignored);
  Common::Kit::PrepareFolders(directory);
  if (!hadReportFolder) {
    std::cerr << "harbor: there was no folder " << Common::UtResultFolder
              << ", without which the report is lost; it is there now\n";
  }
  for (const std::string& file : WrittenFiles) RequireWritable(file);
}

}  // namespace Harbor
