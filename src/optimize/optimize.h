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

// True if the two materials cannot be told apart in the file; without
// `compareColours` the colours and the specular power play no part.
bool SameMaterial(const MaterialNode& a, const MaterialNode& b, bool compareColours);
// Folds each reachable material into the first earlier one equal to it,
// repointing the submeshes that used it.
void MergeMaterials(NodeTable& table);

// True if two submeshes of a mesh render alike and can be joined.
bool SameRenderState(const Submesh& a, const Submesh& b);
// Joins the submeshes of each reachable mesh that render alike.
void MergeSubmeshes(NodeTable& table);

// Rebuilds each reachable mesh's vertex lists in the order its indices first
// use them, sharing equal vertices within the `threshold` window.
void CompactVertices(NodeTable& table);
// Shift texture coordinates by whole numbers toward the origin.
void RecentreUVs(VertexList& list);
void RecentreTriangleUVs(TriangleInfoBufferNode& buffer);

}  // namespace kvl
