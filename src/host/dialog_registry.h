// Where the program keeps the dialog toolkit it installed, so that a plug-in
// loaded at run time finds the same one: the registry lives in the host's
// shared library, as a window system lives outside every plug-in. The host
// holds the toolkit without knowing what it is.
#pragma once

namespace kvl {

class DialogToolkit;

// The toolkit that dialogs run on; null means dialogs end with Cancel at once.
DialogToolkit* CurrentDialogToolkit();
void SetDialogToolkit(DialogToolkit* toolkit);

}  // namespace kvl
