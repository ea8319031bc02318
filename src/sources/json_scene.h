// The JSON scene description: reads a document and builds the memory scene
// behind the host interface, or refuses it with one message that names the
// JSON path of the offending value.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/memory_scene.h"

namespace kvl::sources {

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

SceneLoadResult LoadJsonScene(std::string_view text);
// Reads the file first; a file that cannot be read is an error too.
SceneLoadResult LoadJsonSceneFile(const std::string& path);

}  // namespace kvl::sources
