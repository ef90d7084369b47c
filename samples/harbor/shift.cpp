#include "shift.h"

#include "interrupt.h"
#include "phases.h"
#include "progress.h"
#include "services.h"

namespace Harbor {
namespace {

class Shift {
 public:
  Shift(Services& started, const Settings& read)
      : services(started), settings(read), port(started, read, frame), progress(read.frames) {}

  void RunFrame() {
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

  Tally Total() const { return port.Total(); }
  const std::vector<Common::MeasureRecord>& Phases() const { return *frame.records; }

 private:
  Services& services;
  const Settings& settings;
  Common::AccumulatorHandle frame{};
  Port port;
  Progress progress;
};

Settings Configure(Services& services, std::optional<std::uint64_t> frames) {
  Settings settings = ReadSettings(*services.settings);
  if (frames) settings.frames = *frames;
  Log::Get()->SetLiveOutput(settings.liveOutput);
  return settings;
}

}  // namespace

Outcome RunShift(std::optional<std::uint64_t> frames) {
  Services services;
  Outcome outcome{.settings = Configure(services, frames)};
  Shift shift(services, outcome.settings);
  Common::STimeProvider& clock = *Clock::Get();
  for (std::uint64_t begin = clock.Now(); outcome.frameTimes.size() < outcome.settings.frames && !IsInterrupted();) {
    shift.RunFrame();
    const std::uint64_t end = clock.Now();
    outcome.frameTimes.push_back(end - begin);
    begin = end;
  }
  if (IsInterrupted()) Log::Get()->LogWarning("interrupted, the run ends early");
  outcome.tally = shift.Total();
  if (!outcome.frameTimes.empty()) outcome.phases = shift.Phases();
  return outcome;
}

}  // namespace Harbor
