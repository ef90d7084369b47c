#include "records.h"

#include <imgui.h>

namespace Panels {
namespace {

void DrawRow(const std::string& accumulator, const Common::MeasureRecord& record) {
  const double milliseconds = static_cast<double>(record.totalTime) / 1'000.0;
  const double calls = static_cast<double>(record.calls);
  ImGui::TableNextRow();
  ImGui::TableNextColumn();
  ImGui::Text("%s/%s", accumulator.c_str(), record.name.c_str());
  ImGui::TableNextColumn();
  ImGui::Text("%.1f", milliseconds);
  ImGui::TableNextColumn();
  ImGui::Text("%.0f", calls);
  ImGui::TableNextColumn();
  ImGui::Text("%.1f", record.calls == 0 ? 0.0 : milliseconds * 1'000.0 / calls);
}

}  // namespace

void DrawRecords(Common::SPerformanceProfiler& profiler) {
  constexpr ImGuiTableFlags look = ImGuiTableFlags_RowBg | ImGuiTableFlags_Resizable;
  if (!ImGui::BeginTable("records", 4, look)) return;
  ImGui::TableSetupColumn("record", ImGuiTableColumnFlags_WidthStretch, 2.0F);
  ImGui::TableSetupColumn("total ms");
  ImGui::TableSetupColumn("calls");
  ImGui::TableSetupColumn("mean us");
  ImGui::TableHeadersRow();
  for (const auto& [accumulator, records] : profiler.Accumulators()) {
    for (const Common::MeasureRecord& record : records) DrawRow(accumulator, record);
  }
  ImGui::EndTable();
}

}  // namespace Panels
