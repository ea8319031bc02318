#include "dialogs/log_dialog.h"

#include "dialogs/dialog_template.h"
#include "dialogs/dialog_toolkit.h"

namespace kvl {

int LogDialog::DoModal() {
  DialogToolkit* toolkit = CurrentDialogToolkit();
  return toolkit ? toolkit->RunLog(*this) : IDOK;
}

}  // namespace kvl
