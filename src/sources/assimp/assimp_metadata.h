// Per-node metadata as the node's property text: FBX's user-defined text
// (UDP3DSMAX) as written, every other entry appended as a "key: value" line
// so that the exporter can turn it into attribute nodes; a visibility entry
// becomes the hidden flag.
#pragma once

#include "sources/assimp/assimp_build.h"

namespace kvl::sources {

void ApplyNodeMetadata(const AssimpBuild& build, const aiNode& source, host::MemoryNode& node);

}  // namespace kvl::sources
