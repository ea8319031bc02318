// The dialogs on real windows, with FLTK. Each dialog is laid out from its
// template and runs modally until OK (accepted by the exchange), Cancel, or
// the window is closed.
#pragma once

#include <functional>
#include <map>

#include "dialogs/dialog_toolkit.h"

class Fl_Double_Window;
class Fl_Widget;

namespace kvl::ui {

// A dialog while it is on screen: its window and its controls by id.
struct FltkDialogView {
  Fl_Double_Window* window = nullptr;
  std::map<int, Fl_Widget*> controls;

  Fl_Widget* Control(int id) const;
};

// Runs once a dialog's window is shown, from inside its event loop; lets a
// program drive the dialog without a person at the screen.
using DialogShownHook = std::function<void(FltkDialogView&)>;

class FltkToolkit : public DialogToolkit {
 public:
  // OpenDisplay must have succeeded before a dialog runs.
  int RunOptions(OptionsDialog& dialog) override;
  int RunLog(LogDialog& dialog) override;

  void SetOptionsShownHook(DialogShownHook hook) { optionsShown_ = std::move(hook); }
  void SetLogShownHook(DialogShownHook hook) { logShown_ = std::move(hook); }

 private:
  DialogShownHook optionsShown_;
  DialogShownHook logShown_;
};

}  // namespace kvl::ui
