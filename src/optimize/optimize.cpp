#include "optimize/optimize.h"

namespace kvl {

void Optimize(NodeTable& table, GroupNode& root) {
  MarkReachable(table, root);
}

}  // namespace kvl
