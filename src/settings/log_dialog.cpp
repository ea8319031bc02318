#include "settings/log_dialog.h"

#include "settings/dialog_template.h"
#include "settings/dialog_toolkit.h"

namespace kvl {

namespace {
DialogToolkit* g_toolkit = nullptr;
}

DialogToolkit* CurrentDialogToolkit() { return g_toolkit; }
void SetDialogToolkit(DialogToolkit* toolkit) { g_toolkit = toolkit; }

int LogDialog::DoModal() {
  DialogToolkit* toolkit = CurrentDialogToolkit();
  return toolkit ? toolkit->RunLog(*this) : IDOK;
}

}  // namespace kvl
