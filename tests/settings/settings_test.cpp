// What the command line cannot show of the settings, the log and the
// dialogs: the key-value grammar read by read, the place of the settings file
// for paths with backslashes, the host's progress display and message box,
// log levels no small scene reaches, the log file on a missing folder, and
// dialog properties that the headless toolkit does not print. Everything a whole export shows is in
// tests/data/cases (settings-*, dialog-*, log-*).
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "host/host_files.h"
#include "host/memory_scene.h"
#include "host/message_box.h"
#include "settings/config_store.h"
#include "dialogs/dialog_template.h"
#include "log/export_log.h"
#include "settings/export_settings.h"
#include "dialogs/log_dialog.h"
#include "dialogs/options_dialog.h"
#include "ui/headless_toolkit.h"
#include "working_folder.h"

namespace kvl {
namespace {

// The node property grammar (":" separates, a read uses up its line): what
// one read gives, which line numbers remain after it, and that reading the
// same key again changes neither. Expected values follow from the grammar.
TEST(ConfigStore, EachReadGivesItsValueAndUsesUpItsLine) {
  struct Row {
    const char* text;
    const char* key;
    const char* value;  // nullptr: absent
    std::vector<int> remaining;
  };
  const char* const notes = "x: 1\n\n# note\n  y: 2  \nz:\n";
  const std::vector<Row> rows = {
      {"fn: c:\\maps\\a.tga\nkeep: me\n", "fn", "c", {1}},  // every ":" separates
      {notes, "w", nullptr, {0, 1, 2}},                       // blank and comment lines take no number
      {notes, "Y", "2", {0, 2}},                              // keys fold case; values are trimmed
      {notes, "z", "1", {0, 1}},                              // a key without a value reads as 1
      {"x: 1\nx: 2\n", "x", "1", {1}},                        // the first occurrence stands
      {"x: 1 : y: 2\nother\n", "y", "2", {1}},                // pairs share a line, and its fate
      {"\t# c: 3\nd: 4 # note\n", "\t# c", "3", {1}},          // a tab is no blank: a data line
      {"\t# c: 3\nd: 4 # note\n", "d", "4 # note", {0}},
      {"a: b\t\n", "a", "b\t", {}},
      {"A: Five\n", "a", "Five", {}},
      {"a:: 5\n", "a", "5", {}},                               // runs of separators make no token
      {"b:   : c\n", "b", "", {}},
      {"b:   : c\n", "c", "1", {}},
      {":\n", "", nullptr, {0}},                               // a data line without pairs
      {"a: 1\r\n\r\nB: Two\r\n", "b", "Two", {0}},
      {"# one\n#two\r\n   \n  # three", "two", nullptr, {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.text) + " [" + row.key + "]");
    ConfigStore store(":", true);
    store.Parse(row.text);
    for (int read = 0; read < 2; ++read) {
      const char* value = store.GetString(row.key, nullptr);
      EXPECT_EQ(value ? std::string(value) : "<absent>", row.value ? row.value : "<absent>");
      std::vector<int> remaining;
      for (const auto& [number, line] : store.RemainingLines()) remaining.push_back(number);
      EXPECT_EQ(remaining, row.remaining);
    }
  }
}

TEST(ConfigStore, NumbersConvertAsTheRuntimeDoes) {
  ConfigStore store("=", false);
  store.Parse("n = 42abc\nf = 2,5\nw = word\nneg = -7\ne = 1.5e2\nbig = 4294967295\n");
  EXPECT_EQ(store.GetInt("n", 0), 42);
  EXPECT_EQ(store.GetFloat("f", 0.0), 2.0);
  EXPECT_EQ(store.GetInt("w", 5), 0);
  EXPECT_EQ(store.GetInt("neg", 0), -7);
  EXPECT_EQ(store.GetFloat("e", 0.0), 150.0);
  EXPECT_EQ(store.GetInt("big", 0), -1);  // the low 32 bits
  EXPECT_EQ(store.GetInt("missing", -3), -3);
  EXPECT_EQ(store.GetFloat("missing", 0.25), 0.25);
  EXPECT_EQ(store.RemainingLines().size(), 6u);  // the settings store uses nothing up
}

// Only a backslash separates folders, as on the exporter's first platform.
TEST(ExportSettings, TheFileBesideTheOutput) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"c:\\out\\scene.kvl", "c:\\out\\kvlexp.ini"}, {"c:\\scene.kvl", "c:\\kvlexp.ini"},
      {"c:/out/scene.kvl", "kvlexp.ini"},          {"scene.kvl", "kvlexp.ini"},
      {"a\\b/c\\d.kvl", "a\\b/c\\kvlexp.ini"}};
  for (const auto& [output, beside] : rows) EXPECT_EQ(SettingsPathBeside(output), beside) << output;
}

