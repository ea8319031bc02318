#include "sources/scene_source.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "sources/assimp/assimp_import.h"
#include "sources/json/json_scene.h"

namespace kvl::sources {

bool IsJsonScenePath(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension == ".json";
}

SceneLoadResult LoadSceneFile(const std::string& path, const SourceOptions& options) {
  if (IsJsonScenePath(path)) return LoadJsonSceneFile(path);
  return LoadAssimpSceneFile(path, options);
}

}  // namespace kvl::sources
