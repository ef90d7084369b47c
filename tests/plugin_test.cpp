#include <common/performance_profiler.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <bit>
#include <memory>

#include "support.h"

namespace Common::Test {

using LoadModels = std::uint64_t(SPerformanceProfiler*);

#ifdef _WIN32

static void* Load() { return LoadLibraryA(TEST_PLUGIN); }
static bool IsLoaded() { return GetModuleHandleA(TEST_PLUGIN) != nullptr; }
static void Unload(void* plugin) { FreeLibrary(static_cast<HMODULE>(plugin)); }
static LoadModels* Find(void* plugin) {
  const auto function = GetProcAddress(static_cast<HMODULE>(plugin), "LoadModels");
  return std::bit_cast<LoadModels*>(function);
}

#else

static void* Load() { return dlopen(TEST_PLUGIN, RTLD_NOW | RTLD_LOCAL); }
static bool IsLoaded() { return dlopen(TEST_PLUGIN, RTLD_NOW | RTLD_NOLOAD) != nullptr; }
static void Unload(void* plugin) { dlclose(plugin); }
static LoadModels* Find(void* plugin) {
  return reinterpret_cast<LoadModels*>(dlsym(plugin, "LoadModels"));
}

#endif

TEST(Plugin, OfDefaultFlagsReachesTheServicesAndIsGoneOnceItIsUnloaded) {
  StoredClock clock;
  clock->now = 42;
  const std::unique_ptr<SPerformanceProfiler> profiler(ManufacturePerformanceProfiler());
  void* const plugin = Load();
  ASSERT_NE(plugin, nullptr);
  EXPECT_EQ(Find(plugin)(profiler.get()), 42U);
  Unload(plugin);
  EXPECT_FALSE(IsLoaded());
}

}  // namespace Common::Test
