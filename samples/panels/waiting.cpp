#include "waiting.h"

#include <imgui.h>

#include <cstdint>
#include <optional>

namespace Panels {

void DrawWaiting(const Common::Kit::Timers& timers, const Common::Kit::GameClock& clock,
                 Common::SFrameUtility& frames) {
  const std::uint64_t now = clock.Now();
  ImGui::Text("game clock     %.3f s%s", static_cast<double>(now) / 1'000'000.0,
              clock.IsPaused() ? ", paused" : "");
  const std::optional<std::uint64_t> due = timers.NextDue();
  if (due.has_value()) {
    const std::uint64_t left = *due > now ? *due - now : 0;
    ImGui::Text("timers         %zu wait, the next for %.3f s", timers.Waiting(),
                static_cast<double>(left) / 1'000'000.0);
  } else {
    ImGui::TextUnformatted("timers         none wait");
  }
  ImGui::Text("delayed calls  %zu wait", frames.WaitingCalls());
}

}  // namespace Panels
