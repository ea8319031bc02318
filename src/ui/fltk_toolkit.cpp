#include "ui/fltk_toolkit.h"

#include <FL/Fl.H>
#include <FL/Fl_Box.H>
#include <FL/Fl_Button.H>
#include <FL/Fl_Check_Button.H>
#include <FL/Fl_Double_Window.H>
#include <FL/Fl_Input.H>
#include <FL/Fl_Return_Button.H>
#include <FL/Fl_Text_Buffer.H>
#include <FL/Fl_Text_Display.H>
#include <FL/fl_ask.H>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

#include "dialogs/dialog_template.h"
#include "dialogs/log_dialog.h"
#include "dialogs/options_dialog.h"
#include "ui/fltk_layout.h"

namespace kvl::ui {
namespace {

// '@' starts a symbol in an FLTK label; doubled, it stands for itself. The
// location text holds a path, which may contain one.
std::string LabelText(std::string_view text) {
  std::string label;
  for (char c : text) {
    label += c;
    if (c == '@') label += '@';
  }
  return label;
}

// The log joins its lines with CR LF; the text display wants bare LF.
std::string WithoutCarriageReturns(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    out += text[i];
  }
  return out;
}

Fl_Widget* MakeControl(const ControlTemplate& c, const PixelRect& r) {
  Fl_Widget* widget = nullptr;
  switch (c.kind) {
    case ControlKind::DEFAULT_BUTTON:
      widget = new Fl_Return_Button(r.x, r.y, r.w, r.h);
      break;
    case ControlKind::BUTTON:
      widget = new Fl_Button(r.x, r.y, r.w, r.h);
      break;
    case ControlKind::CHECK_BOX:
      widget = new Fl_Check_Button(r.x, r.y, r.w, r.h);
      break;
    case ControlKind::LABEL:
    case ControlKind::SUNKEN_LABEL: {
      auto* box = new Fl_Box(c.kind == ControlKind::SUNKEN_LABEL ? FL_THIN_DOWN_BOX : FL_NO_BOX, r.x, r.y, r.w, r.h,
                             nullptr);
      box->align(FL_ALIGN_INSIDE | FL_ALIGN_LEFT | FL_ALIGN_TOP | FL_ALIGN_WRAP);
      widget = box;
      break;
    }
    case ControlKind::EDIT_BOX: {
      auto* input = new Fl_Input(r.x, r.y, r.w, r.h);
      input->textsize(DIALOG_FONT_SIZE);
      widget = input;
      break;
    }
    case ControlKind::LOG_TEXT: {
      auto* display = new Fl_Text_Display(r.x, r.y, r.w, r.h);
      display->textsize(DIALOG_FONT_SIZE);
      display->textfont(FL_COURIER);
      widget = display;
      break;
    }
  }
  widget->labelsize(DIALOG_FONT_SIZE);
  if (!c.text.empty()) widget->copy_label(LabelText(c.text).c_str());
  // Disabled by the template, for the dialog's whole life.
  if (!c.enabled) widget->deactivate();
  return widget;
}

// Builds the window of `dialog` with every control in template order, which
// FLTK's focus navigation follows: the tab order is the template's.
std::unique_ptr<Fl_Double_Window> BuildWindow(const DialogTemplate& dialog, FltkDialogView& view) {
  const DialogBaseUnits units = MeasureDialogFont();
  auto window = std::make_unique<Fl_Double_Window>(DialogUnitsToPixelsX(dialog.width, units),
                                                   DialogUnitsToPixelsY(dialog.height, units));
  window->copy_label(std::string(dialog.title).c_str());
  for (const ControlTemplate& c : dialog.controls) {
    Fl_Widget* widget = MakeControl(c, DialogRectToPixels(c.x, c.y, c.width, c.height, units));
    view.controls[c.id] = widget;
  }
  window->end();
  window->set_modal();
  view.window = window.get();
  return window;
}

// One modal run of a dialog: its view, its end code, the hook to call.
struct ModalRun {
  FltkDialogView view;
  const DialogShownHook* hook = nullptr;
  OptionsDialog* options = nullptr;
  int endCode = IDCANCEL;
  bool ended = false;

