#pragma once

#include <filesystem>
#include <string>

namespace Harbor {

// A shared module of this process, loaded while this lives.
class Module {
 public:
  // Throws std::runtime_error, with what the system says, if the file cannot be loaded.
  explicit Module(const std::filesystem::path& file);
  ~Module();

  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  // The address of what the module exports under `name`, null if there is no such thing.
  void* Find(const std::string& name) const;

  // Whether the module of this file is in memory, whoever has loaded it.
  static bool IsLoaded(const std::filesystem::path& file);

  static const char* const FileEnding;

 private:
  void* const handle;
};

// Where the running program's own file stands.
std::filesystem::path ProgramFolder();

}  // namespace Harbor
