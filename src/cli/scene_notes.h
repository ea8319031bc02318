// What a loaded scene's source left out or changed, said before the export.
#pragma once

#include <ostream>
#include <string>

#include "sources/scene_load/scene_load.h"

namespace kvl::cli {

// One "note:" line per note of the source, and with `vertexAnimation` off
// one per mesh that deforms over the animation (it goes out in its rest
// pose).
void PrintSceneNotes(const std::string& scenePath, host::MemoryScene& scene, const std::vector<std::string>& notes,
                     bool vertexAnimation, std::ostream& err);

}  // namespace kvl::cli
