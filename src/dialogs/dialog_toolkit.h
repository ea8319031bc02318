// The dialogs know no toolkit: the program installs one (see
// host/dialog_registry.h), and DoModal hands the dialog model to it. The
// toolkit is entered for the length of an export (the plug-in's module state
// and application object map onto that).
#pragma once

#include "host/dialog_registry.h"

namespace kvl {

class OptionsDialog;
class LogDialog;

class DialogToolkit {
 public:
  virtual ~DialogToolkit() = default;
  virtual void Enter() {}
  virtual void Leave() {}
  // Runs the dialog modally; returns the end code (IDOK, IDCANCEL).
  virtual int RunOptions(OptionsDialog& dialog) = 0;
  virtual int RunLog(LogDialog& dialog) = 0;
};

// Holds the toolkit entered for its lifetime.
class DialogToolkitScope {
 public:
  DialogToolkitScope() : toolkit_(CurrentDialogToolkit()) {
    if (toolkit_) toolkit_->Enter();
  }
  ~DialogToolkitScope() {
    if (toolkit_) toolkit_->Leave();
  }
  DialogToolkitScope(const DialogToolkitScope&) = delete;
  DialogToolkitScope& operator=(const DialogToolkitScope&) = delete;

 private:
  DialogToolkit* toolkit_;
};

}  // namespace kvl
