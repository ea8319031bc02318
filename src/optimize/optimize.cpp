#include "optimize/optimize.h"

namespace kvl {

void Optimize(NodeTable& table, GroupNode& root) {
  MarkReachable(table, root);
  // Materials fold first: submeshes whose materials became one can merge.
  MergeMaterials(table);
  MergeSubmeshes(table);
  // Indices are appended unrebased by the merge, so compaction comes last.
  CompactVertices(table);
}

}  // namespace kvl
