#include "shift.h"

#include <algorithm>
#include <fstream>

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

Common::Kit::Trace MakeTrace(const Settings& settings) {
  return Common::Kit::Trace(std::min(settings.frames, MostTracedFrames) * Phase::Count, "harbor");
}

void RunFrame(Services& services, const Settings& settings, Port& port, Progress& progress,
              Common::Kit::Trace& trace) {
  Common::Kit::TracedMeasurement frame(services.profiler->OpenAccumulator(Phase::Frame), trace);
  auto filler = Clock::Get()->MakeTimeFiller(settings.frameTime);
  progress.Hide();
  frame.GoOnTo(Phase::Tick);
  services.frames->Tick();
  frame.GoOnTo(Phase::Simulation);
  port.Step();
  frame.GoOnTo(Phase::Waiting);
  progress.Show(*Totem::Get());
  filler = nullptr;  // waits for what is left of the frame
}

void WriteTrace(const Common::Kit::Trace& trace) {
  std::ofstream file(TraceFile, std::ios::binary);
  trace.WriteJson(file);
  file.close();
  if (!file) Log::Get()->LogWarning("the trace could not be written to " + TraceFile);
}

}  // namespace

Outcome RunShift(std::optional<std::uint64_t> frames) {
  Services services;
  Outcome outcome{.settings = Configure(services, frames)};
  const Settings& settings = outcome.settings;
  Common::Kit::Trace trace = MakeTrace(settings);
  Port port(services, settings);
  PluginSlot weather(settings.plugin, {*services.frames, settings.dayLength});
  Progress progress(settings.frames);
  std::uint64_t begin = Clock::Get()->Now();
  while (outcome.frameTimes.size() < settings.frames && !IsInterrupted()) {
    if (outcome.frameTimes.size() == settings.frames / 2) weather.Reload();
    RunFrame(services, settings, port, progress, trace);
    const std::uint64_t end = Clock::Get()->Now();
    outcome.frameTimes.push_back(end - begin);
    begin = end;
  }
  progress.Hide();
  if (IsInterrupted()) Log::Get()->LogWarning("interrupted, the run ends early");
  WriteTrace(trace);
  outcome.tally = port.Total();
  outcome.phases = trace.Summarize();
  return outcome;
}

}  // namespace Harbor
