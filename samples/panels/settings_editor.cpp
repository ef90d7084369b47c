#include "settings_editor.h"

#include <imgui.h>
#include <imgui_stdlib.h>

#include <cmath>
#include <cstdint>
#include <string_view>
#include <utility>

namespace Panels {
namespace {

using Common::Kit::SettingsReader;

constexpr float LabelShare = 0.45F;     // of the panel's width
constexpr double WideRange = 10'000.0;  // above it a linear slider is too coarse at its low end

bool IsSlidable(const SettingsReader::AskedSetting& setting) {
  constexpr double mostOfSlider = 1'000'000'000.0;
  return std::isfinite(setting.lowest) && std::isfinite(setting.highest) &&
         setting.highest - setting.lowest <= mostOfSlider;
}

ImGuiSliderFlags SliderLook(const SettingsReader::AskedSetting& setting) {
  const bool isWide = setting.highest - setting.lowest > WideRange && setting.lowest > 0.0;
  return ImGuiSliderFlags_AlwaysClamp | (isWide ? ImGuiSliderFlags_Logarithmic : 0);
}

}  // namespace

SettingsEditor::SettingsEditor(SettingsReader& shownReader,
                               Common::Config::SConfigFile& editedStore,
                               std::function<void(const std::string& key)> act,
                               std::function<void()> save)
    : reader(shownReader), store(editedStore), onChange(std::move(act)), onDone(std::move(save)) {}

void SettingsEditor::Draw() {
  const float labelWidth = ImGui::GetContentRegionAvail().x * LabelShare;
  for (const Setting& setting : reader.AskedSettings()) {
    ImGui::PushID(setting.key.c_str());
    ImGui::AlignTextToFramePadding();
    ImGui::TextUnformatted(setting.key.c_str());
    ImGui::SameLine(labelWidth);
    ImGui::SetNextItemWidth(-1.0F);
    const bool hasChanged = Edit(setting);
    const bool isDone = ImGui::IsItemDeactivatedAfterEdit() ||
                        (hasChanged && setting.kind == Setting::Kind::Choice);
    if (hasChanged) onChange(setting.key);
    if (isDone) onDone();
    ImGui::PopID();
  }
}

// Edits what the reader returns, also for a wrong text: the program works with that.
bool SettingsEditor::Edit(const Setting& setting) {
  switch (setting.kind) {
    case Setting::Kind::Int:
      return EditInt(setting);
    case Setting::Kind::Float:
      return EditFloat(setting);
    case Setting::Kind::Switch:
      return EditSwitch(setting);
    case Setting::Kind::Choice:
      return EditChoice(setting);
    case Setting::Kind::Text:
      break;
  }
  return EditText(setting);
}

bool SettingsEditor::EditInt(const Setting& setting) {
  const auto lowest = static_cast<std::int32_t>(setting.lowest);
  const auto highest = static_cast<std::int32_t>(setting.highest);
  std::int32_t value = reader.ReadInt(setting.key, std::stoi(setting.fallback), lowest, highest);
  const bool hasChanged = IsSlidable(setting) ? ImGui::SliderInt("##value", &value, lowest, highest,
                                                                 "%d", SliderLook(setting))
                                              : ImGui::InputInt("##value", &value);
  if (hasChanged) store.SetInt(setting.key, value);
  return hasChanged;
}

bool SettingsEditor::EditFloat(const Setting& setting) {
  double value =
      reader.ReadFloat(setting.key, std::stod(setting.fallback), setting.lowest, setting.highest);
  const bool hasChanged =
      IsSlidable(setting)
          ? ImGui::SliderScalar("##value", ImGuiDataType_Double, &value, &setting.lowest,
                                &setting.highest, "%.3f", SliderLook(setting))
          : ImGui::InputDouble("##value", &value);
  if (hasChanged) reader.WriteFloat(setting.key, value);
  return hasChanged;
}

bool SettingsEditor::EditSwitch(const Setting& setting) {
  bool isOn = reader.ReadSwitch(setting.key, setting.fallback == "on");
  const bool hasChanged = ImGui::Checkbox("##value", &isOn);
  if (hasChanged) reader.WriteSwitch(setting.key, isOn);
  return hasChanged;
}

bool SettingsEditor::EditChoice(const Setting& setting) {
  const std::string current = reader.ReadChoice(setting.key, setting.fallback, setting.choices);
  bool hasChanged = false;
  if (!ImGui::BeginCombo("##value", current.c_str())) return false;
  for (const std::string& choice : setting.choices) {
    if (ImGui::Selectable(choice.c_str(), choice == current) && choice != current) {
      store.SetString(setting.key, choice);
      hasChanged = true;
    }
  }
  ImGui::EndCombo();
  return hasChanged;
}

bool SettingsEditor::EditText(const Setting& setting) {
  std::string text = reader.ReadText(setting.key, setting.fallback);
  const bool hasChanged = ImGui::InputText("##value", &text);
  if (hasChanged) store.SetString(setting.key, text);
  return hasChanged;
}

}  // namespace Panels
