#include "sources/assimp/assimp_confined_io.h"

#include <algorithm>

namespace kvl::sources {
namespace {

namespace fs = std::filesystem;

// The path with every link and ".." resolved, as far as it exists: a link
// inside the folder that points out of it is outside.
fs::path Resolved(const fs::path& path) {
  std::error_code ec;
  fs::path resolved = fs::weakly_canonical(fs::absolute(path, ec), ec);
  return ec ? fs::absolute(path).lexically_normal() : resolved;
}

bool IsInside(const fs::path& path, const fs::path& folder) {
  auto p = path.begin();
  for (auto f = folder.begin(); f != folder.end(); ++f, ++p) {
    if (f->empty()) continue;  // the trailing separator of a folder
    if (p == path.end() || *p != *f) return false;
  }
  return true;
}

}  // namespace

ConfinedIOSystem::ConfinedIOSystem(const std::string& scenePath, bool allowOutside)
    : scene_(Resolved(scenePath)), allowOutside_(allowOutside) {
  folder_ = scene_.parent_path();
  // Up to and with the last separator, as importers cut it off.
  const size_t cut = scenePath.find_last_of('/');
  if (cut != std::string::npos) givenFolder_ = scenePath.substr(0, cut + 1);
}

// What the file wrote, where the importer put the scene's folder in front
// of an absolute path: the path from its own first separator; empty if the
// reference is not absolute.
std::string ConfinedIOSystem::AbsoluteReference(const std::string& asked) const {
  if (givenFolder_.empty()) return !asked.empty() && asked[0] == '/' ? asked : "";
  if (asked.rfind(givenFolder_, 0) == 0 && asked.size() > givenFolder_.size() && asked[givenFolder_.size()] == '/') {
    return asked.substr(givenFolder_.size());
  }
  return "";
}

bool ConfinedIOSystem::Allowed(const char* file) const {
  if (allowOutside_ || !file) return true;
  const std::string asked(file);
  const fs::path resolved = Resolved(asked);
  if (resolved == scene_) return true;
  // A file: URI is never followed, wherever the importer put it in the path.
  const size_t scheme = asked.find("file:");
  const bool uri = scheme != std::string::npos && (scheme == 0 || asked[scheme - 1] == '/');
  const std::string absolute = uri ? "" : AbsoluteReference(asked);
  if (!uri && absolute.empty() && IsInside(resolved, folder_)) return true;
  if (refused_.empty()) {
    if (uri) {
      refused_ = asked.substr(scheme);
    } else if (!absolute.empty()) {
      refused_ = absolute;
    } else {
      const fs::path relative = fs::absolute(asked).lexically_normal().lexically_relative(folder_);
      refused_ = relative.empty() ? asked : relative.string();
    }
  }
  return false;
}

bool ConfinedIOSystem::Exists(const char* file) const {
  return Allowed(file) && Assimp::DefaultIOSystem::Exists(file);
}

Assimp::IOStream* ConfinedIOSystem::Open(const char* file, const char* mode) {
  if (!Allowed(file)) return nullptr;
  Assimp::IOStream* stream = Assimp::DefaultIOSystem::Open(file, mode);
  if (stream) {
    // As the importer named it, tidied: the user's own path to the file.
    const std::string path = fs::path(file).lexically_normal().string();
    if (std::find(opened_.begin(), opened_.end(), path) == opened_.end()) opened_.push_back(path);
  }
  return stream;
}

}  // namespace kvl::sources
