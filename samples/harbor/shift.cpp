#include "shift.h"

#include <filesystem>

#include "content_check.h"
#include "interrupt.h"
#include "phases.h"
#include "progress.h"
#include "services.h"

namespace Harbor {
namespace {

Settings Configure(Services& services, std::optional<std::uint64_t> frames) {
  Settings settings = ReadSettings(*services.settings);
  if (frames) settings.frames = *frames;
  Log::Get()->SetLiveOutput(settings.liveOutput);
  return settings;
}

// Where the previous log could not be moved away, the new one has no file and says nothing of it.
void RescueLog() {
  if (!std::filesystem::exists(LogFile)) return;
  Log::Get()->SetLogFile(LogFile);
  Log::Get()->LogWarning("the previous log could not be moved away, this one stands behind it");
}

void RunFrame(Services& services, const Settings& settings, Port& port, Progress& progress,
              Common::AccumulatorHandle& frame) {
  frame = services.profiler->OpenAccumulator(Phase::Frame);
  auto filler = Clock::Get()->MakeTimeFiller(settings.frameTime);
  progress.Hide();
  frame.GoOnTo(Phase::EdgeAndReactors);
  services.frames->Tick();  // goes on to the delayed calls where the first of them runs
  frame.GoOnTo(Phase::Simulation);
  port.Step();
  frame.GoOnTo(Phase::Waiting);
  progress.Show(*Totem::Get());
  filler = nullptr;  // waits for what is left of the frame
  frame.Stop();
}

}  // namespace

Outcome RunShift(std::optional<std::uint64_t> frames) {
  Services services;
  RescueLog();
  Outcome outcome{.settings = Configure(services, frames)};
  Common::AccumulatorHandle frame{};
  Port port(services, outcome.settings, frame);
  Progress progress(outcome.settings.frames);
  std::uint64_t begin = Clock::Get()->Now();
  while (outcome.frameTimes.size() < outcome.settings.frames && !IsInterrupted()) {
    RunFrame(services, outcome.settings, port, progress, frame);
    const std::uint64_t end = Clock::Get()->Now();
    outcome.frameTimes.push_back(end - begin);
    begin = end;
  }
  progress.Hide();
  if (IsInterrupted()) Log::Get()->LogWarning("interrupted, the run ends early");
  outcome.tally = port.Total();
  if (frame.records != nullptr) outcome.phases = *frame.records;
  return outcome;
}

}  // namespace Harbor
