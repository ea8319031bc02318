// Joining the submeshes of a mesh that render alike. What is absorbed stays
// in the table, unmarked, and is not written.
#include <vector>

#include "optimize/optimize.h"

namespace kvl {

bool SameRenderState(const Submesh& a, const Submesh& b) {
  return a.materialId == b.materialId && a.diffuseTextureId == b.diffuseTextureId &&
         a.envTextureId == b.envTextureId && a.primitiveType == b.primitiveType;
}

namespace {

// Appends b's triangles and indices behind a's. No index is rebased: every
// submesh of a mesh addresses the same whole vertex list at this point.
void Absorb(NodeTable& table, Submesh& a, const Submesh& b) {
  if (a.triangleInfoBufferId != NODE_ID_NONE) {
    auto* into = table.FindAs<TriangleInfoBufferNode>(a.triangleInfoBufferId, NODE_TRIANGLE_INFO_BUFFER);
    auto* from = table.FindAs<TriangleInfoBufferNode>(b.triangleInfoBufferId, NODE_TRIANGLE_INFO_BUFFER);
    if (into && from) {
      into->triangles.insert(into->triangles.end(), from->triangles.begin(), from->triangles.end());
      from->reachable = 0;
    }
  }
  auto* into = table.FindAs<FaceListNode>(a.faceListId, NODE_FACE_LIST);
  auto* from = table.FindAs<FaceListNode>(b.faceListId, NODE_FACE_LIST);
  if (into && from) {
    into->indices.insert(into->indices.end(), from->indices.begin(), from->indices.end());
    from->reachable = 0;
  }
  a.vertexCount += b.vertexCount;
}

}  // namespace

void MergeSubmeshes(NodeTable& table) {
  for (const auto& [id, node] : table) {
    if (node->type != NODE_MESH || !node->reachable) continue;
    std::vector<Submesh>& submeshes = As<MeshNode>(*node).submeshes;
    for (size_t i = 0; i < submeshes.size(); ++i) {
      for (size_t j = i + 1; j < submeshes.size();) {
        if (!SameRenderState(submeshes[i], submeshes[j])) {
          ++j;
          continue;
        }
        Absorb(table, submeshes[i], submeshes[j]);
        // The next submesh moves into position j: look at j again.
        submeshes.erase(submeshes.begin() + static_cast<std::ptrdiff_t>(j));
      }
    }
  }
}

}  // namespace kvl
