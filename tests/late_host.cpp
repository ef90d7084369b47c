// late_host PLUGIN [LIBRARY ...]: a host that meets the libraries only with a plugin, at run time.
// It ends the services in a static destructor of its own, which runs when the constants of plugin
// and libraries have ended. With names of libraries it ends them before, unloads the plugin, and
// finds that the libraries are gone too.
#include <dlfcn.h>

#include <iostream>
#include <utility>

static void (*endServices)() = nullptr;

static const struct AtExit {
  ~AtExit() {
    if (endServices != nullptr) endServices();
  }
} atExit;

int main(int count, char** arguments) {
  void* const plugin = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (plugin == nullptr) {
    std::cerr << dlerror() << '\n';
    return 1;
  }
  reinterpret_cast<void (*)()>(dlsym(plugin, "MakeServices"))();
  endServices = reinterpret_cast<void (*)()>(dlsym(plugin, "EndServices"));
  if (count == 2) return 0;
  std::exchange(endServices, nullptr)();
  dlclose(plugin);
  for (int index = 1; index < count; ++index) {
    if (dlopen(arguments[index], RTLD_NOW | RTLD_NOLOAD) == nullptr) continue;
    std::cerr << arguments[index] << " is still loaded\n";
    return 1;
  }
}
