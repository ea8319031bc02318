// The dialogs on real windows, driven by injected mouse clicks and
// keystrokes: what they show, what OK and Cancel do, which controls refuse
// input, the tab order, and the log dialog's text.
// Google Test first: the X headers under FLTK define None and Bool.
#include <gtest/gtest.h>

#include <FL/Fl.H>
#include <FL/Fl_Check_Button.H>
#include <FL/Fl_Double_Window.H>
#include <FL/Fl_Input.H>
#include <FL/Fl_Text_Buffer.H>
#include <FL/Fl_Text_Display.H>
#include <FL/fl_draw.H>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "event_injection.h"
#include "dialogs/dialog_template.h"
#include "settings/export_settings.h"
#include "dialogs/log_dialog.h"
#include "dialogs/options_dialog.h"
#include "ui/fltk_display.h"
#include "ui/fltk_layout.h"
#include "ui/fltk_toolkit.h"

namespace kvl::ui {
namespace {

using testing::Click;
using testing::FindLabel;
using testing::ModalWindow;
using testing::PressKey;
using testing::Script;
using testing::TypeInto;

constexpr int IDC_EXPORTHIDDEN = 1000;
constexpr int IDC_SCALE = 1006;
constexpr int IDC_SAMPLERATE = 1007;
constexpr int IDC_THRESHOLD = 1008;

class FltkDialogsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string why = OpenDisplay();
    ASSERT_TRUE(why.empty()) << why << " (run these tests through with_xvfb.sh)";
  }

  // Runs the options dialog for `settings` with `steps` played into it once
  // it is shown; the view is valid while the steps run.
  int RunOptions(ExportSettings& settings, std::vector<std::function<void()>> steps, bool store = true) {
    Script script(std::move(steps));
    FltkToolkit toolkit;
    toolkit.SetOptionsShownHook([&](FltkDialogView& shown) {
      view_ = shown;
      script.Start();
    });
    OptionsDialog dialog(settings, nullptr);
    const int code = toolkit.RunOptions(dialog);
    EXPECT_TRUE(script.Finished());
    EXPECT_FALSE(script.TimedOut()) << "the dialog was still open after its steps";
    if (store && code == IDOK) dialog.StoreSettings(settings);
    return code;
  }

  Fl_Widget* Control(int id) { return view_.Control(id); }

  FltkDialogView view_;
};

TEST_F(FltkDialogsTest, TypedValuesAndClickedBoxesReachTheSettingsOnOk) {
  ExportSettings settings;
  settings.iniPath = "c:\\scenes\\kvlexp.ini";
  ASSERT_EQ(settings.samplerate, 1);
  ASSERT_FALSE(settings.exporthidden);
  bool shownRight = false;
  const int code = RunOptions(settings, {
      [&] {
        // What the dialog shows for the settings, before anything is typed.
        shownRight = std::string(view_.window->label()) == "KVLExp Options" &&
                     std::string(static_cast<Fl_Input*>(Control(IDC_SAMPLERATE))->value()) == "1" &&
                     std::string(static_cast<Fl_Input*>(Control(IDC_THRESHOLD))->value()) == "10" &&
                     std::string(Control(IDC_LOCATION_TEXT)->label()) ==
                         "Ini file location: c:\\scenes\\kvlexp.ini" &&
                     std::string(Control(IDC_BUILD_TEXT)->label()).rfind("KVLExp build ", 0) == 0;
        // One small font throughout, as the template's dialog font: every
        // label and the text typed into the edit boxes alike.
        const int textSize = static_cast<Fl_Input*>(Control(IDC_SCALE))->textsize();
        for (int i = 0; i < view_.window->children(); ++i) {
          shownRight = shownRight && view_.window->child(i)->labelsize() == textSize && textSize < FL_NORMAL_SIZE;
        }
      },
      [&] { TypeInto(Control(IDC_SAMPLERATE), "5"); },
      [&] { TypeInto(Control(IDC_THRESHOLD), "250"); },
      [&] { Click(Control(IDC_EXPORTHIDDEN)); },
      [&] { Click(Control(IDOK)); },
  });
  EXPECT_TRUE(shownRight);
  EXPECT_EQ(code, IDOK);
  EXPECT_EQ(settings.samplerate, 5);
  EXPECT_EQ(settings.threshold, 250);
  EXPECT_TRUE(settings.exporthidden);
  EXPECT_EQ(settings.scale, 1.0f);  // untouched values come back as they were
  EXPECT_EQ(settings.iniPath, "c:\\scenes\\kvlexp.ini");
}

