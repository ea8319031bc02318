// A controller that animates a node's transform. The exporter only asks
// whether a node has one.
#pragma once

namespace kvl::host {

class Control {
 public:
  virtual ~Control() = default;
};

}  // namespace kvl::host
