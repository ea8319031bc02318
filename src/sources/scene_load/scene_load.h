// What loading a scene takes and gives, whichever source reads the file.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/memory_scene.h"

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

struct SceneLoadResult {
  std::unique_ptr<host::MemoryScene> scene;  // null when the document was refused
  std::string error;                          // "PATH: problem", empty on success
  // What the source changed or left out on the way, one line each, for the
  // user to read; the scene is still loaded.
  std::vector<std::string> notes;
  // Files the scene carries inside it (embedded textures), under the names
  // its materials give them: the host writes them beside the output, and
  // only once the output itself is written.
  struct EmbeddedFile {
    std::string name;
    std::string bytes;
  };
  std::vector<EmbeddedFile> files;
  // Every file the load read, the scene first, each once: what the output
  // depends on besides the settings.
  std::vector<std::string> filesRead;
};

}  // namespace kvl::sources