TEST_F(FltkDialogsTest, ReturnKeyPressesOk) {
  ExportSettings settings;
  const int code = RunOptions(settings, {
      [&] { TypeInto(Control(IDC_SCALE), "2.5"); },
      [&] { PressKey(FL_Enter, "\r"); },
  });
  EXPECT_EQ(code, IDOK);
  EXPECT_EQ(settings.scale, 2.5f);
}

TEST_F(FltkDialogsTest, ZeroScaleIsRefusedWithAMessageAndTheDialogStaysOpen) {
  ExportSettings settings;
  bool messageShown = false, dialogStillOpen = false, messageClosed = false;
  const int code = RunOptions(settings, {
      [&] { TypeInto(Control(IDC_SCALE), "0"); },
      [&] { Click(Control(IDOK)); },  // stays in the message box until a later step closes it
      [&] {
        Fl_Window* box = ModalWindow();
        messageShown = box && box != view_.window && FindLabel(box, "Export scale") != nullptr;
        dialogStillOpen = view_.window->shown();
        if (box && box != view_.window) PressKey(FL_Enter, "\r");
      },
      [&] {
        messageClosed = ModalWindow() == view_.window;
        Click(Control(IDCANCEL));
      },
  });
  EXPECT_TRUE(messageShown);
  EXPECT_TRUE(dialogStillOpen);
  EXPECT_TRUE(messageClosed);
  EXPECT_EQ(code, IDCANCEL);
}

TEST_F(FltkDialogsTest, RefusedValueCanBeCorrectedAndOkPressedAgain) {
  ExportSettings settings;
  const int code = RunOptions(settings, {
      [&] { TypeInto(Control(IDC_SAMPLERATE), "0"); },
      [&] { Click(Control(IDOK)); },
      [&] {
        Fl_Window* box = ModalWindow();
        if (box && box != view_.window) PressKey(FL_Enter, "\r");
      },
      [&] { TypeInto(Control(IDC_SAMPLERATE), "3"); },
      [&] { Click(Control(IDOK)); },
  });
  EXPECT_EQ(code, IDOK);
  EXPECT_EQ(settings.samplerate, 3);
}

TEST_F(FltkDialogsTest, CancelAndClosingTheWindowChangeNothing) {
  ExportSettings settings;
  EXPECT_EQ(RunOptions(settings, {[&] { TypeInto(Control(IDC_SAMPLERATE), "7"); },
                                  [&] { Click(Control(IDCANCEL)); }}),
            IDCANCEL);
  EXPECT_EQ(RunOptions(settings, {[&] { TypeInto(Control(IDC_SAMPLERATE), "8"); },
                                  [&] { PressKey(FL_Escape, "\033"); }}),
            IDCANCEL);
  EXPECT_EQ(settings.samplerate, 1);
}

TEST_F(FltkDialogsTest, TheTenDisabledControlsTakeNoInput) {
  ExportSettings settings;
  settings.enableadaptivesampling = true;
  settings.exportlights = false;
  const std::vector<int> disabled = {1001, 1005, 1022, 1023, 1011, 1015, 1016, 1017, 1025, 1026};
  std::vector<int> inactive;
  bool adaptiveShownChecked = false;
  const int code = RunOptions(settings, {
      [&] {
        for (const ControlTemplate& c : OptionsDialogTemplate().controls) {
          if (!Control(c.id)->active()) inactive.push_back(c.id);
        }
        adaptiveShownChecked = static_cast<Fl_Check_Button*>(Control(1023))->value() == 1;
      },
      [&] { Click(Control(1023)); },  // would uncheck it, were it enabled
      [&] { Click(Control(1001)); },  // would check it
      [&] { TypeInto(Control(1015), "5"); },
      [&] { Click(Control(IDOK)); },
  });
  std::sort(inactive.begin(), inactive.end());
  std::vector<int> expected = disabled;
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(inactive, expected);
  EXPECT_TRUE(adaptiveShownChecked);
  EXPECT_EQ(code, IDOK);
  EXPECT_TRUE(settings.enableadaptivesampling);
  EXPECT_FALSE(settings.exportlights);
  EXPECT_EQ(settings.postolerance, 0.0f);
}

TEST_F(FltkDialogsTest, TabVisitsTheEnabledControlsInTemplateOrder) {
  ExportSettings settings;
  std::vector<Fl_Widget*> visited;
  std::vector<std::function<void()>> steps = {[&] {
    Control(IDOK)->take_focus();
    visited.push_back(Fl::focus());
    for (int i = 0; i < 12; ++i) {
      PressKey(FL_Tab, "\t");
      visited.push_back(Fl::focus());
    }
    PressKey(FL_Escape, "\033");
  }};
  RunOptions(settings, steps, false);
  // Enabled controls that take the focus, in the order the template lists them.
  const std::vector<int> order = {1, 2, 1000, 1003, 1004, 1006, 1007, 1008, 1014, 1019, 1020, 1021, 1};
  ASSERT_EQ(visited.size(), order.size());
  for (size_t i = 0; i < order.size(); ++i) {
    EXPECT_EQ(visited[i], view_.Control(order[i])) << "tab stop " << i << " should be control " << order[i];
  }
}

