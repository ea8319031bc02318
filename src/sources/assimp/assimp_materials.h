// Assimp's materials as host standard materials: colours, opacity, shine,
// two-sided and wireframe, the diffuse texture in slot 1 and a reflection
// texture in slot 9, file names as a Windows host holds them.
#pragma once

#include "sources/assimp/assimp_build.h"

namespace kvl::sources {

// Fills build.materials (one entry per Assimp material) and the scene's
// material list.
void BuildMaterials(AssimpBuild& build);

// A texture path as the host holds it: forward slashes become backslashes.
std::string HostMapName(const std::string& path);

}  // namespace kvl::sources
