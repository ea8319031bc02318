// The platform's modal message box. The host decides how it is shown: the
// command line prints it on standard error.
#pragma once

#include <functional>
#include <string>

#include "host/plugin_bases.h"

namespace kvl::host {

using MessageBoxHandler = std::function<void(const std::string& text, const std::string& caption)>;

// Installs what MessageBoxA shows; none installed means nothing is shown.
void SetMessageBoxHandler(MessageBoxHandler handler);

// Shows `text` under `caption` with a single OK button and returns once it
// is closed (1, the OK button).
int MessageBoxA(HWND owner, const char* text, const char* caption, unsigned int style);

}  // namespace kvl::host
