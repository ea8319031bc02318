// Everything the host installs around one call into the plug-in: its core
// interface over the scene, drive C, the message box, the dialog toolkit;
// taken away again when the session ends.
#pragma once

#include <ostream>

#include "cli/export_command.h"
#include "cli/progress_bar.h"
#include "dialogs/dialog_toolkit.h"
#include "dialogs/log_dialog.h"
#include "dialogs/options_dialog.h"
#include "host/host_files.h"
#include "host/memory_scene.h"
#include "host/message_box.h"
#include "platform/text_escapes.h"
#include "ui/headless_toolkit.h"

namespace kvl::cli {

// Hands the dialogs on to the toolkit that shows them, and notes how the
// options dialog ended: Cancel leaves no output file, and that is no failure.
class EndCodeRecorder : public DialogToolkit {
 public:
  explicit EndCodeRecorder(DialogToolkit& shown) : shown_(shown) {}
  void Enter() override { shown_.Enter(); }
  void Leave() override { shown_.Leave(); }
  int RunOptions(OptionsDialog& dialog) override { return optionsEnd_ = shown_.RunOptions(dialog); }
  int RunLog(LogDialog& dialog) override { return shown_.RunLog(dialog); }
  bool OptionsCancelled() const { return optionsEnd_ == IDCANCEL; }

 private:
  DialogToolkit& shown_;
  int optionsEnd_ = 0;
};

class HostSession {
 public:
  HostSession(const ExportRequest& request, host::MemoryScene& scene, std::ostream& out, std::ostream& err)
      : progress_(err),
        core_(scene, request.showProgress ? &progress_ : nullptr),
        toolkit_(request.edits, request.cancel, out, err),
        recorder_(request.dialogs ? *request.dialogs : static_cast<DialogToolkit&>(toolkit_)),
        heldStill_(scene) {
    // The scene was loaded for this export alone: its meshes may go as soon
    // as they are translated.
    host::HandOverMeshes(scene);
    host::SetCOREInterface(&core_);
    host::SetDriveFolder('c', request.driveFolder);
    host::ForgetHostFilesRead();
    host::SetMessageBoxHandler([&err](const std::string& text, const std::string& caption) {
      err << "kvlexp: " << text::EscapedForTerminal(caption) << ": " << text::EscapedForTerminal(text) << "\n";
    });
    SetDialogToolkit(&recorder_);
  }
  ~HostSession() {
    SetDialogToolkit(nullptr);
    host::SetMessageBoxHandler(nullptr);
    host::SetDriveFolder('c', "");
    host::SetCOREInterface(nullptr);
  }
  host::Interface& Core() { return core_; }
  const ui::HeadlessToolkit& Toolkit() const { return toolkit_; }
  bool OptionsCancelled() const { return recorder_.OptionsCancelled(); }

 private:
  TerminalProgress progress_;
  host::MemoryInterface core_;
  ui::HeadlessToolkit toolkit_;
  EndCodeRecorder recorder_;
  host::HeldStill heldStill_;
};

}  // namespace kvl::cli
