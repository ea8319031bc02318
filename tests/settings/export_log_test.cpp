// The export log: what each message shows in the host's progress display
// and message box, the joined text, and the log file.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/memory_scene.h"
#include "host/message_box.h"
#include "settings/export_log.h"
#include "temp_folder.h"

namespace kvl {
namespace {

using kvl::testing::TempFolder;

struct ProgressCall {
  int percent;
  bool showPercent;
  std::string title;
};

class RecordingProgress : public host::ProgressDisplay {
 public:
  void Start(const char*) override { ++starts; }
  void Update(int percent, bool showPercent, const char* title) override {
    updates.push_back({percent, showPercent, title});
  }
  void End() override { ++ends; }

  std::vector<ProgressCall> updates;
  int starts = 0;
  int ends = 0;
};

struct MessageBoxCall {
  std::string text;
  std::string caption;
};

// Installs a host that records what the log shows, for one test.
class LogHost : public ::testing::Test {
 protected:
  void SetUp() override {
    host::SetCOREInterface(&core);
    host::SetMessageBoxHandler([this](const std::string& text, const std::string& caption) {
      boxes.push_back({text, caption});
    });
  }
  void TearDown() override {
    host::SetMessageBoxHandler(nullptr);
    host::SetCOREInterface(nullptr);
  }

  host::MemoryScene scene;
  RecordingProgress progress;
  host::MemoryInterface core{scene, &progress};
  std::vector<MessageBoxCall> boxes;
};

TEST(ExportLogFormat, PrefixPerLevel) {
  EXPECT_EQ(ExportLog::FormatEntry({LOG_PLAIN, "plain"}), "plain");
  EXPECT_EQ(ExportLog::FormatEntry({LOG_WARNING, "w"}), "Warning: w");
  EXPECT_EQ(ExportLog::FormatEntry({LOG_ERROR, "e"}), "ERROR: e");
  EXPECT_EQ(ExportLog::FormatEntry({LOG_CRITICAL, "c"}), "CRITICAL ERROR: c");
  EXPECT_EQ(ExportLog::FormatEntry({static_cast<LogLevel>(4), "x"}), "x");
  EXPECT_EQ(ExportLog::FormatEntry({static_cast<LogLevel>(-1), "y"}), "y");
  EXPECT_EQ(ExportLog::FormatEntry({LOG_WARNING, ""}), "Warning: ");
}

TEST_F(LogHost, EntriesKeepTheTextWithoutPrefix) {
  ExportLog log;
  log.Log("Initializing export");
  log.Log("careful", LOG_WARNING);
  log.Log("broken", LOG_ERROR);
  ASSERT_EQ(log.Entries().size(), 3u);
  EXPECT_EQ(log.Entries()[0].level, LOG_PLAIN);
  EXPECT_EQ(log.Entries()[0].text, "Initializing export");
  EXPECT_EQ(log.Entries()[1].level, LOG_WARNING);
  EXPECT_EQ(log.Entries()[1].text, "careful");
  EXPECT_EQ(log.Entries()[2].level, LOG_ERROR);
  EXPECT_EQ(log.Entries()[2].text, "broken");
  EXPECT_TRUE(boxes.empty());  // only level 3 shows a box
}

TEST_F(LogHost, EachMessageUpdatesTheProgressDisplay) {
  ExportLog log;
  EXPECT_EQ(log.progress, 0);
  log.Log("Parsing nodes");
  log.progress = 40;
  EXPECT_EQ(progress.updates.size(), 1u);  // storing the progress shows nothing
  log.Log("careful", LOG_WARNING);
  log.progress = 100;
  log.Log("Export completed successfully");
  ASSERT_EQ(progress.updates.size(), 3u);
  EXPECT_EQ(progress.updates[0].percent, 0);
  EXPECT_EQ(progress.updates[0].title, "Parsing nodes");
  EXPECT_EQ(progress.updates[1].percent, 40);
  EXPECT_EQ(progress.updates[1].title, "Warning: careful");
  EXPECT_EQ(progress.updates[2].percent, 100);
  EXPECT_EQ(progress.updates[2].title, "Export completed successfully");
  for (const ProgressCall& call : progress.updates) EXPECT_FALSE(call.showPercent);
  EXPECT_EQ(progress.starts, 0);
  EXPECT_EQ(progress.ends, 0);
}

TEST_F(LogHost, CriticalErrorShowsABoxAndLoggingGoesOn) {
  ExportLog log;
  log.progress = 7;
  log.Log("no memory", LOG_CRITICAL);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, "CRITICAL ERROR: no memory");
  EXPECT_EQ(boxes[0].caption, "Exporter error");
  ASSERT_EQ(progress.updates.size(), 1u);
  EXPECT_EQ(progress.updates[0].percent, 7);
  EXPECT_EQ(progress.updates[0].title, "CRITICAL ERROR: no memory");

  log.Log("Processing nodes");
  EXPECT_EQ(boxes.size(), 1u);
  ASSERT_EQ(log.Entries().size(), 2u);
  EXPECT_EQ(log.Entries()[0].level, LOG_CRITICAL);
  EXPECT_EQ(log.Entries()[0].text, "no memory");
  EXPECT_EQ(log.Entries()[1].text, "Processing nodes");
  EXPECT_EQ(progress.updates.size(), 2u);
  EXPECT_EQ(log.GetText(), "CRITICAL ERROR: no memory\r\nProcessing nodes\r\n");
}

TEST_F(LogHost, TextEndsEveryLineWithCrLf) {
  ExportLog log;
  EXPECT_EQ(log.GetText(), "");
  log.Log("A");
  log.Log("B");
  EXPECT_EQ(log.GetText(), "A\r\nB\r\n");
  const std::string first = log.GetText();
  EXPECT_EQ(log.GetText(), first);  // asking again gives the same text
  // The text is rebuilt on every call, so it follows the list.
  log.Log("C", LOG_ERROR);
  EXPECT_EQ(log.GetText(), "A\r\nB\r\nERROR: C\r\n");
}

TEST_F(LogHost, WriteFileReplacesTheFileWithTheText) {
  TempFolder c;
  c.Write("kvlexp.log", "an older and much longer log that must not survive\r\n");
  ExportLog log;
  log.Log("A");
  log.Log("odd", LOG_WARNING);
  log.WriteFile("c:\\kvlexp.log");
  EXPECT_EQ(c.Read("kvlexp.log"), "A\r\nWarning: odd\r\n");
}

TEST_F(LogHost, WriteFileIntoAMissingFolderIsSilent) {
  TempFolder c;
  ExportLog log;
  log.Log("A");
  log.WriteFile("c:\\missing\\kvlexp.log");
  log.WriteFile((c.path() / "missing" / "kvlexp.log").string());
  EXPECT_FALSE(c.Exists("missing"));
  EXPECT_TRUE(boxes.empty());
  EXPECT_EQ(log.Entries().size(), 1u);  // nothing was logged about it
  EXPECT_EQ(progress.updates.size(), 1u);
}

}  // namespace
}  // namespace kvl
