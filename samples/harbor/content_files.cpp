#include "content_files.h"

#include <vorn_lnk/shared_path>

#include <filesystem>
#include <fstream>
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

}  // namespace

void PrepareDirectory(const std::string& directory) {
  std::error_code failure;
  std::filesystem::current_path(Vorn::PathFromUtf8(directory), failure);
  if (failure) throw std::runtime_error("cannot work in " + directory + ": " + failure.message());
  if (!std::filesystem::is_directory(Common::ConfigFolder, failure)) {
    throw std::runtime_error("there is no folder " + Common::ConfigFolder + " in " + directory);
  }
  // What stands in the way of the folder shows below.
  std::filesystem::create_directory(Common::UtResultFolder, failure);
  for (const std::string& file : {SettingsFile, LogFile, ReportFile, TraceFile}) {
    RequireWritable(file);
  }
}

}  // namespace Harbor
