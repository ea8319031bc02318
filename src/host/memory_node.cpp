#include "host/memory_node.h"

#include <algorithm>

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

void MemoryNode::KeepWorldTransforms(bool keep) {
  keepWorld_ = keep;
  if (!keep) worldByTick_ = {};
}

Matrix3 MemoryNode::WorldTM(TimeValue t) {
  Matrix3 tm = parent ? LocalTM(t) * parent->GetNodeTM(t) : LocalTM(t);
  tm.ValidateFlags();
  return tm;
}

Matrix3 MemoryNode::GetNodeTM(TimeValue t, Interval* valid) {
  if (valid) *valid = Interval(t, t);
  if (isRoot) return Matrix3(true);
  if (!keepWorld_) return WorldTM(t);
  // The kept matrix is the very value WorldTM gave, so keeping changes no
  // bit of any result; it only saves walking up to the root again.
  const auto at = std::lower_bound(worldByTick_.begin(), worldByTick_.end(), t,
                                   [](const std::pair<TimeValue, Matrix3>& kept, TimeValue tick) {
                                     return kept.first < tick;
                                   });
  if (at != worldByTick_.end() && at->first == t) return at->second;
  const Matrix3 tm = WorldTM(t);
  worldByTick_.insert(at, {t, tm});
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
