#include "frame_times.h"

#include <algorithm>
#include <array>

namespace Panels {
namespace {

constexpr float PlotHeight = 120.0F;
constexpr float ColumnWidth = 3.0F;
constexpr float RoomAboveBudget = 1.25F;  // of the budget, so that late frames show
constexpr int FramesPerSummary = 30;
constexpr ImU32 BudgetColor = IM_COL32(255, 255, 255, 160);
constexpr ImU32 BackgroundColor = IM_COL32(20, 22, 28, 255);

// Distinct to readers who are color-blind to red and green.
constexpr std::array<ImU32, 6> PhaseColors{
    IM_COL32(230, 159, 0, 255),   IM_COL32(86, 180, 233, 255), IM_COL32(0, 158, 115, 255),
    IM_COL32(204, 121, 167, 255), IM_COL32(240, 228, 66, 255), IM_COL32(90, 96, 110, 255)};

}  // namespace

FrameTimes::FrameTimes(const Common::Kit::Trace& shownTrace, const std::string& accumulator,
                       const std::vector<std::string>& phaseNames)
    : trace(shownTrace), whole(accumulator) {
  for (const std::string& name : phaseNames) {
    const ImU32 color = PhaseColors[phases.size() % PhaseColors.size()];
    phases.push_back({name, accumulator + "/" + name, color});
  }
}

void FrameTimes::Draw(std::uint64_t budget) {
  const ImVec2 size(std::max(ImGui::GetContentRegionAvail().x, 1.0F), PlotHeight);
  CollectFrames(static_cast<std::size_t>(size.x / ColumnWidth));
  DrawPlot(budget, size);
  DrawLegend();
}

// A whole comes after its phases, and so closes a frame. The oldest frame is left out: newer
// measurements may have replaced some of its phases.
void FrameTimes::CollectFrames(std::size_t most) {
  const std::size_t phaseCount = phases.size();
  std::vector<std::uint64_t> frame(phaseCount);
  durations.clear();
  trace.ForEach([&](const Common::Kit::Trace::Measurement& measurement) {
    if (measurement.name == whole) {
      durations.insert(durations.end(), frame.begin(), frame.end());
      std::fill(frame.begin(), frame.end(), 0);
    } else if (const Phase* phase = FindPhase(measurement.name)) {
      frame[static_cast<std::size_t>(phase - phases.data())] += measurement.duration;
    }
  });
  const std::size_t wanted = most * phaseCount;
  if (durations.size() > wanted) {
    durations.erase(durations.begin(), durations.end() - static_cast<std::ptrdiff_t>(wanted));
  }
}

const FrameTimes::Phase* FrameTimes::FindPhase(std::string_view record) const {
  for (const Phase& phase : phases) {
    if (phase.record == record) return &phase;
  }
  return nullptr;
}

void FrameTimes::DrawPlot(std::uint64_t budget, ImVec2 size) const {
  ImDrawList& canvas = *ImGui::GetWindowDrawList();
  const ImVec2 corner = ImGui::GetCursorScreenPos();
  const ImVec2 opposite(corner.x + size.x, corner.y + size.y);
  canvas.AddRectFilled(corner, opposite, BackgroundColor);
  canvas.PushClipRect(corner, opposite, true);
  const float budgetHeight = size.y / RoomAboveBudget;
  const float pixelsPerMicrosecond =
      budgetHeight / static_cast<float>(std::max<std::uint64_t>(budget, 1));
  const std::size_t frames = durations.size() / phases.size();
  for (std::size_t frame = 0; frame < frames; ++frame) {
    const float left = opposite.x - static_cast<float>(frames - frame) * ColumnWidth;
    DrawColumn(frame, {left, opposite.y}, {ColumnWidth - 1.0F, pixelsPerMicrosecond});
  }
  const float budgetLine = opposite.y - budgetHeight;
  canvas.AddLine({corner.x, budgetLine}, {opposite.x, budgetLine}, BudgetColor);
  const std::string label = "budget " + std::to_string(budget) + " us";
  const ImVec2 textSize = ImGui::CalcTextSize(label.c_str());
  const ImVec2 text(corner.x + 4.0F, budgetLine - textSize.y);
  canvas.AddRectFilled(text, {text.x + textSize.x, budgetLine}, BackgroundColor);
  canvas.AddText(text, BudgetColor, label.c_str());
  canvas.PopClipRect();
  ImGui::Dummy(size);
}

void FrameTimes::DrawColumn(std::size_t frame, ImVec2 bottom, ImVec2 step) const {
  float y = bottom.y;
  for (std::size_t phase = 0; phase < phases.size(); ++phase) {
    const std::uint64_t duration = durations[frame * phases.size() + phase];
    const float height = static_cast<float>(duration) * step.y;
    ImGui::GetWindowDrawList()->AddRectFilled({bottom.x, y - height}, {bottom.x + step.x, y},
                                              phases[phase].color);
    y -= height;
  }
}

// A percentile sorts what the trace holds, so it is computed only a few times a second.
void FrameTimes::DrawLegend() {
  if (framesToSummary-- == 0) {
    summary = trace.Summarize();
    framesToSummary = FramesPerSummary;
  }
  for (const Common::Kit::Trace::Line& line : summary) {
    const Phase* phase = FindPhase(line.name);
    if (phase == nullptr && line.name != whole) continue;
    const ImU32 color = phase == nullptr ? BudgetColor : phase->color;
    ImGui::TextColored(ImGui::ColorConvertU32ToFloat4(color), "%-12s",
                       phase == nullptr ? "whole frame" : phase->name.c_str());
    ImGui::SameLine();
    ImGui::Text("median %6llu us   99th percentile %6llu us",
                static_cast<unsigned long long>(line.median),
                static_cast<unsigned long long>(line.percentile99));
  }
}

}  // namespace Panels
