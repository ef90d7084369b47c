#include "content_files.h"

#include <vorn_lnk/shared_path>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace Harbor {
namespace {

// Opening to append changes nothing in a file that is there.
void RequireWritable(const std::string& file) {
  std::error_code ignored;
  const bool isNew = !std::filesystem::exists(file, ignored);
  const bool opened = std::ofstream(file, std::ios::app).good();
  if (!opened) throw std::runtime_error("cannot write " + file);
  if (isNew) std::filesystem::remove(file, ignored);
}

// A profiler that ends without this folder loses its report, and says nothing of it. What stands in
// the folder's way shows when the files are tried.
void MakeReportFolder() {
  std::error_code ignored;
  if (!std::filesystem::create_directory(Common::UtResultFolder, ignored)) return;
  std::cerr << "harbor: there was no folder " << Common::UtResultFolder
            << ", without which the report is lost; it is there now\n";
}

}  // namespace

void PrepareDirectory(const std::string& directory) {
  std::error_code failure;
  std::filesystem::current_path(Vorn::PathFromUtf8(directory), failure);
  if (failure) throw std::runtime_error("cannot work in " + directory + ": " + failure.message());
  if (!std::filesystem::is_directory(Common::ConfigFolder, failure)) {
    throw std::runtime_error("there is no folder " + Common::ConfigFolder + " in " + directory);
  }
  MakeReportFolder();
  for (const std::string& file : WrittenFiles) RequireWritable(file);
}

}  // namespace Harbor
