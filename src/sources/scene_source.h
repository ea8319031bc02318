// The scene source chosen by the file: our own JSON description, or any
// format that Assimp reads. Either fills the same memory scene, so nothing
// after loading knows where the scene came from.
#pragma once

#include <string>

#include "sources/scene_load/scene_load.h"

namespace kvl::sources {

// True if the path names our JSON scene description (by its extension).
bool IsJsonScenePath(const std::string& path);

SceneLoadResult LoadSceneFile(const std::string& path, const SourceOptions& options = {});

}  // namespace kvl::sources
