// Any text as the settings file (read through the real file lookup) and as
// a node's property text, where reads consume the lines they hit.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "settings/config_store.h"
#include "export/settings_file.h"
#include "settings/export_settings.h"

namespace {

// The settings file is looked for next to the output, which for a path
// without a backslash is the working directory: a scratch folder of our own.
std::string scratchFolder;

void LeaveScratchFolder() {
  std::remove((scratchFolder + "/kvlexp.ini").c_str());
  rmdir(scratchFolder.c_str());
}

void EnterScratchFolder() {
  // Memory-backed when the system has it: the file is rewritten on every run.
  std::string pattern = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
  pattern += "/kvl_fuzz_settings_XXXXXX";
  if (!mkdtemp(pattern.data()) || chdir(pattern.c_str()) != 0) std::abort();
  scratchFolder = pattern;
  std::atexit(LeaveScratchFolder);
}

void FillSettings(const std::string& text) {
  std::FILE* file = std::fopen("kvlexp.ini", "wb");
  if (!file) std::abort();
  if (!text.empty() && std::fwrite(text.data(), 1, text.size(), file) != text.size()) std::abort();
  std::fclose(file);
  kvl::ConfigStore store("=", false);
  kvl::ExportSettings settings;
  kvl::LoadSettingsFile(settings, "scene.kvl", store);
  if (settings.iniPath != "kvlexp.ini") std::abort();
}

void ReadProperties(const std::string& text) {
  kvl::ConfigStore store(":", true);
  store.Parse(text.c_str());
  const size_t before = store.RemainingLines().size();
  // The keys a node's properties are asked for, and every key the text
  // itself names, so reads hit lines as well as miss them.
  store.GetString("fn", "<none>");
  store.GetFloat("s", 1.0);
  store.GetInt("threshold", 10);
  std::string key;
  for (char c : text) {
    if (c == ':' || c == '\n') {
      store.GetString(key, nullptr);
      key.clear();
    } else {
      key += c;
    }
  }
  // Reads only ever take lines away.
  if (store.RemainingLines().size() > before) std::abort();
  for (const auto& [number, line] : store.RemainingLines()) {
    if (number < 0 || line.empty() || line != kvl::TrimConfigText(line)) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  EnterScratchFolder();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  FillSettings(text);
  ReadProperties(text);
  kvl::ConfigStore plain("=", false);
  plain.Parse(text.c_str());
  return 0;
}
