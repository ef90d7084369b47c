#include <common/frame_utility.h>
#include <common/performance_profiler.h>

#include <dlfcn.h>

#include "support.h"

namespace Common::Test {

using LoadModels = std::uint64_t(SFrameUtility*, SPerformanceProfiler*);

TEST(Plugin, OfDefaultFlagsUsesServicesAndKitAndIsGoneOnceItIsUnloaded) {
  StoredClock clock;
  clock->now = 39;
  const std::unique_ptr<SFrameUtility> frames(ManufactureFrameUtility());
  const std::unique_ptr<SPerformanceProfiler> profiler(ManufacturePerformanceProfiler());
  for (const char* path : {TEST_PLUGIN_O0, TEST_PLUGIN_O2}) {
    void* const plugin = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(plugin, nullptr) << dlerror();
    auto* const loadModels = reinterpret_cast<LoadModels*>(dlsym(plugin, "LoadModels"));
    EXPECT_EQ(loadModels(frames.get(), profiler.get()), 42U);
    dlclose(plugin);
    EXPECT_EQ(dlopen(path, RTLD_NOW | RTLD_NOLOAD), nullptr) << path << " stays loaded";
  }
}

}  // namespace Common::Test
