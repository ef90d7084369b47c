#include "shift.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <utility>

#include "content_files.h"
#include "interrupt.h"
#include "phases.h"
#include "plugin_slot.h"
#include "progress.h"
#include "services.h"

namespace Harbor {
namespace {

constexpr std::uint64_t MostTracedFrames = 10'000;  // the last ones of a long run

Settings Configure(Services& services, std::optional<std::uint64_t> frames) {
  Settings settings = ReadSettings(*services.settings, *Log::Get());
  if (frames) settings.frames = *frames;
  Log::Get()->SetLiveOutput(settings.liveOutput);
  return settings;
}

// What works during a run. The members start in their order and end in the reverse one.
class Shift {
 public:
  explicit Shift(std::optional<std::uint64_t> frames)
      : settings(Configure(services, frames)),
        trace(std::min(settings.frames, MostTracedFrames) * (Phase::Count + 1), "harbor"),
        port(services, settings),
        plugin(settings.plugin, {*services.frames, settings.dayLength}),
        progress(settings.frames) {}

  Outcome Run();

 private:
  void RunFrame(std::uint64_t index);
  void WriteTrace() const;

  Services services;
  const Settings settings;
  Common::Kit::Trace trace;
  Port port;
  PluginSlot plugin;
  Progress progress;
};

Outcome Shift::Run() {
  std::vector<std::uint64_t> frameTimes;
  std::uint64_t begin = Clock::Get()->Now();
  while (frameTimes.size() < settings.frames && !IsInterrupted()) {
    RunFrame(frameTimes.size());
    const std::uint64_t end = Clock::Get()->Now();
    frameTimes.push_back(end - begin);
    begin = end;
  }
  progress.Hide();
  if (IsInterrupted()) Log::Get()->LogWarning("interrupted, the run ends early");
  WriteTrace();
  return {settings, port.Total(), std::move(frameTimes), trace.Summarize()};
}

void Shift::RunFrame(std::uint64_t index) {
  Common::Kit::TracedMeasurement frame(services.profiler->OpenAccumulator(Phase::Frame), trace);
  auto filler = Clock::Get()->MakeTimeFiller(settings.frameTime);
  progress.Hide();
  if (index == settings.frames / 2) plugin.Reload();  // shows that it can be done in a run
  frame.GoOnTo(Phase::Tick);
  services.frames->Tick();
  frame.GoOnTo(Phase::Simulation);
  port.Step();
  frame.GoOnTo(Phase::Waiting);
  progress.Show(*Totem::Get());
  filler = nullptr;  // waits for what is left of the frame
}

void Shift::WriteTrace() const {
  std::ofstream file(TraceFile, std::ios::binary);
  trace.WriteJson(file);
  file.close();
  if (file) return;
  Log::Get()->LogWarning("the trace could not be written to " + TraceFile);
  std::error_code ignored;
  std::filesystem::remove(TraceFile, ignored);  // no viewer reads a part
}

}  // namespace

Outcome RunShift(std::optional<std::uint64_t> frames) { return Shift(frames).Run(); }

}  // namespace Harbor
