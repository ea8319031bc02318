// The command line's dialogs: no window. The options dialog takes the
// user's edits as typed text into its controls and then presses OK (or
// Cancel); the log dialog prints the log.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "dialogs/dialog_toolkit.h"

namespace kvl::ui {

struct ControlEdit {
  std::string key;    // the setting the control is bound to
  std::string value;  // as typed; for a check box 1/0, on/off, true/false, yes/no
};

// Why the edit cannot be made in the options dialog, or empty if it can.
std::string CheckControlEdit(const ControlEdit& edit);

class HeadlessToolkit : public DialogToolkit {
 public:
  HeadlessToolkit(std::vector<ControlEdit> edits, bool pressCancel, std::ostream& logOut, std::ostream& err)
      : edits_(std::move(edits)), pressCancel_(pressCancel), logOut_(logOut), err_(err) {}

  int RunOptions(OptionsDialog& dialog) override;
  int RunLog(LogDialog& dialog) override;

  // OK was pressed and refused by a check; there is no one to correct the
  // value, so the dialog ended as Cancel.
  bool Refused() const { return refused_; }
  bool Cancelled() const { return cancelled_; }

 private:
  std::vector<ControlEdit> edits_;
  bool pressCancel_;
  std::ostream& logOut_;
  std::ostream& err_;
  bool refused_ = false;
  bool cancelled_ = false;
};

}  // namespace kvl::ui
