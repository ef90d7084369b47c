// The harbor in a window, with the panels that a team looks at while it works on its game.
#include <common/kit/log_format.h>

#include <imgui.h>

#include <cstdint>
#include <optional>

#include "../../panels/frame_times.h"
#include "../../panels/log_view.h"
#include "../../panels/records.h"
#include "../../panels/settings_editor.h"
#include "../../panels/totem.h"
#include "../../panels/waiting.h"
#include "../interrupt.h"
#include "../phases.h"
#include "../shift.h"
#include "../totem_values.h"
#include "harbor_view.h"
#include "window.h"

namespace Harbor {
namespace {

constexpr const char* PictureFile = "window.png";

// The panels stand in two columns in the right half of the window, until the user moves them.
void PlacePanel(float left, float top, float width, float height) {
  const ImVec2 size = ImGui::GetIO().DisplaySize;
  ImGui::SetNextWindowPos({left * size.x, top * size.y}, ImGuiCond_FirstUseEver);
  ImGui::SetNextWindowSize({width * size.x, height * size.y}, ImGuiCond_FirstUseEver);
}

class Desk {
 public:
  explicit Desk(Shift& shift)
      : shift(shift),
        frameTimes(shift.trace, Phase::Frame,
                   {Phase::Frame, Phase::Tick, Phase::Simulation, Phase::Panels, Phase::Drawing,
                    Phase::Waiting}),
        log(shift.services.Tap(), KeptLogLines),
        settings(
            shift.reader, *shift.services.settings,
            [&shift](const std::string& /*key*/) { shift.ApplySettings(); },
            [&shift] { shift.SaveSettings(); }) {}

  void Draw();

 private:
  void DrawGameControls();

  Shift& shift;
  Panels::FrameTimes frameTimes;
  Panels::LogView log;
  Panels::SettingsEditor settings;
  float rate = 1.0F;
};

void Desk::Draw() {
  DrawHarbor(shift.port, *Totem::Get());
  PlacePanel(0.5F, 0.0F, 0.5F, 0.32F);
  if (ImGui::Begin("frame times")) frameTimes.Draw(shift.settings.frameTime);
  ImGui::End();
  PlacePanel(0.5F, 0.32F, 0.25F, 0.36F);
  if (ImGui::Begin("settings")) settings.Draw();
  ImGui::End();
  PlacePanel(0.75F, 0.32F, 0.25F, 0.2F);
  if (ImGui::Begin("profiler")) Panels::DrawRecords(*shift.services.profiler);
  ImGui::End();
  PlacePanel(0.75F, 0.52F, 0.25F, 0.16F);
  if (ImGui::Begin("game")) DrawGameControls();
  ImGui::End();
  PlacePanel(0.5F, 0.68F, 0.5F, 0.32F);
  if (ImGui::Begin("log")) log.Draw();
  ImGui::End();
  PlacePanel(0.0F, 0.79F, 0.25F, 0.21F);
  if (ImGui::Begin("totem")) Panels::DrawTotem(*Totem::Get());
  ImGui::End();
}

void Desk::DrawGameControls() {
  const bool wasPaused = shift.clock.IsPaused();
  const bool isKeyPressed = ImGui::IsKeyPressed(' ') && !ImGui::GetIO().WantTextInput;
  if (ImGui::Button(wasPaused ? "go on (space)" : "pause (space)") || isKeyPressed) {
    if (wasPaused) {
      shift.clock.Resume();
    } else {
      shift.clock.Pause();
    }
    Common::Kit::LogMessage(*Log::Get(), "{} at {} us of the game",
                            wasPaused ? "goes on" : "paused", shift.clock.Now());
  }
  ImGui::SameLine();
  ImGui::SetNextItemWidth(-1.0F);
  if (ImGui::SliderFloat("##rate", &rate, 0.1F, 4.0F, "rate %.1f")) shift.clock.SetRate(rate);
  Panels::DrawWaiting(shift.port.Timers(), shift.clock, *shift.services.frames);
}

}  // namespace

// Without `frames` it runs until the window is closed, whatever the settings say, and calls fleet
// after fleet. With `frames` it leaves a picture of the last one.
Outcome RunShift(std::optional<std::uint64_t> frames) {
  Shift shift(frames);
  Window window("harbor");
  Desk desk(shift);
  const auto isOver = [&] { return frames.has_value() ? shift.IsOver() : IsInterrupted(); };
  for (std::uint64_t frame = 1; !isOver() && window.IsOpen(); ++frame) {
    if (frame == frames) window.TakePicture(PictureFile);
    if (shift.port.IsQuiet()) shift.port.CallFleet();
    shift.RunFrame([&](Common::Kit::TracedMeasurement& measurement) {
      measurement.GoOnTo(Phase::Panels);
      window.BeginFrame();
      desk.Draw();
      measurement.GoOnTo(Phase::Drawing);
      window.EndFrame();
    });
  }
  return shift.Finish();
}

}  // namespace Harbor
