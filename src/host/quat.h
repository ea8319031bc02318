// A rotation quaternion (x, y, z, w) that turns vectors by the right-hand rule.
#pragma once

#include "host/matrix3.h"

namespace kvl::host {

class Quat {
 public:
  float x = 0.0f, y = 0.0f, z = 0.0f, w = 1.0f;

  constexpr Quat() = default;
  constexpr Quat(float ax, float ay, float az, float aw) : x(ax), y(ay), z(az), w(aw) {}
  bool operator==(const Quat&) const = default;

  // The same rotation with length one; a zero quaternion stays zero.
  Quat Normalized() const;
  // The rotation as rows 0 to 2 of a row-vector matrix; row 3 is zero.
  Matrix3 ToMatrix() const;
};

// Spherical interpolation from a (u = 0) to b (u = 1) along the shorter arc.
Quat Slerp(const Quat& a, const Quat& b, float u);

}  // namespace kvl::host
