#include "export/settings_file.h"

#include <cstdio>
#include <vector>

#include "host/host_files.h"
#include "platform/replacing_file.h"

namespace kvl {
namespace {

// The whole file as text; the store does the rest.
std::string ReadAll(std::FILE* file) {
  std::string text;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0) text.append(buffer, n);
  return text;
}

}  // namespace

void LoadSettingsFile(ExportSettings& settings, const std::string& outputPath, ConfigStore& store) {
  std::vector<std::string> candidates = {SettingsPathBeside(outputPath)};
  for (const char* path : SETTINGS_FIXED_PATHS) candidates.emplace_back(path);

  settings.fileLines.clear();
  // Not found anywhere: the file will be created next to the output.
  settings.iniPath = candidates.front();
  for (const std::string& path : candidates) {
    std::FILE* file = host::HostFopen(path, "r");
    if (!file) continue;
    settings.iniPath = path;
    store.Parse(ReadAll(file).c_str());
    std::fclose(file);
    settings.fileLines = store.TextLines();
    break;
  }
  settings.TakeValues(store);
}

bool SaveSettingsFile(const ExportSettings& settings, std::string* why) {
  // The old settings stay whole until the new file is complete.
  return ReplaceFileText(host::HostPath(settings.iniPath), settings.FileText(), why);
}

}  // namespace kvl
