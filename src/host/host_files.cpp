#include "host/host_files.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <vector>

namespace kvl::host {
namespace {

std::map<char, std::string>& DriveFolders() {
  static std::map<char, std::string> folders;
  return folders;
}

std::vector<std::string>& FilesRead() {
  static std::vector<std::string> files;
  return files;
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

std::string DrivePath(const std::string& path, char letter, const std::string& folder) {
  const bool hasDrive = path.size() >= 3 && std::isalpha(static_cast<unsigned char>(path[0])) &&
                        path[1] == ':' && (path[2] == '\\' || path[2] == '/');
  if (!hasDrive || folder.empty()) return path;
  if (std::tolower(static_cast<unsigned char>(path[0])) != std::tolower(static_cast<unsigned char>(letter))) {
    return path;
  }
  // The drive's folder is its root: ".." stops there, as it does at the
  // root of a real drive, so no path on the drive leads out of the folder.
  std::vector<std::string> parts;
  std::string part;
  for (size_t i = 3; i <= path.size(); ++i) {
    if (i < path.size() && path[i] != '\\' && path[i] != '/') {
      part += path[i];
      continue;
    }
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
    part.clear();
  }
  std::string mapped = folder;
  if (mapped.back() != '/') mapped += '/';
  for (size_t i = 0; i < parts.size(); ++i) mapped += (i ? "/" : "") + parts[i];
  return mapped;
}

std::string HostPath(const std::string& path) {
  if (path.size() < 2 || path[1] != ':') return path;
  auto it = DriveFolders().find(static_cast<char>(std::tolower(static_cast<unsigned char>(path[0]))));
  return it == DriveFolders().end() ? path : DrivePath(path, it->first, it->second);
}

std::FILE* HostFopen(const std::string& path, const char* mode) {
  const std::string mapped = HostPath(path);
  std::FILE* file = std::fopen(mapped.c_str(), mode);
  if (file && mode[0] == 'r') {
    std::vector<std::string>& read = FilesRead();
    if (std::find(read.begin(), read.end(), mapped) == read.end()) read.push_back(mapped);
  }
  return file;
}

const std::vector<std::string>& HostFilesRead() { return FilesRead(); }

void ForgetHostFilesRead() { FilesRead().clear(); }

}  // namespace kvl::host
