// What the host and a plugin agree on. A plugin is a shared module that the host loads at run time.
// It links to the services' libraries and finds clock, log and totem in the storage, as the host
// does; the rest it gets from the host. See weather.cpp for one to copy from.
#pragma once

#include <common/frame_utility.h>

#include <cstdint>

#ifdef _WIN32
#define HARBOR_PLUGIN_EXPORT __declspec(dllexport)
#else
#define HARBOR_PLUGIN_EXPORT __attribute__((visibility("default")))
#endif

namespace Harbor {

struct PluginHost {
  Common::SFrameUtility& frames;
  std::uint64_t dayLength;  // microseconds
};

// A plugin at work. The host deletes it between two ticks, before it unloads the module. After that
// nothing may point at the module's code: the destructor releases the reactors, timers and counted
// objects that the plugin made, cancels its delayed calls, and drops its owners. Its callbacks must
// not throw exception types of its own, which would outlive their code.
struct Plugin {
  virtual ~Plugin() = default;
};

}  // namespace Harbor

// The one function that the host looks for: makes the plugin, which the host then owns. Its name
// ends in the version of this header, so a module of another version is not taken for a plugin. A
// start that fails ends the process, since its exception would outlive the module.
// NOLINTNEXTLINE(bugprone-exception-escape)
extern "C" HARBOR_PLUGIN_EXPORT Harbor::Plugin* StartHarborPlugin1(
    const Harbor::PluginHost& host) noexcept;
