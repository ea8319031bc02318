// A node of the host's scene tree, as the exporter sees it.
#pragma once

#include <cstdint>

#include "host/max_types.h"

namespace kvl::host {

class INode {
 public:
  virtual ~INode() = default;

  virtual const char* GetName() = 0;
  // A number that differs between the nodes of one scene; never 0.
  virtual uint32_t GetHandle() = 0;
  virtual bool IsHidden() = 0;
  // The user-defined property text, empty if there is none.
  virtual void GetUserPropBuffer(CStr& buffer) = 0;

  virtual int NumberOfChildren() = 0;
  virtual INode* GetChildNode(int index) = 0;
  virtual INode* GetParentNode() = 0;
  virtual bool IsRootNode() = 0;
};

}  // namespace kvl::host
