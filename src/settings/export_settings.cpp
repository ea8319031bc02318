#include "settings/export_settings.h"

#include <cstdio>
#include <filesystem>
#include <memory>
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

bool ReadBool(ConfigStore& store, const char* key, bool fallback) {
  // Only the number 1 is true: "2" or "yes" switch a setting off.
  return store.GetInt(key, fallback ? 1 : 0) == 1;
}

float ReadFloat(ConfigStore& store, const char* key, float fallback) {
  return static_cast<float>(store.GetFloat(key, fallback));
}

}  // namespace

std::string SettingsPathBeside(const std::string& outputPath) {
  const size_t slash = outputPath.find_last_of('\\');
  const std::string folder = slash == std::string::npos ? "" : outputPath.substr(0, slash + 1);
  return folder + "kvlexp.ini";
}

bool ExportSettings::ReadFile(const std::string& path, ConfigStore& store) {
  std::FILE* file = host::HostFopen(path, "r");
  if (!file) return false;
  iniPath = path;
  store.Parse(ReadAll(file).c_str());
  std::fclose(file);
  fileLines = store.TextLines();
  return true;
}

void ExportSettings::Load(const std::string& outputPath, ConfigStore& store) {
  std::vector<std::string> candidates = {SettingsPathBeside(outputPath)};
  for (const char* path : SETTINGS_FIXED_PATHS) candidates.emplace_back(path);

  fileLines.clear();
  // Not found anywhere: the file will be created next to the output.
  iniPath = candidates.front();
  for (const std::string& path : candidates) {
    if (ReadFile(path, store)) break;
  }
  TakeValues(store);
}

void ExportSettings::TakeValues(ConfigStore& store) {
  // Missing keys take the defaults of a fresh record.
  const ExportSettings defaults;
  exporthidden = ReadBool(store, "exporthidden", defaults.exporthidden);
  exportlights = ReadBool(store, "exportlights", defaults.exportlights);
  exportnodeattributes = ReadBool(store, "exportnodeattributes", defaults.exportnodeattributes);
  optimize = ReadBool(store, "optimize", defaults.optimize);
  ignorespecial = ReadBool(store, "ignorespecial", defaults.ignorespecial);
  removescaling = ReadBool(store, "removescaling", defaults.removescaling);
  outputlog = ReadBool(store, "outputlog", defaults.outputlog);
  displaylog = ReadBool(store, "displaylog", defaults.displaylog);
  exportanims = ReadBool(store, "exportanims", defaults.exportanims);
  exportmorph = ReadBool(store, "exportmorph", defaults.exportmorph);
  enableadaptivesampling = ReadBool(store, "enableadaptivesampling", defaults.enableadaptivesampling);
  threshold = store.GetInt("threshold", defaults.threshold);
  samplerate = store.GetInt("samplerate", defaults.samplerate);
  scale = ReadFloat(store, "scale", defaults.scale);
  postolerance = ReadFloat(store, "postolerance", defaults.postolerance);
  rottolerance = ReadFloat(store, "rottolerance", defaults.rottolerance);
  scaletolerance = ReadFloat(store, "scaletolerance", defaults.scaletolerance);
}

std::string ExportSettings::FileText() const {
  std::string text = "# kvlexp.ini\n";
  char line[128];
  auto add = [&](const char* key, const char* format, auto value) {
    std::snprintf(line, sizeof line, format, key, value);
    text += line;
  };
  add("exporthidden", "%s = %d\n", exporthidden ? 1 : 0);
  add("exportlights", "%s = %d\n", exportlights ? 1 : 0);
  add("exportnodeattributes", "%s = %d\n", exportnodeattributes ? 1 : 0);
  add("optimize", "%s = %d\n", optimize ? 1 : 0);
  add("ignorespecial", "%s = %d\n", ignorespecial ? 1 : 0);
  add("removescaling", "%s = %d\n", removescaling ? 1 : 0);
  add("outputlog", "%s = %d\n", outputlog ? 1 : 0);
  add("displaylog", "%s = %d\n", displaylog ? 1 : 0);
  add("threshold", "%s = %d\n", threshold);
  add("samplerate", "%s = %d\n", samplerate);
  add("scale", "%s = %f\n", static_cast<double>(scale));
  add("exportanims", "%s = %d\n", exportanims ? 1 : 0);
  add("exportmorph", "%s = %d\n", exportmorph ? 1 : 0);
  add("enableadaptivesampling", "%s = %d\n", enableadaptivesampling ? 1 : 0);
  add("postolerance", "%s = %f\n", static_cast<double>(postolerance));
  add("rottolerance", "%s = %f\n", static_cast<double>(rottolerance));
  add("scaletolerance", "%s = %f\n", static_cast<double>(scaletolerance));
  return text;
}

bool ExportSettings::Save(std::string* why) const {
  const std::string text = FileText();
  // A file that already says exactly this is left untouched, its time
  // included: a build that lists the settings file as an input of every
  // export in a folder must not see it change when nothing did.
  const std::string path = host::HostPath(iniPath);
  std::error_code ec;
  if (std::filesystem::is_regular_file(path, ec)) {
    if (std::FILE* existing = std::fopen(path.c_str(), "rb")) {
      const bool same = ReadAll(existing) == text;
      std::fclose(existing);
      if (same) return true;
    }
  }
  // The old settings stay whole until the new file is complete.
  std::unique_ptr<ReplacingFile> replacing = ReplacingFile::Open(path, "w", why);
  if (!replacing) return false;
  std::fwrite(text.data(), 1, text.size(), replacing->get());
  return replacing->Commit(why);
}

}  // namespace kvl
