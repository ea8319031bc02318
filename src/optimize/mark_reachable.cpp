#include "optimize/optimize.h"

namespace kvl {
namespace {

void MarkReference(NodeTable& table, uint32_t id) {
  if (id == NODE_ID_NONE) return;
  if (SceneNode* node = table.Find(id)) node->reachable = 1;
}

// A buffer, material or texture reaches the file exactly when a submesh of a
// mesh under a reachable geometry names it.
void MarkGeometry(NodeTable& table, GeometryNode& geometry) {
  geometry.reachable = 1;
  for (SceneNode* object : geometry.objects) {
    object->reachable = 1;
    if (object->type != NODE_MESH) continue;
    for (Submesh& s : As<MeshNode>(*object).submeshes) {
      MarkReference(table, s.vertexBufferId);
      MarkReference(table, s.faceListId);
      MarkReference(table, s.triangleInfoBufferId);
      if (s.materialId != NODE_ID_NONE) {
        if (SceneNode* material = table.Find(s.materialId)) {
          material->reachable = 1;
          if (material->type == NODE_MATERIAL) As<MaterialNode>(*material).referrers.push_back(&s);
        }
      }
      MarkReference(table, s.diffuseTextureId);
      MarkReference(table, s.envTextureId);
    }
  }
}

void MarkSubtree(NodeTable& table, GroupNode& group) {
  group.reachable = 1;
  for (SceneNode* child : group.children) {
    switch (child->type) {
      case NODE_GROUP:
      case NODE_PRS_ANIMATION:
        MarkSubtree(table, As<GroupNode>(*child));
        break;
      case NODE_GEOMETRY:
        MarkGeometry(table, As<GeometryNode>(*child));
        break;
      default:
        // Key animation groups stop here too: nothing below them is visited.
        child->reachable = 1;
        break;
    }
  }
}

bool IsReachable(const NodeTable& table, uint32_t id) {
  const SceneNode* node = table.Find(id);
  return node && node->reachable;
}

}  // namespace

void MarkReachable(NodeTable& table, GroupNode& root) {
  MarkSubtree(table, root);
  // Attributes follow their owner and springs need both ends, whatever the
  // walk did to them.
  for (const auto& [id, node] : table) {
    if (node->type == NODE_ATTRIBUTE) {
      node->reachable = IsReachable(table, As<NodeAttributeNode>(*node).parentId);
    } else if (node->type == NODE_SPRING) {
      const auto& spring = As<SpringNode>(*node);
      node->reachable = IsReachable(table, spring.parentId1) && IsReachable(table, spring.parentId2);
    }
  }
}

}  // namespace kvl
