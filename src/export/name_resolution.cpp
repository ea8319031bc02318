// Springs and colliders name the nodes they attach to; the names become ids
// once the whole table exists.
#include "export/kvl_exp.h"

namespace kvl {

SceneNode* KVLExp::FindHelperByName(const std::string& name) const {
  for (const auto& [id, node] : table_) {
    if (node->type == NODE_HELPER && As<HelperNode>(*node).name == name) return node.get();
  }
  return nullptr;
}

SceneNode* KVLExp::FindGroupByName(const std::string& name) const {
  for (const auto& [id, node] : table_) {
    if (node->type != NODE_GROUP && node->type != NODE_PRS_ANIMATION) continue;
    const std::string& candidate = As<GroupNode>(*node).name;
    if (candidate == name || candidate == "GR_" + name || candidate == "PRS_" + name) return node.get();
  }
  return nullptr;
}

void KVLExp::ResolveNames() {
  // A name that matches nothing leaves the id at "no node": the reference
  // cannot be filled from a node that does not exist.
  for (const auto& [id, node] : table_) {
    if (node->type == NODE_SPRING) {
      auto& spring = As<SpringNode>(*node);
      const SceneNode* end = FindHelperByName(spring.parent2Name);
      spring.parentId2 = end ? end->id : NODE_ID_NONE;
    } else if (node->type == NODE_COLLIDER) {
      auto& collider = As<ColliderNode>(*node);
      if (collider.colliderType != COLLIDER_CONSTRUCTION) continue;
      const SceneNode* start = FindGroupByName(collider.constructionStartName);
      collider.constructionStartId = start ? start->id : NODE_ID_NONE;
    }
  }
}

}  // namespace kvl
