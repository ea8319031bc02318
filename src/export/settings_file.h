// The settings file of an export, found and kept through the host's files:
// beside the output first, then in the host's fixed folders on drive C.
#pragma once

#include <string>

#include "settings/config_store.h"
#include "settings/export_settings.h"

namespace kvl {

// Finds the settings file for an export to `outputPath`, parses it into
// `store` and fills `settings` (with `iniPath` and `fileLines`); with no file
// anywhere, the defaults, and `iniPath` says where it will be created.
void LoadSettingsFile(ExportSettings& settings, const std::string& outputPath, ConfigStore& store);

// Writes every setting to `settings.iniPath`; a file that already says so is
// left untouched. False, with `why`, if it cannot (the export goes on).
bool SaveSettingsFile(const ExportSettings& settings, std::string* why = nullptr);

}  // namespace kvl
