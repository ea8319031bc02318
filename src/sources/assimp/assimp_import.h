// Any file that Assimp reads, as a memory scene: the import with the
// post-processing steps the host needs, then the conversion.
#pragma once

#include <string>

#include "sources/scene_load/scene_load.h"

struct aiScene;

namespace kvl::sources {

// "cannot import: <Assimp's reason>" when Assimp cannot read the file; a
// message naming the node or mesh when the scene breaks what the host holds.
SceneLoadResult LoadAssimpSceneFile(const std::string& path, const SourceOptions& options);

// The post-processing steps that every import runs (docs/scene-sources.md
// gives the reason for each).
unsigned AssimpPostProcessSteps();

// The conversion alone, for a scene that Assimp has already read: what the
// benchmark times apart from Assimp's own read. `path` names the file the
// scene came from (its extension tells the format's conventions).
SceneLoadResult ConvertAssimpScene(const aiScene& scene, const std::string& path, const SourceOptions& options);

}  // namespace kvl::sources
