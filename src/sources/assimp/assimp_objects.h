// Cameras and lights at their nodes. A camera's look-at and up vectors go
// into its node's transform, since the host's camera always looks down its
// own -Z with +Y up.
#pragma once

#include <utility>
#include <vector>

#include "sources/assimp/assimp_nodes.h"

namespace kvl::sources {

void BuildCamerasAndLights(AssimpBuild& build, std::vector<std::pair<host::MemoryNode*, NodeOrigin>>& origins);

// The full horizontal angle from Assimp's mHorizontalFOV, which holds the
// full angle for some formats, the documented half angle for others, and
// for glTF the vertical angle times the aspect ratio.
float FullHorizontalFov(const std::string& format, float assimpValue, float aspect);

}  // namespace kvl::sources
