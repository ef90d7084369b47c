// A module that a host loads at run time: built with default flags, it includes every public
// header, holds all of the kit, and uses what would keep it in the process if it were shared with
// other modules.
#include <sstream>

#include "all_headers.h"

using namespace Common;

extern "C" std::uint64_t LoadModels(SFrameUtility* frames, SPerformanceProfiler* profiler) {
  Kit::StandInSettings settings;
  Kit::StandInLog log;
  Kit::SettingsReader reader(settings, log);
  settings.Load("models.txt");
  const auto count = static_cast<std::size_t>(reader.ReadInt("models", 20, 0, 100));
  reader.WriteFloat("scale", reader.ReadFloat("scale", 0.1F, 0.0, 1.0));

  Kit::Trace trace(count, "models");
  {
    Kit::TracedMeasurement loading(profiler->OpenAccumulator(ModelsFolder), trace);
    loading.GoOnTo("clock");
  }
  std::ostringstream json;
  trace.WriteJson(json);

  const Kit::GameClock gameClock;
  Kit::PostedCalls calls(*frames);
  Kit::Timers timers(*frames);
  std::uint64_t loaded = 0;
  calls.Post([&] { timers.After(0, [&] { loaded = trace.Summarize().size(); }); });
  for (int tick = 0; tick < 2; ++tick) frames->Tick();
  return loaded + Vorn::Service<STimeProvider>::Get()->Now();
}
