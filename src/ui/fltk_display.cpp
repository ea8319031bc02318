#include "ui/fltk_display.h"

#include <FL/x.H>

#include <cstdlib>

namespace kvl::ui {

std::string OpenDisplay() {
  if (fl_display) return "";
  // Opened here rather than by FLTK, which ends the process when it cannot
  // open the display; the program must say why and fail on its own. The
  // connection is handed over, not closed and reopened: a server whose last
  // client leaves resets, and would refuse the next one for a moment.
  const char* name = std::getenv("DISPLAY");
  if (!name || !*name) return "DISPLAY is not set";
  Display* display = XOpenDisplay(name);
  if (!display) return std::string("the display '") + name + "' cannot be opened";
  fl_open_display(display);
  return "";
}

}  // namespace kvl::ui
