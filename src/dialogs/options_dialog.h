// The options dialog as a model: its own copy of every bound value, the two
// label texts, and the exchange with its checks. Toolkits show it.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "dialogs/data_exchange.h"
#include "dialogs/dialog_template.h"
#include "settings/export_settings.h"

namespace kvl {

class OptionsDialog {
 public:
  OptionsDialog(const ExportSettings& settings, void* parentWindow);

  // Runs the dialog on the installed toolkit; IDOK or IDCANCEL.
  int DoModal();
  // Copies the values out; only after the dialog ended with OK.
  void StoreSettings(ExportSettings& settings) const;

  // Fills the controls from the values, as the dialog opens.
  void LoadControls();
  // Reads the controls back in exchange order, checking each value. False
  // if one is refused: LastError() says why, and the values read before it
  // stay in the dialog only, as no setting changes before StoreSettings.
  bool SaveControls();

  ControlStates& Controls() { return controls_; }
  const std::string& BuildText() const { return buildText_; }
  const std::string& LocationText() const { return locationText_; }
  const std::string& LastError() const { return lastError_; }
  // The setting of the control that was refused last, and where its value
  // stood in the settings file ("PATH line N"; empty if not there).
  const std::string& LastRefusedKey() const { return lastRefusedKey_; }
  std::string SettingsFileLineOf(const std::string& key) const;

 private:
  void Exchange(DataExchange& dx);

  // The bound values, in exchange order.
  uint32_t samplerate_;
  int32_t exporthidden_, ignorespecial_, exportlights_, exportnodeattributes_, optimize_;
  float scale_;
  uint32_t threshold_;
  std::string buildText_, locationText_;
  int32_t outputlog_, displaylog_, removescaling_, exportanims_, exportmorph_, enableadaptivesampling_;
  float postolerance_, rottolerance_, scaletolerance_;

  ControlStates controls_;
  std::string lastError_;
  std::string lastRefusedKey_;
  std::string iniPath_;
  std::map<std::string, int> fileLines_;
};

// "KVLExp build " and the build's date and time, as "Jul  3 2003 12:49:13".
std::string MakeBuildText();

}  // namespace kvl
