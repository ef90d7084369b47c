#pragma once

#include <filesystem>
#include <string>

namespace Harbor {

// A shared module, loaded for as long as this lives.
class Module {
 public:
  // Throws std::runtime_error with the system's message if the file cannot be loaded.
  explicit Module(const std::filesystem::path& file);
  ~Module();

  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  // The address of what the module exports under `name`, or null.
  void* Find(const std::string& name) const;

  // Whether the module in `file` is in memory, whoever loaded it.
  static bool IsLoaded(const std::filesystem::path& file);

  static const char* const FileEnding;

 private:
  void* const handle;
};

std::filesystem::path ProgramFolder();

}  // namespace Harbor
