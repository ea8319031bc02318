// Mesh extraction: host meshes into vertex buffers, face lists and triangle
// info buffers. Not written yet: until it is, a mesh node has no submeshes.
#include "export/kvl_exp.h"

namespace kvl {

void KVLExp::ExtractMesh(host::INode* /*node*/, host::Mesh& /*mesh*/, MeshNode& /*meshNode*/,
                         bool /*useTriangleInfo*/, bool /*morph*/) {}

}  // namespace kvl
