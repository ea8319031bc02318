// What the walk keeps while it visits one host node.
#pragma once

#include <cstdint>

#include "host/inode.h"
#include "scene/scene_nodes.h"
#include "settings/config_store.h"

namespace kvl {

struct NodeVisit {
  explicit NodeVisit(host::INode* hostNode, GroupNode& parentNode) : node(hostNode), parent(&parentNode) {}

  host::INode* node;
  // Where the next node made for this host node hangs, and the parent of
  // its children: the innermost wrapper, or the walk's argument.
  GroupNode* parent;
  // The node that this host node's attribute lines belong to.
  SceneNode* attributeOwner = nullptr;
  // An animation group or group already stands for the node's transform, so
  // the object's own node sits at the identity inside it.
  bool wrapped = false;
  bool isSceneRoot = false;
  // The node's user-defined properties; a read uses its line up, and lines
  // left at the end become attribute nodes.
  ConfigStore properties{":", true};
};

// Hangs `child` under a group-like node: its parent id, and the end of the
// group's children.
template <class T>
void HangUnder(GroupNode& parent, T& child) {
  child.parentId = parent.id;
  parent.children.push_back(&child);
}

// The nodes below `node`, not counting itself.
uint64_t CountNodesBelow(host::INode* node);

// True if the host name begins with exactly these three characters.
inline bool HasPrefix(const std::string& name, const char* prefix) { return name.rfind(prefix, 0) == 0; }

}  // namespace kvl
