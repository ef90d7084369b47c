#pragma once

#include <common/kit/log_tap.h>

#include <imgui.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>

namespace Panels {

// The log while the program runs, with a color and a switch for each kind and a text filter.
class LogView {
 public:
  // Shows the last `keptLines` lines. REQUIRES: the tap outlives this object.
  LogView(Common::Kit::LogTap& shownTap, std::size_t keptLines);

  void Draw();

 private:
  void TakeNewLines();
  void DropOldLines();
  void ChooseAgain();
  bool IsChosen(const Common::Kit::LogTap::Line& line) const;
  bool DrawKindSwitches();
  void DrawLines();

  static constexpr std::size_t KindCount = 3;

  Common::Kit::LogTap& tap;
  const std::size_t keep;
  std::deque<Common::Kit::LogTap::Line> lines;
  std::uint64_t lastSequence = 0;
  std::deque<const Common::Kit::LogTap::Line*> chosen;  // those that pass the filters
  std::array<bool, KindCount> isKindShown{true, true, true};
  ImGuiTextFilter filter;
};

}  // namespace Panels
