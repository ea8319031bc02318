// Rebuilds each mesh's vertex lists from its face lists: vertices in order
// of first use, unused ones gone, equal ones shared within the threshold.
#include <cmath>
#include <vector>

#include "optimize/optimize.h"
#include "scene/vertex_list.h"

namespace kvl {
namespace {

void CompactMesh(NodeTable& table, MeshNode& mesh) {
  // A mesh without submeshes has no buffer to take: it is passed over.
  if (mesh.submeshes.empty()) return;
  auto* buffer = table.FindAs<VertexBufferNode>(mesh.submeshes.front().vertexBufferId, NODE_VERTEX_BUFFER);
  if (!buffer || buffer->lists.empty()) return;
  const size_t listCount = buffer->lists.size();

  std::vector<std::vector<Vertex>> old(listCount);
  std::vector<VertexPlacer> placers;
  placers.reserve(listCount);
  for (size_t f = 0; f < listCount; ++f) {
    old[f] = std::move(buffer->lists[f].vertices);
    buffer->lists[f].vertices.clear();
    placers.emplace_back(buffer->lists[f]);
  }

  const int32_t threshold = table.settings.threshold;
  for (Submesh& submesh : mesh.submeshes) {
    auto* faces = table.FindAs<FaceListNode>(submesh.faceListId, NODE_FACE_LIST);
    if (!faces) continue;
    const std::vector<uint32_t> indices = std::move(faces->indices);
    faces->indices.clear();
    faces->indices.reserve(indices.size());
    // Fixed for the whole submesh: it shares everything it places itself,
    // and the last `threshold` vertices of what came before.
    const uint32_t base = static_cast<uint32_t>(buffer->lists[0].vertices.size());
    for (uint32_t k : indices) {
      const uint64_t p = static_cast<uint64_t>(k) + submesh.vertexOffset;
      if (p >= old[0].size()) {
        faces->indices.push_back(k);  // names no vertex: left for a reader to report
        continue;
      }
      faces->indices.push_back(placers[0].Place(old[0][p], base, threshold));
      // The other lists decide alike, as their vertices agree in all but
      // position; they stay in step with list 0.
      for (size_t f = 1; f < listCount; ++f) {
        if (p < old[f].size()) placers[f].Place(old[f][p], base, threshold);
      }
    }
    if (submesh.triangleInfoBufferId != NODE_ID_NONE) {
      auto* info = table.FindAs<TriangleInfoBufferNode>(submesh.triangleInfoBufferId, NODE_TRIANGLE_INFO_BUFFER);
      if (info) RecentreTriangleUVs(*info);
    }
  }
  for (VertexList& list : buffer->lists) {
    NormalizeNormals(list);
    RecentreUVs(list);
  }
}

}  // namespace

void CompactVertices(NodeTable& table) {
  for (const auto& [id, node] : table) {
    if (node->type == NODE_MESH && node->reachable) CompactMesh(table, As<MeshNode>(*node));
  }
}

}  // namespace kvl
