#include "cli/plugin_library.h"

#include <dlfcn.h>

#include <filesystem>
#include <sstream>

namespace kvl::cli {
namespace {

template <class Fn>
bool Bind(void* handle, const char* name, Fn& fn, std::string& error) {
  fn = reinterpret_cast<Fn>(dlsym(handle, name));
  if (!fn) error = std::string("it does not export ") + name + ": it is not an exporter plug-in";
  return fn != nullptr;
}

std::string Hex(unsigned long value) {
  std::ostringstream out;
  out << "0x" << std::hex << std::uppercase << value;
  return out.str();
}

}  // namespace

PluginLibrary::~PluginLibrary() {
  if (handle_) dlclose(handle_);
}

std::unique_ptr<PluginLibrary> PluginLibrary::Load(const std::string& path, std::string& error) {
  std::error_code ec;
  if (!std::filesystem::exists(path, ec)) {
    error = "no such file";
    return nullptr;
  }
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    const char* why = dlerror();
    error = std::string("cannot load it: ") + (why ? why : "unknown reason");
    return nullptr;
  }
  std::unique_ptr<PluginLibrary> library(new PluginLibrary());
  library->handle_ = handle;
  if (!Bind(handle, "LibDescription", library->libDescription, error) ||
      !Bind(handle, "LibNumberClasses", library->libNumberClasses, error) ||
      !Bind(handle, "LibClassDesc", library->libClassDesc, error) ||
      !Bind(handle, "LibVersion", library->libVersion, error) ||
      !Bind(handle, "CanAutoDefer", library->canAutoDefer, error)) {
    return nullptr;
  }
  if (library->libVersion() != HOST_SDK_VERSION) {
    error = "it was built for another host (LibVersion " + Hex(library->libVersion()) + ", this host speaks " +
            Hex(HOST_SDK_VERSION) + ")";
    return nullptr;
  }
  if (library->libNumberClasses() < 1 || !library->libClassDesc(0)) {
    error = "it holds no classes";
    return nullptr;
  }
  if (library->libClassDesc(0)->SuperClassID() != host::SCENE_EXPORT_CLASS_ID) {
    error = "its class is not a scene exporter";
    return nullptr;
  }
  return library;
}

std::unique_ptr<host::SceneExport> PluginLibrary::CreateExporter() {
  host::ClassDesc2* desc = libClassDesc(0);
  return std::unique_ptr<host::SceneExport>(static_cast<host::SceneExport*>(desc->Create(false)));
}

std::string DefaultPluginPath() {
  std::error_code ec;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", ec);
  const std::filesystem::path folder = ec ? std::filesystem::path(".") : self.parent_path();
  return (folder / "Quillstone_MAX5.dle").string();
}

}  // namespace kvl::cli
