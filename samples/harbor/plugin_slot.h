#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "module.h"
#include "plugin.h"

namespace Harbor {

// Holds one plugin. If there is none, or none that can be used, the log says so and the harbor goes
// on without it. REQUIRES: made, reloaded and ended between two ticks.
class PluginSlot {
 public:
  // Loads the plugin `name` (UTF-8, without the file's ending) from the program's folder, or from
  // another one that `name` begins with.
  PluginSlot(const std::string& name, const PluginHost& host);

  void Reload();

 private:
  void Load();
  void Unload();

  const std::string name;
  const std::filesystem::path file;
  const PluginHost host;
  std::optional<Module> module;
  std::unique_ptr<Plugin> plugin;  // ends before its code goes
};

}  // namespace Harbor
