#include "log_view.h"

#include <string>
#include <utility>
#include <vector>

namespace Panels {
namespace {

using Common::Kit::LogTap;
using Common::Log::LogKind;

struct KindLook {
  LogKind kind;
  const char* name;
  ImVec4 color;
};

const std::array<KindLook, 3> KindLooks{
    {{LogKind::Error, "errors", {1.0F, 0.42F, 0.38F, 1.0F}},
     {LogKind::Warning, "warnings", {1.0F, 0.8F, 0.3F, 1.0F}},
     {LogKind::Message, "messages", {0.8F, 0.84F, 0.9F, 1.0F}}}};

std::size_t IndexOf(LogKind kind) { return static_cast<std::size_t>(kind); }

}  // namespace

LogView::LogView(LogTap& shownTap, std::size_t keptLines) : tap(shownTap), keep(keptLines) {}

void LogView::Draw() {
  TakeNewLines();
  bool hasChanged = DrawKindSwitches();
  hasChanged = filter.Draw("filter", -60.0F) || hasChanged;
  if (hasChanged) ChooseAgain();
  DrawLines();
}

void LogView::TakeNewLines() {
  for (LogTap::Line& line : tap.LastLines(lastSequence)) {
    lastSequence = line.sequence;
    lines.push_back(std::move(line));
    if (IsChosen(lines.back())) chosen.push_back(&lines.back());
  }
  DropOldLines();
}

void LogView::DropOldLines() {
  while (lines.size() > keep) {
    if (!chosen.empty() && chosen.front() == &lines.front()) chosen.pop_front();
    lines.pop_front();
  }
}

void LogView::ChooseAgain() {
  chosen.clear();
  for (const LogTap::Line& line : lines) {
    if (IsChosen(line)) chosen.push_back(&line);
  }
}

bool LogView::IsChosen(const LogTap::Line& line) const {
  return isKindShown[IndexOf(line.kind)] && filter.PassFilter(line.text.c_str());
}

bool LogView::DrawKindSwitches() {
  bool hasChanged = false;
  for (const KindLook& look : KindLooks) {
    const std::string label = std::to_string(tap.Count(look.kind)) + " " + look.name;
    ImGui::PushStyleColor(ImGuiCol_Text, look.color);
    ImGui::PushID(look.name);
    hasChanged = ImGui::Checkbox("##shown", &isKindShown[IndexOf(look.kind)]) || hasChanged;
    ImGui::SameLine();
    ImGui::TextUnformatted(label.c_str());
    ImGui::PopID();
    ImGui::PopStyleColor();
    ImGui::SameLine();
  }
  return hasChanged;
}

// Draws only the lines in sight. A view that shows the end follows it.
void LogView::DrawLines() {
  ImGui::BeginChild("lines", {0.0F, 0.0F}, true, ImGuiWindowFlags_HorizontalScrollbar);
  ImGuiListClipper clipper;
  clipper.Begin(static_cast<int>(chosen.size()));
  while (clipper.Step()) {
    for (int row = clipper.DisplayStart; row < clipper.DisplayEnd; ++row) {
      const LogTap::Line& line = *chosen[static_cast<std::size_t>(row)];
      ImGui::PushStyleColor(ImGuiCol_Text, KindLooks[IndexOf(line.kind)].color);
      ImGui::TextUnformatted(line.text.data(), line.text.data() + line.text.size());
      ImGui::PopStyleColor();
    }
  }
  if (ImGui::GetScrollY() >= ImGui::GetScrollMaxY()) ImGui::SetScrollHereY(1.0F);
  ImGui::EndChild();
}

}  // namespace Panels
