// The options of one export. Each field bears the name of its key in the
// settings file; the defaults are what an export without a settings file uses.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "settings/config_store.h"

namespace kvl {

struct ExportSettings {
  float scale = 1.0f;  // multiplies positions and distances, never scale values
  bool enableadaptivesampling = false;
  float postolerance = 0.0f;
  float rottolerance = 0.0f;
  float scaletolerance = 0.0f;
  int32_t samplerate = 1;  // frames per sample
  bool exporthidden = false;
  bool exportlights = false;
  bool exportnodeattributes = true;
  bool optimize = true;
  int32_t threshold = 10;
  bool ignorespecial = false;
  bool removescaling = true;
  bool exportanims = true;
  bool exportmorph = true;
  std::string iniPath;  // where the settings file was found, or will be created (a host path)
  // Per setting read from that file, the line it stands on (from 1), so that
  // a value refused later can be pointed at.
  std::map<std::string, int> fileLines;
  bool outputlog = false;
  bool displaylog = true;

  // Fills the record from a parsed settings file; keys that are missing
  // keep their defaults.
  void TakeValues(ConfigStore& store);
  // Every setting as the settings file holds it.
  std::string FileText() const;
};

// The places the settings file is looked for, in order: next to the output
// file (only a backslash separates folders), then the host's fixed folders.
std::string SettingsPathBeside(const std::string& outputPath);
inline constexpr const char* SETTINGS_FIXED_PATHS[] = {
    "c:\\3dsmax5\\kvlexp.ini",
    "c:\\3dsmax42\\kvlexp.ini",
    "c:\\3dsmax4\\kvlexp.ini",
};

}  // namespace kvl
