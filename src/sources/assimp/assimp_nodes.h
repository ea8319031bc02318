// The Assimp node tree as host nodes: names (empty ones too), local
// transforms, Assimp's FBX pivot helpers folded into the node they belong
// to, the importer's own root left out, handles in pre-order.
#pragma once

#include <vector>

#include "sources/assimp/assimp_build.h"

namespace kvl::sources {

// Where a host node came from, and the matrices that still have to be put
// round its transform once everything is keyed: before (the camera's own
// frame) and after (the turn into the host's axes, for top-level nodes).
struct NodeOrigin {
  std::vector<const aiNode*> chain;  // pivot helpers first, the node itself last
  host::Matrix3 before{true};
  host::Matrix3 after{true};
};

// The marker in the names of the pivot helpers that Assimp's FBX importer
// makes.
inline constexpr const char* kPivotMarker = "_$AssimpFbx$_";

// Builds the tree under build.scene.root, with meshes, helpers and property
// text; fills build.nodesByName and `origins`.
void BuildNodes(AssimpBuild& build, std::vector<std::pair<host::MemoryNode*, NodeOrigin>>& origins);

// Puts each node's `before` and `after` round its transform and its keys.
void ApplyFrames(const std::vector<std::pair<host::MemoryNode*, NodeOrigin>>& origins);

// Handles 1, 2, ... in depth-first pre-order.
void AssignHandles(host::MemoryNode& root);

}  // namespace kvl::sources
