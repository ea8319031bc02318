#include "settings/log_dialog.h"

#include "settings/dialog_template.h"
#include "host/dialog_toolkit.h"

namespace kvl {

int LogDialog::DoModal() {
  DialogToolkit* toolkit = CurrentDialogToolkit();
  return toolkit ? toolkit->RunLog(*this) : IDOK;
}

}  // namespace kvl
