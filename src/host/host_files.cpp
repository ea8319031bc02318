#include "host/host_files.h"

#include <cctype>
#include <map>

namespace kvl::host {
namespace {

std::map<char, std::string>& DriveFolders() {
  static std::map<char, std::string> folders;
  return folders;
}

}  // namespace

void SetDriveFolder(char letter, const std::string& folder) {
  const char key = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  if (folder.empty()) {
    DriveFolders().erase(key);
  } else {
    DriveFolders()[key] = folder;
  }
}

std::string HostPath(const std::string& path) {
  const bool hasDrive = path.size() >= 3 && std::isalpha(static_cast<unsigned char>(path[0])) &&
                        path[1] == ':' && (path[2] == '\\' || path[2] == '/');
  if (!hasDrive) return path;
  auto it = DriveFolders().find(static_cast<char>(std::tolower(static_cast<unsigned char>(path[0]))));
  if (it == DriveFolders().end()) return path;
  std::string mapped = it->second;
  if (mapped.empty() || mapped.back() != '/') mapped += '/';
  for (size_t i = 3; i < path.size(); ++i) mapped += path[i] == '\\' ? '/' : path[i];
  return mapped;
}

std::FILE* HostFopen(const std::string& path, const char* mode) {
  return std::fopen(HostPath(path).c_str(), mode);
}

}  // namespace kvl::host