  void End(int code) {
    endCode = code;
    ended = true;
    view.window->hide();
  }
};

void CallShownHook(void* data) {
  auto* run = static_cast<ModalRun*>(data);
  if (!run->ended && *run->hook) (*run->hook)(run->view);
}

int RunModal(ModalRun& run) {
  run.view.window->show();
  if (run.hook && *run.hook) Fl::add_timeout(0.0, CallShownHook, &run);
  while (!run.ended && run.view.window->shown()) Fl::wait();
  Fl::remove_timeout(CallShownHook, &run);
  run.view.window->hide();
  Fl::flush();
  return run.endCode;
}

// Closing the window, Escape and Cancel end the dialog without an exchange.
void OnCancel(Fl_Widget*, void* data) { static_cast<ModalRun*>(data)->End(IDCANCEL); }

// OK reads every control back through the exchange; a refused value keeps
// the dialog open with the reason, so the user can correct it or cancel.
void OnOptionsOk(Fl_Widget*, void* data) {
  auto* run = static_cast<ModalRun*>(data);
  ControlStates& states = run->options->Controls();
  for (const ControlTemplate& c : OptionsDialogTemplate().controls) {
    Fl_Widget* widget = run->view.Control(c.id);
    if (c.kind == ControlKind::CHECK_BOX) {
      states[c.id].checked = static_cast<Fl_Check_Button*>(widget)->value() ? 1 : 0;
    } else if (c.kind == ControlKind::EDIT_BOX) {
      states[c.id].text = static_cast<Fl_Input*>(widget)->value();
    }
  }
  if (!run->options->SaveControls()) {
    fl_message_title(std::string(OptionsDialogTemplate().title).c_str());
    fl_alert("%s", run->options->LastError().c_str());
    return;
  }
  run->End(IDOK);
}

void OnLogClose(Fl_Widget*, void* data) { static_cast<ModalRun*>(data)->End(IDOK); }

}  // namespace

Fl_Widget* FltkDialogView::Control(int id) const {
  const auto found = controls.find(id);
  return found == controls.end() ? nullptr : found->second;
}

int FltkToolkit::RunOptions(OptionsDialog& dialog) {
  ModalRun run;
  run.hook = &optionsShown_;
  run.options = &dialog;
  std::unique_ptr<Fl_Double_Window> window = BuildWindow(OptionsDialogTemplate(), run.view);

  dialog.LoadControls();
  for (const ControlTemplate& c : OptionsDialogTemplate().controls) {
    Fl_Widget* widget = run.view.Control(c.id);
    const ControlState& state = dialog.Controls()[c.id];
    if (c.kind == ControlKind::CHECK_BOX) {
      static_cast<Fl_Check_Button*>(widget)->value(state.checked ? 1 : 0);
    } else if (c.kind == ControlKind::EDIT_BOX) {
      static_cast<Fl_Input*>(widget)->value(state.text.c_str());
    }
  }
  run.view.Control(IDC_LOCATION_TEXT)->copy_label(LabelText(dialog.LocationText()).c_str());
  run.view.Control(IDC_BUILD_TEXT)->copy_label(LabelText(dialog.BuildText()).c_str());

  run.view.Control(IDOK)->callback(OnOptionsOk, &run);
  run.view.Control(IDCANCEL)->callback(OnCancel, &run);
  window->callback(OnCancel, &run);
  return RunModal(run);
}

int FltkToolkit::RunLog(LogDialog& dialog) {
  ModalRun run;
  run.hook = &logShown_;
  std::unique_ptr<Fl_Double_Window> window = BuildWindow(LogDialogTemplate(), run.view);

  // The buffer must outlive the display, which is destroyed with the window.
  Fl_Text_Buffer buffer;
  const std::string_view text(dialog.Text().data(), std::min(dialog.Text().size(), LogDialog::MAX_TEXT));
  buffer.text(WithoutCarriageReturns(text).c_str());
  auto* display = static_cast<Fl_Text_Display*>(run.view.Control(IDC_LOG_TEXT));
  display->buffer(&buffer);

  run.view.Control(IDOK)->callback(OnLogClose, &run);
  window->callback(OnLogClose, &run);
  const int code = RunModal(run);
  display->buffer(nullptr);
  window.reset();
  return code;
}

}  // namespace kvl::ui
