// The walk over the host's node tree. For now it visits every node and makes
// nothing; the translation of each kind of node joins it step by step.
#include "export/kvl_exp.h"

namespace kvl {

void KVLExp::ParseNode(host::INode* node, GroupNode& parent) {
  if (!node) return;
  const int childCount = node->NumberOfChildren();
  for (int k = 0; k < childCount; ++k) ParseNode(node->GetChildNode(k), parent);
}

}  // namespace kvl
