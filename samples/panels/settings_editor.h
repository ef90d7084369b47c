#pragma once

#include <common/config_file.h>
#include <common/kit/settings_reader.h>

#include <functional>
#include <string>

namespace Panels {

// An editor of all settings that a reader was asked for, with a widget for each kind: a slider for
// a number, a switch, a list of choices, a line of text.
class SettingsEditor {
 public:
  // Calls `act` with the key when its value has changed, also at each step of a slider, and `save`
  // when the user lets go. REQUIRES: reader and store outlive this object.
  SettingsEditor(Common::Kit::SettingsReader& shownReader, Common::Config::SConfigFile& editedStore,
                 std::function<void(const std::string& key)> act, std::function<void()> save);

  void Draw();

 private:
  using Setting = Common::Kit::SettingsReader::AskedSetting;

  bool Edit(const Setting& setting);
  bool EditInt(const Setting& setting);
  bool EditFloat(const Setting& setting);
  bool EditSwitch(const Setting& setting);
  bool EditChoice(const Setting& setting);
  bool EditText(const Setting& setting);

  Common::Kit::SettingsReader& reader;
  Common::Config::SConfigFile& store;
  const std::function<void(const std::string& key)> onChange;
  const std::function<void()> onDone;
};

}  // namespace Panels
