#include <common/performance_profiler.h>

#include <dlfcn.h>

#include "support.h"

namespace Common::Test {

using LoadModels = std::uint64_t(SPerformanceProfiler*);

static bool IsLoaded() { return dlopen(TEST_PLUGIN, RTLD_NOW | RTLD_NOLOAD) != nullptr; }

TEST(Plugin, OfDefaultFlagsReachesTheServicesAndIsGoneOnceItIsUnloaded) {
  StoredClock clock;
  clock->now = 42;
  const std::unique_ptr<SPerformanceProfiler> profiler(ManufacturePerformanceProfiler());
  void* const plugin = dlopen(TEST_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(plugin, nullptr) << dlerror();
  auto* const loadModels = reinterpret_cast<LoadModels*>(dlsym(plugin, "LoadModels"));
  EXPECT_EQ(loadModels(profiler.get()), 42U);
  dlclose(plugin);
  EXPECT_FALSE(IsLoaded());
}

}  // namespace Common::Test
