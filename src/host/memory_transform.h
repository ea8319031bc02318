// Transforms of the memory scene as they are written down: position,
// rotation and scale, fixed or as keys over time.
#pragma once

#include <vector>

#include "host/matrix3.h"
#include "host/max_types.h"
#include "host/quat.h"

namespace kvl::host {

// Scale first, then rotation, then translation.
Matrix3 TrsMatrix(const Point3& position, const Quat& rotation, const Point3& scale);

struct TransformKey {
  TimeValue tick = 0;
  Point3 position{0, 0, 0};
  Quat rotation{0, 0, 0, 1};  // of length one
  Point3 scale{1, 1, 1};
};

// The transform at t from keys in ascending tick order (at least one):
// position and scale linear, rotation along the shorter arc, and the end
// keys held before the first and after the last.
Matrix3 InterpolateKeys(const std::vector<TransformKey>& keys, TimeValue t);

}  // namespace kvl::host
