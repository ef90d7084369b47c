#pragma once

#include <common/kit/frame_pacer.h>
#include <common/kit/game_clock.h>
#include <common/kit/posted_calls.h>
#include <common/kit/settings_reader.h>
#include <common/kit/settings_watcher.h>
#include <common/kit/timers.h>
#include <common/kit/trace.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "plugin_slot.h"
#include "port.h"
#include "progress.h"
#include "services.h"
#include "settings.h"
#include "weather_office.h"

namespace Harbor {

// What is left of a run when its services have ended.
struct Outcome {
  Settings settings;
  Tally tally;
  std::uint64_t frames;                          // that were run
  std::vector<Common::Kit::Trace::Line> phases;  // of the frames that the trace still holds
};

// One run of the harbor, from the start of the services to their end. The members start in their
// order and end in reverse.
class Shift {
 public:
  // Runs `frames` frames, or as many as the settings say.
  explicit Shift(std::optional<std::uint64_t> frames);

  // Whether all frames have run, or an interrupt has come.
  bool IsOver() const;

  // One frame. `draw`, if any, runs before the frame waits for its end, and adds phases of its own.
  using Draw = std::function<void(Common::Kit::TracedMeasurement& frame)>;
  void RunFrame(const Draw& draw = {});

  // Writes what is to be kept of the run, before the services end.
  Outcome Finish();

  // Applies what has changed in the store, and saves it.
  void ApplySettings();
  void SaveSettings();

  // For a view of the run, and for the user to steer it.
  Services services;
  Common::Kit::SettingsReader reader;
  Settings settings;
  Common::Kit::GameClock clock;
  Common::Kit::Trace trace;
  Port port;

 private:
  void StartHousekeeping();
  void TakeOverEdits();
  void PublishForecast(std::uint8_t force);
  void WriteTrace() const;
  void WriteThreadsReport();

  const std::optional<std::uint64_t> fixedFrames;
  std::uint64_t framesRun = 0;
  Common::Kit::PostedCalls posted;
  WeatherOffice office;
  std::uint64_t daysForecast = 0;
  Common::Kit::SettingsWatcher watcher;
  Common::Kit::Timers housekeeping;  // goes on while the game is paused
  Common::Kit::Timers calendar;      // counts days of the game
  std::optional<PluginSlot> plugin;
  Progress progress;
  Common::Kit::FramePacer pacer;
};

// Runs a shift to its end. The programs with and without a window each have their own.
Outcome RunShift(std::optional<std::uint64_t> frames);

}  // namespace Harbor
