#include "ui/headless_toolkit.h"

#include <algorithm>
#include <ostream>

#include "platform/text_escapes.h"
#include "dialogs/dialog_template.h"
#include "dialogs/log_dialog.h"
#include "dialogs/options_dialog.h"

namespace kvl::ui {
namespace {

// -1 for text that is no check box state.
int ParseCheck(const std::string& value) {
  for (const char* on : {"1", "on", "true", "yes"}) {
    if (value == on) return 1;
  }
  for (const char* off : {"0", "off", "false", "no"}) {
    if (value == off) return 0;
  }
  return -1;
}

}  // namespace

std::string CheckControlEdit(const ControlEdit& edit) {
  const ControlTemplate* control = FindControlForKey(OptionsDialogTemplate(), edit.key);
  if (!control) return "the options dialog has no setting '" + edit.key + "'";
  if (!control->enabled) {
    return "'" + edit.key + "' is disabled in the options dialog; change it in the settings file instead";
  }
  if (control->kind == ControlKind::CHECK_BOX && ParseCheck(edit.value) < 0) {
    return "'" + edit.key + "' is a check box: give 1 or 0 (or on/off, true/false, yes/no), not '" + edit.value + "'";
  }
  return "";
}

int HeadlessToolkit::RunOptions(OptionsDialog& dialog) {
  dialog.LoadControls();
  for (const ControlEdit& edit : edits_) {
    const ControlTemplate* control = FindControlForKey(OptionsDialogTemplate(), edit.key);
    if (!control || !control->enabled) continue;  // refused before the export started
    ControlState& state = dialog.Controls()[control->id];
    if (control->kind == ControlKind::CHECK_BOX) {
      state.checked = ParseCheck(edit.value) == 1 ? 1 : 0;
    } else {
      state.text = edit.value;
    }
  }
  if (pressCancel_) {
    cancelled_ = true;
    return IDCANCEL;
  }
  if (!dialog.SaveControls()) {
    // A value the command line did not set came from the settings file:
    // say where, so that the user can mend it there.
    const std::string& key = dialog.LastRefusedKey();
    const bool setHere = std::any_of(edits_.begin(), edits_.end(), [&key](const ControlEdit& e) { return e.key == key; });
    const std::string where = setHere ? "" : dialog.SettingsFileLineOf(key);
    err_ << "kvlexp: options refused: " << (where.empty() ? "" : text::EscapedForTerminal(where) + ": ")
         << text::EscapedForTerminal(dialog.LastError()) << "\n";
    refused_ = true;
    return IDCANCEL;
  }
  return IDOK;
}

int HeadlessToolkit::RunLog(LogDialog& dialog) {
  // The log quotes the scene's names, which may hold escape sequences or
  // line breaks: the terminal gets them escaped, the lines' own CR LF ends
  // as they are. The log file keeps the bytes.
  logOut_ << text::EscapedForTerminal(std::string_view(dialog.Text()).substr(0, LogDialog::MAX_TEXT), true);
  logOut_.flush();
  return IDOK;
}

}  // namespace kvl::ui