class RecordingProgress : public host::ProgressDisplay {
 public:
  void Start(const char*) override {}
  void Update(int percent, bool showPercent, const char* title) override {
    lines.push_back(std::to_string(percent) + (showPercent ? " % " : " ") + title);
  }
  void End() override {}
  std::vector<std::string> lines;
};

// A host that records what the log shows, installed for one test.
class LogHost : public ::testing::Test {
 protected:
  void SetUp() override {
    host::SetCOREInterface(&core);
    host::SetMessageBoxHandler([this](const std::string& text, const std::string& caption) {
      boxes.push_back(caption + ": " + text);
    });
  }
  void TearDown() override {
    host::SetMessageBoxHandler(nullptr);
    host::SetCOREInterface(nullptr);
  }

  host::MemoryScene scene;
  RecordingProgress progress;
  host::MemoryInterface core{scene, &progress};
  std::vector<std::string> boxes;
};

TEST(ExportLogFormat, EachLevelHasItsPrefixAndUnknownLevelsNone) {
  const std::vector<std::pair<LogEntry, std::string>> rows = {
      {{LOG_PLAIN, "plain"}, "plain"},
      {{LOG_WARNING, "w"}, "Warning: w"},
      {{LOG_ERROR, "e"}, "ERROR: e"},
      {{LOG_CRITICAL, "c"}, "CRITICAL ERROR: c"},
      {{static_cast<LogLevel>(4), "x"}, "x"},
      {{static_cast<LogLevel>(-1), "y"}, "y"},
      {{LOG_WARNING, ""}, "Warning: "}};
  for (const auto& [entry, text] : rows) EXPECT_EQ(ExportLog::FormatEntry(entry), text);
}

// Every message moves the host's bar at once, with the progress stored
// before it; only a critical error also shows a box, and the export goes on.
TEST_F(LogHost, MessagesReachTheProgressDisplayAndCriticalOnesABox) {
  ExportLog log;
  log.Log("Parsing nodes");
  log.progress = 40;
  EXPECT_EQ(progress.lines.size(), 1u);  // storing the progress shows nothing
  log.Log("careful", LOG_WARNING);
  log.progress = 70;
  log.Log("no memory", LOG_CRITICAL);
  log.Log("broken", LOG_ERROR);
  EXPECT_EQ(progress.lines, (std::vector<std::string>{"0 Parsing nodes", "40 Warning: careful",
                                                      "70 CRITICAL ERROR: no memory", "70 ERROR: broken"}));
  EXPECT_EQ(boxes, (std::vector<std::string>{"Exporter error: CRITICAL ERROR: no memory"}));
  ASSERT_EQ(log.Entries().size(), 4u);
  EXPECT_EQ(log.Entries()[1].level, LOG_WARNING);
  EXPECT_EQ(log.Entries()[1].text, "careful");
  EXPECT_EQ(log.GetText(), "Parsing nodes\r\nWarning: careful\r\nCRITICAL ERROR: no memory\r\nERROR: broken\r\n");
  // The text follows the list when asked again.
  log.Log("C");
  EXPECT_EQ(log.GetText().substr(log.GetText().size() - 3), "C\r\n");
}

