// A node of the host's scene tree, as the exporter sees it.
#pragma once

#include <cstdint>

#include "host/control.h"
#include "host/material.h"
#include "host/matrix3.h"
#include "host/max_types.h"
#include "host/object.h"

namespace kvl::host {

class INode {
 public:
  virtual ~INode() = default;

  virtual const char* GetName() = 0;
  // A number that differs between the nodes of one scene; never 0.
  virtual uint32_t GetHandle() = 0;
  virtual bool IsHidden(uint32_t hflags = 0, bool forRenderer = false) = 0;
  // The user-defined property text, empty if there is none.
  virtual void GetUserPropBuffer(CStr& buffer) = 0;
  // Non-null if the node's transform may be animated.
  virtual Control* GetTMController() = 0;

  virtual int NumberOfChildren() = 0;
  virtual INode* GetChildNode(int index) = 0;
  virtual INode* GetParentNode() = 0;
  virtual bool IsRootNode() = 0;

  // The node's object as evaluated at t; its obj may be null.
  virtual ObjectState EvalWorldState(TimeValue t, bool evalHidden = true) = 0;
  // The node's material, or null.
  virtual Mtl* GetMtl() = 0;

  // World matrices at t. The node TM places the node's pivot; the object TM
  // adds the object offset; the "after WSM" one is the identity when a
  // world-space modifier has already moved the object into world space.
  virtual Matrix3 GetNodeTM(TimeValue t, Interval* valid = nullptr) = 0;
  virtual Matrix3 GetObjectTM(TimeValue t, Interval* valid = nullptr) = 0;
  virtual Matrix3 GetObjTMBeforeWSM(TimeValue t, Interval* valid = nullptr) = 0;
  virtual Matrix3 GetObjTMAfterWSM(TimeValue t, Interval* valid = nullptr) = 0;
};

}  // namespace kvl::host