TEST_F(FltkDialogsTest, LogDialogShowsTheLogAndCloses) {
  LogDialog dialog("Exporting scene\r\nWarning: no camera\r\n", nullptr);
  FltkToolkit toolkit;
  FltkDialogView view;
  std::string shown, title, label;
  Script script({
      [&] {
        auto* display = static_cast<Fl_Text_Display*>(view.Control(IDC_LOG_TEXT));
        char* text = display->buffer()->text();
        shown = text;
        free(text);
        title = view.window->label();
        label = view.Control(1009)->label();
      },
      [&] { Click(view.Control(IDOK)); },
  });
  toolkit.SetLogShownHook([&](FltkDialogView& v) {
    view = v;
    script.Start();
  });
  EXPECT_EQ(toolkit.RunLog(dialog), IDOK);
  EXPECT_TRUE(script.Finished());
  EXPECT_FALSE(script.TimedOut());
  EXPECT_EQ(shown, "Exporting scene\nWarning: no camera\n");
  EXPECT_EQ(title, "Dialog");
  EXPECT_EQ(label, "Exporter log dump");
}

TEST_F(FltkDialogsTest, LogDialogShowsOnlyTheStartOfAnOverlongLog) {
  LogDialog dialog(std::string(LogDialog::MAX_TEXT, 'a') + "TAIL", nullptr);
  FltkToolkit toolkit;
  FltkDialogView view;
  int length = -1;
  char last = 0;
  Script script({[&] {
    Fl_Text_Buffer* buffer = static_cast<Fl_Text_Display*>(view.Control(IDC_LOG_TEXT))->buffer();
    length = buffer->length();
    last = buffer->char_at(length - 1);
    view.window->do_callback();  // the window's close box
  }});
  toolkit.SetLogShownHook([&](FltkDialogView& v) {
    view = v;
    script.Start();
  });
  toolkit.RunLog(dialog);
  EXPECT_FALSE(script.TimedOut());
  EXPECT_EQ(length, static_cast<int>(LogDialog::MAX_TEXT));
  EXPECT_EQ(last, 'a');
}

TEST_F(FltkDialogsTest, EveryTemplateTextFitsItsControlOnOneLine) {
  const DialogBaseUnits units = MeasureDialogFont();
  EXPECT_EQ(units.y, 13);  // the dialog font's line, as tall as the template font's
  EXPECT_GE(units.x, 6);
  fl_font(FL_HELVETICA, DIALOG_FONT_SIZE);
  for (const DialogTemplate* dialog : {&OptionsDialogTemplate(), &LogDialogTemplate()}) {
    for (const ControlTemplate& c : dialog->controls) {
      if (c.kind != ControlKind::LABEL && c.kind != ControlKind::CHECK_BOX) continue;
      const PixelRect r = DialogRectToPixels(c.x, c.y, c.width, c.height, units);
      EXPECT_LE(fl_width(std::string(c.text).c_str()) + TextMargin(c.kind), r.w) << c.text;
      EXPECT_GE(r.h, fl_height()) << c.text;
    }
  }
}

TEST(DialogUnitsTest, TemplateFontGivesTheKnownPixelSizes) {
  // MS Sans Serif 8 at 96 dpi: 6 by 13 pixels to the character, so a dialog
  // unit is 1.5 pixels across and 1.625 down.
  EXPECT_EQ(DialogUnitsToPixelsX(308, TEMPLATE_FONT_UNITS), 462);
  EXPECT_EQ(DialogUnitsToPixelsY(174, TEMPLATE_FONT_UNITS), 283);  // 282.75
  EXPECT_EQ(DialogUnitsToPixelsX(7, TEMPLATE_FONT_UNITS), 11);     // 10.5 rounds up
  const PixelRect ok = DialogRectToPixels(147, 153, 50, 14, TEMPLATE_FONT_UNITS);
  EXPECT_EQ(ok.x, 221);  // 220.5
  EXPECT_EQ(ok.y, 249);  // 248.625
  EXPECT_EQ(ok.w, 75);   // right edge 296 less 221
  EXPECT_EQ(ok.h, 22);   // bottom edge 271.375 -> 271, less 249
}

}  // namespace
}  // namespace kvl::ui
