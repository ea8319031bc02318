// The files a scene carries inside it (embedded textures), written beside
// the output once it is written.
#pragma once

#include <filesystem>
#include <ostream>
#include <vector>

#include "sources/scene_load/scene_load.h"

namespace kvl::cli {

// Writes each file into `folder` through its own replacing file and names
// it on `out`. False, with the reason on `err`, at the first that cannot be
// written.
bool WriteEmbeddedFiles(const std::vector<sources::SceneLoadResult::EmbeddedFile>& files,
                        const std::filesystem::path& folder, std::ostream& out, std::ostream& err);

}  // namespace kvl::cli
