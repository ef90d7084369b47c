#include "totem.h"

#include <imgui.h>

#include <cstddef>
#include <string>

namespace Panels {
namespace {

std::string TextOf(std::uint64_t number) { return std::to_string(number); }
std::string TextOf(std::uint8_t byte) { return std::to_string(byte); }

template <class Value>
std::string TextOf(const Value& value) {
  std::string text;
  for (const auto part : value.parts) text += std::to_string(part) + " ";
  return text;
}

template <class T>
void DrawLatch(const char* name, const Common::TotemLatch<T>& latch) {
  ImGui::TableNextRow();
  ImGui::TableNextColumn();
  ImGui::TextUnformatted(name);
  ImGui::TableNextColumn();
  ImGui::TextUnformatted(TextOf(latch.Read()).c_str());
  ImGui::TableNextColumn();
  if (latch.isPending) ImGui::TextUnformatted(TextOf(latch.pending).c_str());
}

}  // namespace

void DrawTotem(const Common::SMessageTotem& totem) {
  if (!ImGui::BeginTable("totem", 3, ImGuiTableFlags_RowBg)) return;
  ImGui::TableSetupColumn("field", ImGuiTableColumnFlags_WidthStretch, 2.0F);
  ImGui::TableSetupColumn("current");
  ImGui::TableSetupColumn("pending");
  ImGui::TableHeadersRow();
  DrawLatch("frameNumber", totem.frameNumber);
  DrawLatch("byteOne", totem.byteOne);
  DrawLatch("fourByteValue", totem.fourByteValue);
  DrawLatch("fourByteValuePrevious", totem.fourByteValuePrevious);
  DrawLatch("byteTwo", totem.byteTwo);
  DrawLatch("twelveByteValue", totem.twelveByteValue);
  DrawLatch("byteThree", totem.byteThree);
  DrawLatch("eightByteValue", totem.eightByteValue);
  ImGui::EndTable();
}

}  // namespace Panels
