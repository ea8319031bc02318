// A node of the in-memory scene: plain data behind the INode interface.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/inode.h"
#include "host/memory_transform.h"

namespace kvl::host {

class MemoryNode : public INode {
 public:
  const char* GetName() override { return name.c_str(); }
  uint32_t GetHandle() override { return handle; }
  bool IsHidden(uint32_t = 0, bool = false) override { return hidden; }
  void GetUserPropBuffer(CStr& buffer) override { buffer = CStr(userProperties); }
  Control* GetTMController() override { return hasController && !isRoot ? &controller_ : nullptr; }

  int NumberOfChildren() override { return static_cast<int>(children.size()); }
  INode* GetChildNode(int index) override;
  INode* GetParentNode() override { return parent; }
  bool IsRootNode() override { return isRoot; }

  ObjectState EvalWorldState(TimeValue, bool = true) override { return ObjectState(object.get()); }
  Mtl* GetMtl() override { return material; }

  Matrix3 GetNodeTM(TimeValue t, Interval* valid = nullptr) override;
  Matrix3 GetObjectTM(TimeValue t, Interval* valid = nullptr) override;
  Matrix3 GetObjTMBeforeWSM(TimeValue t, Interval* valid = nullptr) override;
  Matrix3 GetObjTMAfterWSM(TimeValue t, Interval* valid = nullptr) override;

  // The transform relative to the parent at t: the keys if there are any,
  // otherwise the fixed transform.
  Matrix3 LocalTM(TimeValue t) const;

  // Appends a child and makes this node its parent.
  MemoryNode& AddChild(std::unique_ptr<MemoryNode> child);

  // With keep on, GetNodeTM keeps every world transform it works out, one
  // per tick, and gives it back when asked for that tick again; off forgets
  // them. Only for a scene that holds still meanwhile (see HeldStill).
  void KeepWorldTransforms(bool keep);

  std::string name;
  uint32_t handle = 0;
  bool hidden = false;
  std::string userProperties;
  bool isRoot = false;
  MemoryNode* parent = nullptr;
  std::vector<std::unique_ptr<MemoryNode>> children;

  bool hasController = true;
  Matrix3 transform{true};
  std::vector<TransformKey> keys;  // ascending ticks; when present they replace transform
  Matrix3 objectOffset{true};
  bool worldSpaceModifier = false;
  Mtl* material = nullptr;  // owned by the scene
  std::unique_ptr<Object> object;

 private:
  // The world transform at t, worked out from the parent's.
  Matrix3 WorldTM(TimeValue t);

  Control controller_;
  bool keepWorld_ = false;
  // Ascending ticks. Samples are asked for in ascending order, so a new
  // one nearly always goes at the end.
  std::vector<std::pair<TimeValue, Matrix3>> worldByTick_;
};

}  // namespace kvl::host
