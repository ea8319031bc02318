// The passes over the finished table before it is written. Records are never
// removed: the `reachable` flag decides what the writers emit.
#pragma once

#include "scene/node_table.h"

namespace kvl {

// Runs the passes in their fixed order, starting from the current root group.
void Optimize(NodeTable& table, GroupNode& root);

// Marks everything hanging under `root`, collects each material's referrers,
// then settles attributes and springs from the nodes they belong to.
void MarkReachable(NodeTable& table, GroupNode& root);

}  // namespace kvl
