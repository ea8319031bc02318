// Shows each dialog, the options with sample settings and the log with the
// text of a log file, and has xwd take a picture of its window (with the
// window manager's frame, if one runs) into the folder given.
// make_screenshots.sh turns the pictures into PNG.
#include <FL/Fl.H>
#include <FL/Fl_Double_Window.H>
#include <FL/x.H>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <iostream>
#include <string>

#include "dialogs/dialog_template.h"
#include "settings/export_settings.h"
#include "dialogs/log_dialog.h"
#include "dialogs/options_dialog.h"
#include "ui/fltk_display.h"
#include "ui/fltk_toolkit.h"

namespace {

bool g_failed = false;

// The outermost window around `window`: the window manager's frame if one
// has taken it in, else the window itself.
Window OutermostWindow(Window window) {
  for (;;) {
    Window root = 0, parent = 0;
    Window* children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(fl_display, window, &root, &parent, &children, &count)) return window;
    if (children) XFree(children);
    if (parent == 0 || parent == root) return window;
    window = parent;
  }
}

// Lets the window manager frame the window and the window draw itself,
// then photographs it and closes the dialog.
kvl::ui::DialogShownHook Photograph(const std::string& file) {
  return [file](kvl::ui::FltkDialogView& view) {
    for (int i = 0; i < 20; ++i) Fl::wait(0.05);
    Fl::flush();
    char id[32];
    std::snprintf(id, sizeof id, "0x%lx", static_cast<unsigned long>(OutermostWindow(fl_xid(view.window))));
    const std::string command = "xwd -silent -id " + std::string(id) + " -out '" + file + "'";
    if (std::system(command.c_str()) != 0) {
      std::cerr << "kvl_dialog_screenshots: " << command << " failed\n";
      g_failed = true;
    }
    view.window->do_callback();
  };
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: kvl_dialog_screenshots FOLDER LOGFILE\n";
    return 2;
  }
  std::ifstream logFile(argv[2], std::ios::binary);
  if (!logFile) {
    std::cerr << "kvl_dialog_screenshots: " << argv[2] << ": cannot be read\n";
    return 1;
  }
  const std::string logText((std::istreambuf_iterator<char>(logFile)), std::istreambuf_iterator<char>());
  const std::string why = kvl::ui::OpenDisplay();
  if (!why.empty()) {
    std::cerr << "kvl_dialog_screenshots: " << why << "\n";
    return 1;
  }
  const std::string folder = argv[1];
  kvl::ui::FltkToolkit toolkit;

  kvl::ExportSettings settings;
  settings.iniPath = "c:\\3dsmax5\\kvlexp.ini";
  settings.enableadaptivesampling = true;
  kvl::OptionsDialog options(settings, nullptr);
  toolkit.SetOptionsShownHook(Photograph(folder + "/options-dialog.xwd"));
  toolkit.RunOptions(options);

  kvl::LogDialog log(logText, nullptr);
  toolkit.SetLogShownHook(Photograph(folder + "/log-dialog.xwd"));
  toolkit.RunLog(log);
  return g_failed ? 1 : 0;
}
