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
  // Where textures that the file carries inside it are written, so that the
  // maps' file names point at files that exist; empty: the scene's folder.
  std::string textureFolder;
  // The start of those textures' file names; empty: the scene file's stem.
  std::string textureStem;
  // False to name embedded textures without writing them (a look at the
  // scene that exports nothing).
  bool writeTextures = true;
  // False: the files a scene refers to (buffers, images, material
  // libraries) are read only from the scene's folder and below.
  bool allowOutsideReferences = false;
};

// True if the path names our JSON scene description (by its extension).
bool IsJsonScenePath(const std::string& path);

SceneLoadResult LoadSceneFile(const std::string& path, const SourceOptions& options = {});

}  // namespace kvl::sources
