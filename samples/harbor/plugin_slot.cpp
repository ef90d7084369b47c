#include "plugin_slot.h"

#include <vorn_lnk/shared_path>

#include <stdexcept>

#include "storage.h"

namespace Harbor {
namespace {

std::unique_ptr<Plugin> StartPlugin(const Module& module, const PluginHost& host) {
  void* const start = module.Find("StartHarborPlugin1");
  if (start == nullptr) throw std::runtime_error("it is not a plugin of this host");
  return std::unique_ptr<Plugin>(reinterpret_cast<decltype(&StartHarborPlugin1)>(start)(host));
}

}  // namespace

PluginSlot::PluginSlot(const std::string& name, const PluginHost& host)
    : name(name),
      file(ProgramFolder() / Vorn::PathFromUtf8(name + Module::FileEnding)),
      host(host) {
  Load();
}

void PluginSlot::Reload() {
  if (!module) return;
  Unload();
  Load();
}

void PluginSlot::Load() {
  try {
    module.emplace(file);
    plugin = StartPlugin(*module, host);
  } catch (const std::runtime_error& failure) {
    module.reset();
    Log::Get()->LogWarning("plugin " + name + " is left out: " + failure.what());
    return;
  }
  Log::Get()->LogMessage("plugin " + name + " is loaded");
}

// First what points at the module's code, then the code, which goes only if nothing else holds it.
void PluginSlot::Unload() {
  plugin.reset();
  module.reset();
  if (Module::IsLoaded(file)) {
    Log::Get()->LogError("plugin " + name + " stays in memory: loading it brings no new code");
  } else {
    Log::Get()->LogMessage("plugin " + name + " is gone from memory");
  }
}

}  // namespace Harbor
