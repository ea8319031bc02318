// The options dialog: its template, what it shows for the settings it is
// given, which values OK refuses, and what reaches the settings after OK.
// The dialog runs either directly (LoadControls/SaveControls, as a toolkit
// does) or on the headless toolkit of the command line.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "settings/config_store.h"
#include "settings/dialog_template.h"
#include "settings/export_settings.h"
#include "settings/log_dialog.h"
#include "settings/options_dialog.h"
#include "temp_folder.h"
#include "ui/headless_toolkit.h"

namespace kvl {
namespace {

using kvl::testing::TempFolder;

constexpr int IDC_SAMPLERATE = 1007;
constexpr int IDC_SCALE = 1006;
constexpr int IDC_THRESHOLD = 1008;
constexpr int IDC_EXPORTHIDDEN = 1000;
constexpr int IDC_ADAPTIVE = 1023;
constexpr int IDC_POSTOLERANCE = 1015;
constexpr int IDC_ROTTOLERANCE = 1017;
constexpr int IDC_SCALETOLERANCE = 1026;

const float kSmallestScale = std::bit_cast<float>(uint32_t{0x2EDBE6FF});
const float kLargestValue = std::bit_cast<float>(uint32_t{0x501502F9});

// Nine significant digits name a float exactly.
std::string FloatText(float value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.9g", static_cast<double>(value));
  return text;
}

// Opens the dialog for `settings`, types `text` into control `id` and
// presses OK; true if OK was accepted.
bool AcceptsTyped(const ExportSettings& settings, int id, const std::string& text) {
  OptionsDialog dialog(settings, nullptr);
  dialog.LoadControls();
  dialog.Controls()[id].text = text;
  return dialog.SaveControls();
}

bool AcceptsAsLoaded(const ExportSettings& settings) {
  OptionsDialog dialog(settings, nullptr);
  dialog.LoadControls();
  return dialog.SaveControls();
}

TEST(OptionsDialogTemplate, TitleSizeAndControlsInTabOrder) {
  const DialogTemplate& t = OptionsDialogTemplate();
  EXPECT_EQ(t.resourceId, 101);
  EXPECT_EQ(t.title, "KVLExp Options");
  EXPECT_EQ(t.width, 308);
  EXPECT_EQ(t.height, 174);
  const std::vector<int> order = {1,    2,    1000, 1001, 1003, 1004,  1005, 1009, 1006,
                                  1010, 1007, 65535, 1008, 1012, 1013, 1014, 1019, 1020,
                                  1021, 1022, 1023, 1011, 1015, 1016, 1017, 1025, 1026};
  ASSERT_EQ(t.controls.size(), 27u);
  std::set<int> disabled;
  for (size_t i = 0; i < t.controls.size(); ++i) {
    EXPECT_EQ(t.controls[i].id, order[i]) << "position " << i;
    if (!t.controls[i].enabled) disabled.insert(t.controls[i].id);
  }
  EXPECT_EQ(disabled, (std::set<int>{1001, 1005, 1022, 1023, 1011, 1015, 1016, 1017, 1025, 1026}));

  const ControlTemplate& ok = t.controls[0];
  EXPECT_EQ(ok.kind, ControlKind::DEFAULT_BUTTON);
  EXPECT_EQ(ok.text, "OK");
  EXPECT_EQ((std::vector<int>{ok.x, ok.y, ok.width, ok.height}), (std::vector<int>{147, 153, 50, 14}));
  EXPECT_EQ(t.controls[1].kind, ControlKind::BUTTON);
  EXPECT_EQ(t.controls[1].text, "Cancel");

  const ControlTemplate* log = FindControl(t, 1014);
  ASSERT_NE(log, nullptr);
  EXPECT_EQ(log->kind, ControlKind::CHECK_BOX);
  EXPECT_EQ(log->text, "Output log to c:\\kvlexp.log");
  EXPECT_EQ(log->key, "outputlog");
  const ControlTemplate* location = FindControl(t, IDC_LOCATION_TEXT);
  ASSERT_NE(location, nullptr);
  EXPECT_EQ(location->kind, ControlKind::SUNKEN_LABEL);
  EXPECT_EQ(location->text, "Ini file location:");
  EXPECT_EQ((std::vector<int>{location->x, location->y, location->width, location->height}),
            (std::vector<int>{145, 104, 156, 26}));

  // Each bound setting names its control.
  const std::vector<std::pair<const char*, int>> bindings = {
      {"exporthidden", 1000},  {"exportlights", 1001},     {"exportnodeattributes", 1003},
      {"optimize", 1004},      {"ignorespecial", 1005},    {"scale", 1006},
      {"samplerate", 1007},    {"threshold", 1008},        {"outputlog", 1014},
      {"displaylog", 1019},    {"removescaling", 1020},    {"exportanims", 1021},
      {"exportmorph", 1022},   {"enableadaptivesampling", 1023}, {"postolerance", 1015},
      {"rottolerance", 1017},  {"scaletolerance", 1026}};
  for (const auto& [key, id] : bindings) {
    const ControlTemplate* control = FindControlForKey(t, key);
    ASSERT_NE(control, nullptr) << key;
    EXPECT_EQ(control->id, id) << key;
  }
  EXPECT_EQ(FindControlForKey(t, "iniPath"), nullptr);
  EXPECT_EQ(FindControlForKey(t, "nosuchkey"), nullptr);
  EXPECT_EQ(FindControl(t, 4242), nullptr);
}

TEST(LogDialogTemplate, TitleAndControls) {
  const DialogTemplate& t = LogDialogTemplate();
  EXPECT_EQ(t.resourceId, 102);
  EXPECT_EQ(t.title, "Dialog");
  EXPECT_EQ(t.width, 339);
  EXPECT_EQ(t.height, 275);
  ASSERT_EQ(t.controls.size(), 3u);
  EXPECT_EQ(t.controls[0].id, 1);
  EXPECT_EQ(t.controls[0].text, "Close");
  EXPECT_EQ(t.controls[1].id, 1009);
  EXPECT_EQ(t.controls[1].text, "Exporter log dump");
  EXPECT_EQ(t.controls[2].id, IDC_LOG_TEXT);
  EXPECT_EQ(t.controls[2].kind, ControlKind::LOG_TEXT);
  EXPECT_EQ(LogDialog::MAX_TEXT, 1000000u);
}

TEST(OptionsDialog, ShowsTheSettingsAndTheTwoLabels) {
  ExportSettings settings;
  settings.iniPath = "c:\\3dsmax5\\kvlexp.ini";
  settings.exporthidden = true;
  settings.enableadaptivesampling = true;
  settings.samplerate = 3;
  OptionsDialog dialog(settings, nullptr);
  EXPECT_EQ(dialog.LocationText(), "Ini file location: c:\\3dsmax5\\kvlexp.ini");

  // "Jul  3 2003 12:49:13": the day is padded with a blank to two places.
  const std::regex buildForm(
      "KVLExp build (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) ( [1-9]|[12][0-9]|3[01]) "
      "[0-9]{4} ([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9]");
  EXPECT_TRUE(std::regex_match(dialog.BuildText(), buildForm)) << dialog.BuildText();
  EXPECT_EQ(MakeBuildText(), dialog.BuildText());
  EXPECT_EQ(dialog.BuildText().size(), std::string("KVLExp build Jul  3 2003 12:49:13").size());

  dialog.LoadControls();
  ControlStates& c = dialog.Controls();
  EXPECT_EQ(c[IDC_LOCATION_TEXT].text, "Ini file location: c:\\3dsmax5\\kvlexp.ini");
  EXPECT_EQ(c[IDC_BUILD_TEXT].text, dialog.BuildText());
  EXPECT_EQ(c[IDC_EXPORTHIDDEN].checked, 1);
  EXPECT_EQ(c[1001].checked, 0);  // exportlights
  EXPECT_EQ(c[1003].checked, 1);  // exportnodeattributes
  EXPECT_EQ(c[IDC_ADAPTIVE].checked, 1);
  EXPECT_EQ(c[IDC_SAMPLERATE].text, "3");
  EXPECT_EQ(c[IDC_THRESHOLD].text, "10");
}

TEST(OptionsDialog, StoreSettingsCopiesEveryValueButTheFilePath) {
  ExportSettings in;
  in.iniPath = "c:\\out\\kvlexp.ini";
  OptionsDialog dialog(in, nullptr);
  dialog.LoadControls();
  ControlStates& c = dialog.Controls();
  c[IDC_SAMPLERATE].text = "5";
  c[IDC_SCALE].text = "0.5";
  c[IDC_THRESHOLD].text = "0";
  c[IDC_EXPORTHIDDEN].checked = 1;
  c[1004].checked = 0;  // optimize
  c[1014].checked = 1;  // outputlog
  c[1019].checked = 0;  // displaylog
  ASSERT_TRUE(dialog.SaveControls()) << dialog.LastError();

  ExportSettings out;
  out.iniPath = "kept";
  dialog.StoreSettings(out);
  EXPECT_EQ(out.iniPath, "kept");
  EXPECT_EQ(out.samplerate, 5);
  EXPECT_EQ(out.scale, 0.5f);
  EXPECT_EQ(out.threshold, 0);
  EXPECT_TRUE(out.exporthidden);
  EXPECT_FALSE(out.optimize);
  EXPECT_TRUE(out.outputlog);
  EXPECT_FALSE(out.displaylog);
  // Untouched values pass through.
  EXPECT_TRUE(out.exportnodeattributes);
  EXPECT_TRUE(out.removescaling);
  EXPECT_TRUE(out.exportanims);
  EXPECT_TRUE(out.exportmorph);
  EXPECT_FALSE(out.enableadaptivesampling);
  EXPECT_EQ(out.postolerance, 0.0f);
}

TEST(OptionsDialog, SampleRateLimits) {
  ExportSettings settings;
  settings.samplerate = 0;
  OptionsDialog dialog(settings, nullptr);
  dialog.LoadControls();
  EXPECT_EQ(dialog.Controls()[IDC_SAMPLERATE].text, "0");
  EXPECT_FALSE(dialog.SaveControls());
  EXPECT_FALSE(dialog.LastError().empty());
  // The user corrects it and presses OK again.
  dialog.Controls()[IDC_SAMPLERATE].text = "1";
  EXPECT_TRUE(dialog.SaveControls()) << dialog.LastError();
  ExportSettings out;
  dialog.StoreSettings(out);
  EXPECT_EQ(out.samplerate, 1);

  ExportSettings defaults;
  EXPECT_TRUE(AcceptsTyped(defaults, IDC_SAMPLERATE, "999999999"));
  EXPECT_FALSE(AcceptsTyped(defaults, IDC_SAMPLERATE, "1000000000"));
  EXPECT_FALSE(AcceptsTyped(defaults, IDC_SAMPLERATE, "many"));
  EXPECT_FALSE(AcceptsTyped(defaults, IDC_SAMPLERATE, ""));
}

TEST(OptionsDialog, ScaleLimits) {
  ExportSettings zero;
  zero.scale = 0.0f;
  EXPECT_FALSE(AcceptsAsLoaded(zero));

  ExportSettings defaults;
  const float belowSmallest = std::nextafter(kSmallestScale, 0.0f);
  const float aboveLargest = std::nextafter(kLargestValue, INFINITY);
  EXPECT_EQ(std::bit_cast<uint32_t>(belowSmallest), 0x2EDBE6FEu);
  EXPECT_TRUE(AcceptsTyped(defaults, IDC_SCALE, "1e-10"));
  EXPECT_TRUE(AcceptsTyped(defaults, IDC_SCALE, FloatText(kSmallestScale)));
  EXPECT_FALSE(AcceptsTyped(defaults, IDC_SCALE, FloatText(belowSmallest)));
  EXPECT_TRUE(AcceptsTyped(defaults, IDC_SCALE, "1e10"));
  EXPECT_FALSE(AcceptsTyped(defaults, IDC_SCALE, FloatText(aboveLargest)));
  EXPECT_FALSE(AcceptsTyped(defaults, IDC_SCALE, "-1"));
  EXPECT_FALSE(AcceptsTyped(defaults, IDC_SCALE, "big"));

  // The limit itself passes through the dialog unchanged.
  ExportSettings smallest;
  smallest.scale = kSmallestScale;
  OptionsDialog dialog(smallest, nullptr);
  dialog.LoadControls();
  ASSERT_TRUE(dialog.SaveControls()) << dialog.LastError();
  ExportSettings out;
  dialog.StoreSettings(out);
  EXPECT_EQ(std::bit_cast<uint32_t>(out.scale), 0x2EDBE6FFu);
}

TEST(OptionsDialog, TolerancesMustNotBeNegative) {
  for (int which = 0; which < 3; ++which) {
    SCOPED_TRACE(which);
    ExportSettings settings;
    float& tolerance = which == 0 ? settings.postolerance : which == 1 ? settings.rottolerance : settings.scaletolerance;
    tolerance = -0.5f;
    EXPECT_FALSE(AcceptsAsLoaded(settings));
    tolerance = 0.0f;
    EXPECT_TRUE(AcceptsAsLoaded(settings));
    tolerance = kLargestValue;
    EXPECT_TRUE(AcceptsAsLoaded(settings));
  }
  // Typed text, because a loaded value is shown rounded to the box's digits.
  ExportSettings defaults;
  const float aboveLargest = std::nextafter(kLargestValue, INFINITY);
  for (int id : {IDC_POSTOLERANCE, IDC_ROTTOLERANCE, IDC_SCALETOLERANCE}) {
    EXPECT_FALSE(AcceptsTyped(defaults, id, FloatText(-1e-30f))) << id;
    EXPECT_TRUE(AcceptsTyped(defaults, id, "0")) << id;
    EXPECT_TRUE(AcceptsTyped(defaults, id, "0.25")) << id;
    EXPECT_TRUE(AcceptsTyped(defaults, id, FloatText(kLargestValue))) << id;
    EXPECT_FALSE(AcceptsTyped(defaults, id, FloatText(aboveLargest))) << id;
  }
}

TEST(OptionsDialog, ThresholdCoversTheWholeUnsignedRange) {
  ExportSettings settings;
  settings.threshold = -1;
  OptionsDialog dialog(settings, nullptr);
  dialog.LoadControls();
  EXPECT_EQ(dialog.Controls()[IDC_THRESHOLD].text, "4294967295");
  ASSERT_TRUE(dialog.SaveControls()) << dialog.LastError();
  ExportSettings out;
  dialog.StoreSettings(out);
  EXPECT_EQ(out.threshold, -1);

  ExportSettings defaults;
  EXPECT_TRUE(AcceptsTyped(defaults, IDC_THRESHOLD, "0"));
  EXPECT_TRUE(AcceptsTyped(defaults, IDC_THRESHOLD, "4294967295"));
  EXPECT_FALSE(AcceptsTyped(defaults, IDC_THRESHOLD, "ten"));
}

TEST(OptionsDialog, LocationTextAtMost512Characters) {
  const std::string prefix = "Ini file location: ";
  ExportSettings settings;
  settings.iniPath = "c:\\" + std::string(512 - prefix.size() - 3, 'a');
  ASSERT_EQ((prefix + settings.iniPath).size(), 512u);
  EXPECT_TRUE(AcceptsAsLoaded(settings));
  settings.iniPath += "b";
  EXPECT_FALSE(AcceptsAsLoaded(settings));
}

TEST(OptionsDialog, RefusalNamesTheFirstFailingControlInExchangeOrder) {
  // samplerate is exchanged first, scale seventh, the tolerances last.
  ExportSettings settings;
  settings.samplerate = 0;
  settings.scale = 0.0f;
  settings.postolerance = -1.0f;
  ControlStates controls;
  {
    OptionsDialog dialog(settings, nullptr);
    dialog.LoadControls();
    EXPECT_FALSE(dialog.SaveControls());
    const std::string first = dialog.LastError();
    dialog.Controls()[IDC_SAMPLERATE].text = "2";
    EXPECT_FALSE(dialog.SaveControls());
    EXPECT_NE(dialog.LastError(), first);
  }

  // The exchange itself, one control at a time.
  controls[IDC_SAMPLERATE].text = "0";
  DataExchange dx(controls, true);
  uint32_t rate = 7;
  EXPECT_FALSE(dx.Uint(IDC_SAMPLERATE, rate, 1, 999999999, "sample rate"));
  EXPECT_TRUE(dx.failed());
  EXPECT_EQ(dx.failedControl(), IDC_SAMPLERATE);
  EXPECT_FALSE(dx.message().empty());

  ControlStates shown;
  DataExchange fill(shown, false);
  uint32_t big = 4294967295u;
  float scale = 2.0f;
  int32_t checked = 1;
  EXPECT_TRUE(fill.Uint(IDC_THRESHOLD, big, 0, 4294967295u, "threshold"));
  EXPECT_TRUE(fill.Float(IDC_SCALE, scale, kSmallestScale, kLargestValue, "scale"));
  EXPECT_TRUE(fill.Check(IDC_EXPORTHIDDEN, checked));
  EXPECT_EQ(shown[IDC_THRESHOLD].text, "4294967295");
  EXPECT_EQ(shown[IDC_EXPORTHIDDEN].checked, 1);
  EXPECT_EQ(FormatUint(4294967295u), "4294967295");

  DataExchange back(shown, true);
  float readScale = 0.0f;
  EXPECT_TRUE(back.Float(IDC_SCALE, readScale, kSmallestScale, kLargestValue, "scale"));
  EXPECT_EQ(readScale, 2.0f);
  EXPECT_FALSE(back.failed());
}

TEST(OptionsDialog, NoToolkitMeansCancel) {
  SetDialogToolkit(nullptr);
  ExportSettings settings;
  OptionsDialog dialog(settings, nullptr);
  EXPECT_EQ(dialog.DoModal(), IDCANCEL);
}

TEST(HeadlessToolkit, CheckControlEdit) {
  using ui::CheckControlEdit;
  EXPECT_EQ(CheckControlEdit({"exporthidden", "yes"}), "");
  EXPECT_EQ(CheckControlEdit({"exporthidden", "off"}), "");
  EXPECT_EQ(CheckControlEdit({"optimize", "0"}), "");
  EXPECT_EQ(CheckControlEdit({"displaylog", "true"}), "");
  EXPECT_EQ(CheckControlEdit({"scale", "2"}), "");
  EXPECT_EQ(CheckControlEdit({"threshold", "100"}), "");
  EXPECT_NE(CheckControlEdit({"nosuchkey", "1"}), "");
  EXPECT_NE(CheckControlEdit({"", "1"}), "");
  // Disabled controls cannot be changed in the dialog.
  for (const char* key : {"exportlights", "ignorespecial", "exportmorph", "enableadaptivesampling", "postolerance",
                          "rottolerance", "scaletolerance"}) {
    EXPECT_NE(CheckControlEdit({key, "1"}), "") << key;
  }
  EXPECT_NE(CheckControlEdit({"exporthidden", "maybe"}), "");
  EXPECT_NE(CheckControlEdit({"exporthidden", "2"}), "");
  EXPECT_NE(CheckControlEdit({"exporthidden", ""}), "");
}

// Runs the options dialog on a headless toolkit, installed for the call.
struct HeadlessRun {
  int code = 0;
  bool refused = false;
  bool cancelled = false;
  std::string err;
};

HeadlessRun RunHeadless(OptionsDialog& dialog, std::vector<ui::ControlEdit> edits, bool pressCancel = false) {
  std::ostringstream logOut, err;
  ui::HeadlessToolkit toolkit(std::move(edits), pressCancel, logOut, err);
  SetDialogToolkit(&toolkit);
  HeadlessRun run;
  run.code = dialog.DoModal();
  SetDialogToolkit(nullptr);
  run.refused = toolkit.Refused();
  run.cancelled = toolkit.Cancelled();
  run.err = err.str();
  return run;
}

TEST(HeadlessToolkit, EditsReachTheSettingsAfterOk) {
  ExportSettings settings;
  OptionsDialog dialog(settings, nullptr);
  HeadlessRun run = RunHeadless(dialog, {{"exporthidden", "yes"}, {"optimize", "off"}, {"scale", "2.5"}, {"threshold", "3"}});
  ASSERT_EQ(run.code, IDOK) << run.err;
  EXPECT_FALSE(run.refused);
  dialog.StoreSettings(settings);
  EXPECT_TRUE(settings.exporthidden);
  EXPECT_FALSE(settings.optimize);
  EXPECT_EQ(settings.scale, 2.5f);
  EXPECT_EQ(settings.threshold, 3);
}

TEST(HeadlessToolkit, RefusedOkEndsAsCancel) {
  ExportSettings settings;
  settings.samplerate = 0;
  OptionsDialog refused(settings, nullptr);
  HeadlessRun run = RunHeadless(refused, {});
  EXPECT_EQ(run.code, IDCANCEL);
  EXPECT_TRUE(run.refused);
  EXPECT_FALSE(run.err.empty());

  OptionsDialog corrected(settings, nullptr);
  run = RunHeadless(corrected, {{"samplerate", "1"}});
  EXPECT_EQ(run.code, IDOK) << run.err;
  EXPECT_FALSE(run.refused);

  OptionsDialog cancelled(settings, nullptr);
  run = RunHeadless(cancelled, {{"samplerate", "1"}}, true);
  EXPECT_EQ(run.code, IDCANCEL);
  EXPECT_TRUE(run.cancelled);
  EXPECT_FALSE(run.refused);
}

TEST(HeadlessToolkit, LogDialogPrintsTheLog) {
  std::ostringstream logOut, err;
  ui::HeadlessToolkit toolkit({}, false, logOut, err);
  SetDialogToolkit(&toolkit);
  LogDialog dialog("A\r\nB\r\n", nullptr);
  dialog.DoModal();
  SetDialogToolkit(nullptr);
  EXPECT_NE(logOut.str().find('A'), std::string::npos) << logOut.str();
  EXPECT_NE(logOut.str().find('B'), std::string::npos) << logOut.str();
}

// The whole round: settings file, dialog, OK, file rewritten.
ExportSettings LoadFile(TempFolder& c, const std::string& content) {
  c.Write("out/kvlexp.ini", content);
  ConfigStore store("=", false);
  ExportSettings settings;
  settings.Load("c:\\out\\scene.kvl", store);
  return settings;
}

TEST(OptionsDialogWithFile, ValuesOnlyTheFileCanSetSurviveOk) {
  TempFolder c;
  ExportSettings settings = LoadFile(c, "threshold = -1\nenableadaptivesampling = 1\npostolerance = 0.5\n");
  OptionsDialog dialog(settings, nullptr);
  dialog.LoadControls();
  EXPECT_EQ(dialog.Controls()[IDC_THRESHOLD].text, "4294967295");
  EXPECT_EQ(dialog.Controls()[IDC_ADAPTIVE].checked, 1);
  ASSERT_TRUE(dialog.SaveControls()) << dialog.LastError();
  dialog.StoreSettings(settings);
  EXPECT_EQ(settings.threshold, -1);
  EXPECT_TRUE(settings.enableadaptivesampling);
  EXPECT_EQ(settings.postolerance, 0.5f);
  settings.Save();
  const std::string written = c.Read("out/kvlexp.ini");
  EXPECT_NE(written.find("\nthreshold = -1\n"), std::string::npos) << written;
  EXPECT_NE(written.find("\nenableadaptivesampling = 1\n"), std::string::npos) << written;
  EXPECT_NE(written.find("\npostolerance = 0.500000\n"), std::string::npos) << written;
}

TEST(OptionsDialogWithFile, BadValuesInTheFileRefuseOk) {
  TempFolder c;
  for (const char* file : {"scale = 0\n", "postolerance = -0.001\n", "rottolerance = -1\n", "scaletolerance = -2\n",
                           "samplerate = 0\n", "scale = nothing\n"}) {
    SCOPED_TRACE(file);
    ExportSettings settings = LoadFile(c, file);
    OptionsDialog dialog(settings, nullptr);
    HeadlessRun run = RunHeadless(dialog, {});
    EXPECT_EQ(run.code, IDCANCEL);
    EXPECT_TRUE(run.refused);
    // Cancel leaves the file as it was.
    EXPECT_EQ(c.Read("out/kvlexp.ini"), file);
  }
}

}  // namespace
}  // namespace kvl
