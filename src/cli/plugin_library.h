// Loads the exporter plug-in at run time, as the host application loads its
// plug-ins, and checks that it is one this host can use.
#pragma once

#include <memory>
#include <string>

#include "host/plugin_api.h"

namespace kvl::cli {

class PluginLibrary {
 public:
  ~PluginLibrary();
  PluginLibrary(const PluginLibrary&) = delete;
  PluginLibrary& operator=(const PluginLibrary&) = delete;

  // The library at `path`, or null with `error` saying what is wrong.
  static std::unique_ptr<PluginLibrary> Load(const std::string& path, std::string& error);

  // A new exporter from the library's first class; the library must stay
  // loaded while it lives.
  std::unique_ptr<host::SceneExport> CreateExporter();

  LibDescriptionFn libDescription = nullptr;
  LibNumberClassesFn libNumberClasses = nullptr;
  LibClassDescFn libClassDesc = nullptr;
  LibVersionFn libVersion = nullptr;
  CanAutoDeferFn canAutoDefer = nullptr;

 private:
  PluginLibrary() = default;
  void* handle_ = nullptr;
};

// Where the plug-in is looked for when none is named: beside the program.
std::string DefaultPluginPath();

}  // namespace kvl::cli
