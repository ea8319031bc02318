// The scene source chosen by the file: our own JSON description, or any
// format that Assimp reads. Either fills the same memory scene, so nothing
// after loading knows where the scene came from.
#pragma once

#include <string>

#include "sources/json_scene.h"

namespace kvl::sources {

struct SourceOptions {
  // The animation to key the nodes with, by name or by index; empty: the
  // file's first.
  std::string animation;
  // The start of the file names of textures that the file carries inside
  // it; empty: the scene file's stem.
  std::string textureStem;
  // False: the files a scene refers to (buffers, images, material
  // libraries) are read only from the scene's folder and below.
  bool allowOutsideReferences = false;
};

// True if the path names our JSON scene description (by its extension).
bool IsJsonScenePath(const std::string& path);

SceneLoadResult LoadSceneFile(const std::string& path, const SourceOptions& options = {});

}  // namespace kvl::sources
