// A module that a host loads at run time: built with default flags, it includes every public header
// and uses what would keep it in the process if it were shared with other modules.
#include "all_headers.h"

extern "C" std::uint64_t LoadModels(Common::SPerformanceProfiler* profiler) {
  Common::Kit::Trace trace(16);
  Common::Kit::TracedMeasurement loading(profiler->OpenAccumulator(Common::ModelsFolder), trace);
  loading.GoOnTo("clock");
  return Vorn::Singleton<Common::STimeProvider, std::shared_ptr>::Get()->Now();
}
