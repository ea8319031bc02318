#include "settings/export_settings.h"

#include <cstdio>
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

void ExportSettings::Load(const std::string& outputPath, ConfigStore& store) {
  std::vector<std::string> candidates = {SettingsPathBeside(outputPath)};
  for (const char* path : SETTINGS_FIXED_PATHS) candidates.emplace_back(path);

  std::FILE* file = nullptr;
  for (const std::string& path : candidates) {
    iniPath = path;
    file = host::HostFopen(path, "r");
    if (file) break;
  }
  fileLines.clear();
  if (file) {
    store.Parse(ReadAll(file).c_str());
    std::fclose(file);
    fileLines = store.TextLines();
  } else {
    // Not found anywhere: the file will be created next to the output.
    iniPath = candidates.front();
  }

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

void ExportSettings::Save() const {
  // The old settings stay whole until the new file is complete.
  std::unique_ptr<ReplacingFile> replacing = ReplacingFile::Open(host::HostPath(iniPath), "w");
  if (!replacing) return;
  std::FILE* file = replacing->get();
  std::fprintf(file, "# kvlexp.ini\n");
  std::fprintf(file, "exporthidden = %d\n", exporthidden ? 1 : 0);
  std::fprintf(file, "exportlights = %d\n", exportlights ? 1 : 0);
  std::fprintf(file, "exportnodeattributes = %d\n", exportnodeattributes ? 1 : 0);
  std::fprintf(file, "optimize = %d\n", optimize ? 1 : 0);
  std::fprintf(file, "ignorespecial = %d\n", ignorespecial ? 1 : 0);
  std::fprintf(file, "removescaling = %d\n", removescaling ? 1 : 0);
  std::fprintf(file, "outputlog = %d\n", outputlog ? 1 : 0);
  std::fprintf(file, "displaylog = %d\n", displaylog ? 1 : 0);
  std::fprintf(file, "threshold = %d\n", threshold);
  std::fprintf(file, "samplerate = %d\n", samplerate);
  std::fprintf(file, "scale = %f\n", static_cast<double>(scale));
  std::fprintf(file, "exportanims = %d\n", exportanims ? 1 : 0);
  std::fprintf(file, "exportmorph = %d\n", exportmorph ? 1 : 0);
  std::fprintf(file, "enableadaptivesampling = %d\n", enableadaptivesampling ? 1 : 0);
  std::fprintf(file, "postolerance = %f\n", static_cast<double>(postolerance));
  std::fprintf(file, "rottolerance = %f\n", static_cast<double>(rottolerance));
  std::fprintf(file, "scaletolerance = %f\n", static_cast<double>(scaletolerance));
  replacing->Commit();
}

}  // namespace kvl
