// Whether the dialogs can be shown on a window at all.
#pragma once

#include <string>

namespace kvl::ui {

// Opens the X display named by DISPLAY for the dialogs (once; later calls
// find it open). Empty on success; else why it cannot be opened.
std::string OpenDisplay();

}  // namespace kvl::ui
