// The JSON scene description: reads a document and builds the memory scene
// behind the host interface, or refuses it with one message that names the
// JSON path of the offending value.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sources/scene_load/scene_load.h"

namespace kvl::sources {

SceneLoadResult LoadJsonScene(std::string_view text);
// Reads the file first; a file that cannot be read is an error too.
SceneLoadResult LoadJsonSceneFile(const std::string& path);

}  // namespace kvl::sources
