// What one export did: every message goes at once to the host's progress
// display and into a list; the list becomes text only at the end.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kvl {

enum LogLevel : int32_t {
  LOG_PLAIN = 0,
  LOG_WARNING = 1,
  LOG_ERROR = 2,
  LOG_CRITICAL = 3,  // also shows a message box; the export goes on
};

struct LogEntry {
  LogLevel level = LOG_PLAIN;
  std::string text;  // without the level's prefix
};

class ExportLog {
 public:
  // Records the message and shows its line in the host's progress display
  // with the current progress value.
  void Log(const std::string& text, LogLevel level = LOG_PLAIN);

  // The prefix of the entry's level, then its text; no line end.
  static std::string FormatEntry(const LogEntry& entry);
  // Every line followed by CR LF, the last one too.
  const std::string& GetText();
  // Replaces the file with the whole log; silent if it cannot be opened.
  void WriteFile(const std::string& path);

  const std::vector<LogEntry>& Entries() const { return entries_; }

  // The export's progress in percent. Storing it shows nothing: the host's
  // bar moves at the next message.
  int32_t progress = 0;

 private:
  std::string text_;
  std::vector<LogEntry> entries_;
};

}  // namespace kvl
