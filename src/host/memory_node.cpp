#include "host/memory_node.h"

namespace kvl::host {

INode* MemoryNode::GetChildNode(int index) {
  if (index < 0 || index >= NumberOfChildren()) return nullptr;
  return children[static_cast<size_t>(index)].get();
}

MemoryNode& MemoryNode::AddChild(std::unique_ptr<MemoryNode> child) {
  child->parent = this;
  children.push_back(std::move(child));
  return *children.back();
}

Matrix3 MemoryNode::LocalTM(TimeValue t) const {
  return keys.empty() ? transform : InterpolateKeys(keys, t);
}

Matrix3 MemoryNode::GetNodeTM(TimeValue t, Interval* valid) {
  if (valid) *valid = Interval(t, t);
  if (isRoot) return Matrix3(true);
  Matrix3 tm = parent ? LocalTM(t) * parent->GetNodeTM(t) : LocalTM(t);
  tm.ValidateFlags();
  return tm;
}

Matrix3 MemoryNode::GetObjectTM(TimeValue t, Interval* valid) {
  Matrix3 tm = objectOffset * GetNodeTM(t, valid);
  tm.ValidateFlags();
  return tm;
}

Matrix3 MemoryNode::GetObjTMBeforeWSM(TimeValue t, Interval* valid) { return GetObjectTM(t, valid); }

Matrix3 MemoryNode::GetObjTMAfterWSM(TimeValue t, Interval* valid) {
  if (!worldSpaceModifier) return GetObjectTM(t, valid);
  // The modifier has already carried the object into world space.
  if (valid) *valid = Interval(t, t);
  return Matrix3(true);
}

}  // namespace kvl::host
