// `kvlexp info`: what the host holds of a scene, whatever its source: the
// node tree with each node's kind, triangles and materials, the cameras,
// lights and animation, and totals. How a user checks an import before
// exporting it.
#pragma once

#include <iosfwd>
#include <string>

namespace kvl::cli {

struct InfoRequest {
  std::string scenePath;
  std::string animation;  // as for export
  bool allowOutsideReferences = false;  // as for export
};

int RunInfo(const InfoRequest& request, std::ostream& out, std::ostream& err);

}  // namespace kvl::cli
