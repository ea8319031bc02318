#include "scene/node_table.h"

namespace kvl {

bool NodeTable::InsertNode(NodePtr record) {
  const uint32_t id = record->id;
  return nodes_.try_emplace(id, std::move(record)).second;
}

SceneNode* NodeTable::Find(uint32_t id) const {
  auto it = nodes_.find(id);
  return it == nodes_.end() ? nullptr : it->second.get();
}

}  // namespace kvl
