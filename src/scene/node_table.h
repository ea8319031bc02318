// The one container of an export: every node record under its id, in
// ascending id order, which is also the order of the file.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "scene/scene_nodes.h"
#include "settings/export_settings.h"

namespace kvl {

using NodePtr = std::unique_ptr<SceneNode, NodeDeleter>;

class NodeTable {
 public:
  using Map = std::map<uint32_t, NodePtr>;

  // Takes ownership and files the record under its id. When the id is taken
  // already, the earlier record stays and the new one is destroyed; the
  // result tells which happened.
  template <class T>
  bool Insert(std::unique_ptr<T> record) {
    return InsertNode(NodePtr(record.release()));
  }
  bool InsertNode(NodePtr record);

  SceneNode* Find(uint32_t id) const;
  // The record with `id` if it is of `type`, else null.
  template <class T>
  T* FindAs(uint32_t id, NodeType type) const {
    SceneNode* node = Find(id);
    return node && node->type == type ? &As<T>(*node) : nullptr;
  }
  size_t Size() const { return nodes_.size(); }

  // Ascending id order; every pass and both writers iterate this way.
  Map::const_iterator begin() const { return nodes_.begin(); }
  Map::const_iterator end() const { return nodes_.end(); }

  // The write filter: with `optimize` on, only what the optimiser marked
  // reachable reaches the output.
  bool ShouldWrite(const SceneNode& node) const { return node.reachable || !settings.optimize; }

  ExportSettings settings;

 private:
  Map nodes_;
};

}  // namespace kvl
