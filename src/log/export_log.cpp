#include "log/export_log.h"


#include "host/host_files.h"
#include "host/interface.h"
#include "host/message_box.h"
#include "platform/replacing_file.h"

namespace kvl {

std::string ExportLog::FormatEntry(const LogEntry& entry) {
  switch (entry.level) {
    case LOG_WARNING: return "Warning: " + entry.text;
    case LOG_ERROR: return "ERROR: " + entry.text;
    case LOG_CRITICAL: return "CRITICAL ERROR: " + entry.text;
    default: return entry.text;
  }
}

void ExportLog::Log(const std::string& text, LogLevel level) {
  entries_.push_back({level, text});
  const std::string line = FormatEntry(entries_.back());
  if (host::Interface* core = host::GetCOREInterface()) core->ProgressUpdate(progress, false, line.c_str());
  if (level == LOG_CRITICAL) host::MessageBoxA(nullptr, line.c_str(), "Exporter error", 0);
}

const std::string& ExportLog::GetText() {
  text_.clear();
  for (const LogEntry& entry : entries_) {
    text_ += FormatEntry(entry);
    text_ += "\r\n";
  }
  return text_;
}

void ExportLog::WriteFile(const std::string& path) {
  // The old log stays whole until the new one is complete.
  ReplaceFileText(host::HostPath(path), GetText());
}

}  // namespace kvl
