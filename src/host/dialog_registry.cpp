#include "host/dialog_registry.h"

namespace kvl {
namespace {
DialogToolkit* g_toolkit = nullptr;
}

DialogToolkit* CurrentDialogToolkit() { return g_toolkit; }
void SetDialogToolkit(DialogToolkit* toolkit) { g_toolkit = toolkit; }

}  // namespace kvl
