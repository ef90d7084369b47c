#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "module.h"
#include "plugin.h"

namespace Harbor {

// The place of one plugin. Where there is none, or none that can be used, the log says so and the
// harbor goes on without it. REQUIRES: made, reloaded and ended between two ticks.
class PluginSlot {
 public:
  // Loads the plugin of this name from the folder of the program, or from another that `name`
  // begins with (UTF-8, without the file's ending).
  PluginSlot(const std::string& name, const PluginHost& host);

  // Takes the plugin out and loads it again, as after a new build of it.
  void Reload();

 private:
  void Load();
  void Unload();

  const std::string name;
  const std::filesystem::path file;
  const PluginHost host;
  std::optional<Module> module;
  std::unique_ptr<Plugin> plugin;  // ends before the code that it consists of goes
};

}  // namespace Harbor