TEST_F(LogHost, LogFileIntoAMissingFolderIsSilentAndLogsNothing) {
  testing::WorkingFolder folder("log_missing");
  host::SetDriveFolder('c', (folder.path() / "c").string());
  ExportLog log;
  log.Log("A");
  log.WriteFile("c:\\missing\\kvlexp.log");
  log.WriteFile((folder.path() / "missing" / "kvlexp.log").string());
  host::SetDriveFolder('c', "");
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "missing"));
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "c" / "missing"));
  EXPECT_TRUE(boxes.empty());
  EXPECT_EQ(log.Entries().size(), 1u);
  EXPECT_EQ(progress.lines.size(), 1u);
}

TEST(OptionsDialogTemplate, ControlsAreFoundByIdAndSettingKey) {
  const DialogTemplate& t = OptionsDialogTemplate();
  const ControlTemplate* log = FindControl(t, 1014);
  ASSERT_NE(log, nullptr);
  EXPECT_EQ(log->kind, ControlKind::CHECK_BOX);
  EXPECT_EQ(log->text, "Output log to c:\\kvlexp.log");
  EXPECT_EQ(FindControlForKey(t, "outputlog"), log);
  const ControlTemplate* location = FindControl(t, IDC_LOCATION_TEXT);
  ASSERT_NE(location, nullptr);
  EXPECT_EQ(location->text, "Ini file location:");
  EXPECT_EQ(FindControl(t, 4242), nullptr);
  EXPECT_EQ(FindControlForKey(t, "iniPath"), nullptr);
}

bool AcceptsAsLoaded(const ExportSettings& settings) {
  OptionsDialog dialog(settings, nullptr);
  dialog.LoadControls();
  return dialog.SaveControls();
}

// The label is a text control of at most 512 characters, so a settings
// path too long for it refuses OK.
TEST(OptionsDialog, LocationTextAtMost512Characters) {
  const std::string prefix = "Ini file location: ";
  ExportSettings settings;
  settings.iniPath = "c:\\" + std::string(512 - prefix.size() - 3, 'a');
  EXPECT_EQ(OptionsDialog(settings, nullptr).LocationText(), prefix + settings.iniPath);
  EXPECT_TRUE(AcceptsAsLoaded(settings));
  settings.iniPath += "b";
  EXPECT_FALSE(AcceptsAsLoaded(settings));
}

// The smallest scale the dialog takes is shown and read back to the same
// float, so loading it and pressing OK never refuses it or moves it.
TEST(OptionsDialog, TheSmallestScalePassesThroughUnchanged) {
  ExportSettings smallest;
  smallest.scale = std::bit_cast<float>(uint32_t{0x2EDBE6FF});  // the float nearest 1e-10
  OptionsDialog dialog(smallest, nullptr);
  dialog.LoadControls();
  ASSERT_TRUE(dialog.SaveControls()) << dialog.LastError();
  ExportSettings out;
  dialog.StoreSettings(out);
  EXPECT_EQ(std::bit_cast<uint32_t>(out.scale), 0x2EDBE6FFu);
}

TEST(OptionsDialog, BuildLabelAndNoToolkitMeansCancel) {
  ExportSettings settings;
  OptionsDialog dialog(settings, nullptr);
  // "Jul  3 2003 12:49:13": the day is padded with a blank to two places.
  const std::regex buildForm(
      "KVLExp build (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) ( [1-9]|[12][0-9]|3[01]) "
      "[0-9]{4} ([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9]");
  EXPECT_TRUE(std::regex_match(dialog.BuildText(), buildForm)) << dialog.BuildText();
  SetDialogToolkit(nullptr);
  EXPECT_EQ(dialog.DoModal(), IDCANCEL);
}

TEST(HeadlessToolkit, LogDialogPrintsAtMostItsLimit) {
  std::ostringstream logOut, err;
  ui::HeadlessToolkit toolkit({}, false, logOut, err);
  SetDialogToolkit(&toolkit);
  LogDialog dialog(std::string(LogDialog::MAX_TEXT - 1, 'a') + "BTAIL", nullptr);
  dialog.DoModal();
  SetDialogToolkit(nullptr);
  EXPECT_EQ(logOut.str().size(), LogDialog::MAX_TEXT);
  EXPECT_EQ(logOut.str().back(), 'B');
  EXPECT_TRUE(err.str().empty());
}

}  // namespace
}  // namespace kvl
