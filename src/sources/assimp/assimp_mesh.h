// A node's Assimp meshes as one host mesh, as a modelling application holds
// it: triangles over vertices welded by exact position, the first UV set in
// map channel 1 and the first colour set in channels 0 and -2 with their own
// corner indices, smoothing groups from the file's normals, one material
// id per Assimp mesh when the node has several materials, and the skin and
// morph targets that deform the meshes (vertices that they move apart stay
// apart).
#pragma once

#include <memory>
#include <string>

#include "host/memory_objects.h"
#include "sources/assimp/assimp_build.h"

namespace kvl::sources {

// `material` receives the node's material: the one material of its meshes,
// a multi-material over several, or the host's default for meshes whose
// file gave them none. Null, with a note, when no mesh of the node holds a
// triangle.
std::unique_ptr<host::MemoryMeshObject> BuildNodeMesh(AssimpBuild& build, const aiNode& node,
                                                      const std::string& nodeName, host::Mtl*& material);

}  // namespace kvl::sources
