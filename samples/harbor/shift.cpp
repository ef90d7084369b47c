#include "shift.h"

#include <common/kit/report.h>
#include <common/kit/settings_save.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "content_files.h"
#include "interrupt.h"
#include "phases.h"
#include "totem_values.h"

namespace Harbor {
namespace {

constexpr std::uint64_t MostTracedFrames = 10'000;  // the last ones of a long run
constexpr std::uint64_t HousekeepingInterval = 1'000'000;

Settings Configure(Common::Kit::SettingsReader& reader, std::optional<std::uint64_t> frames) {
  Settings settings = ReadSettings(reader);
  if (frames) settings.frames = *frames;
  Log::Get()->SetLiveOutput(settings.liveOutput);
  return settings;
}

std::size_t TraceCapacity(const Settings& settings) {
  return std::min(settings.frames, MostTracedFrames) * Phase::MeasurementsPerFrame;
}

}  // namespace

Shift::Shift(std::optional<std::uint64_t> frames)
    : reader(*services.settings, *Log::Get()),
      settings(Configure(reader, frames)),
      trace(TraceCapacity(settings), "harbor"),
      port(services, clock, settings),
      fixedFrames(frames),
      posted(*services.frames),
      office(posted, [this](std::uint8_t force) { PublishForecast(force); }),
      watcher(*services.settings, SettingsFile),
      housekeeping(*services.frames),
      calendar(*services.frames, clock),
      plugin(std::in_place, settings.plugin, PluginHost{*services.frames, settings.dayLength}),
      progress(settings.frames),
      pacer(settings.frameTime) {
  SaveSettings();
  WarnOfUnaskedKeys(*services.settings, *Log::Get(), reader);
  StartHousekeeping();
}

bool Shift::IsOver() const { return framesRun >= settings.frames || IsInterrupted(); }

void Shift::RunFrame(const Draw& draw) {
  Common::Kit::TracedMeasurement frame(services.profiler->OpenAccumulator(Phase::Frame), trace);
  progress.Hide();
  if (framesRun == settings.frames / 2) plugin->Reload();  // to show that it works during a run
  frame.GoOnTo(Phase::Tick);
  services.frames->Tick();
  frame.GoOnTo(Phase::Simulation);
  if (!clock.IsPaused()) port.Step();
  if (draw) draw(frame);
  frame.GoOnTo(Phase::Waiting);
  progress.Show(*Totem::Get());
  pacer.WaitForNext();
  ++framesRun;
}

Outcome Shift::Finish() {
  progress.Hide();
  if (IsInterrupted()) Log::Get()->LogWarning("interrupted, the run ends early");
  office.Close();
  WriteTrace();
  WriteThreadsReport();
  return {settings, port.Total(), framesRun, trace.Summarize()};
}

void Shift::ApplySettings() {
  const std::string pluginBefore = settings.plugin;
  settings = Configure(reader, fixedFrames);
  pacer.SetInterval(settings.frameTime);
  port.Apply(settings);
  if (settings.plugin == pluginBefore) return;
  plugin.emplace(settings.plugin, PluginHost{*services.frames, settings.dayLength});
}

void Shift::SaveSettings() {
  if (Common::Kit::SaveSafely(*services.settings, SettingsFile)) return;
  Log::Get()->LogError("the settings could not be saved to " + SettingsFile);
}

// Once a second the log reaches its file, and edits of the settings reach the harbor.
void Shift::StartHousekeeping() {
  housekeeping.Every(HousekeepingInterval, [] { Log::Get()->Flush(); });
  housekeeping.Every(HousekeepingInterval, [this] { TakeOverEdits(); });
  office.AskFor(daysForecast);
  calendar.Every(settings.dayLength, [this] { office.AskFor(++daysForecast); });
}

void Shift::TakeOverEdits() {
  const auto changes = watcher.Poll();
  for (const auto& change : changes) {
    Log::Get()->LogMessage("setting " + change.key + " was edited: '" + change.before +
                           "' is now '" + change.after + "'");
  }
  if (!changes.empty()) ApplySettings();
}

void Shift::PublishForecast(std::uint8_t force) {
  WriteForecast(*Totem::Get(), force);
  Log::Get()->LogMessage("the weather office expects wind force " + std::to_string(force));
}

void Shift::WriteTrace() const {
  std::ofstream file(TraceFile, std::ios::binary);
  trace.WriteJson(file);
  file.close();
  if (file) return;
  Log::Get()->LogWarning("the trace could not be written to " + TraceFile);
  std::error_code ignored;
  std::filesystem::remove(TraceFile, ignored);  // no viewer reads a partial file
}

// The profiler's own report has only the thread that ticks.
void Shift::WriteThreadsReport() {
  Common::Kit::WriteReport(ThreadsReportFile, {services.profiler.get(), &office.Profiler()});
}

}  // namespace Harbor
