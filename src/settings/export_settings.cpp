#include "settings/export_settings.h"

#include <cstdio>

namespace kvl {
namespace {

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

}  // namespace kvl
