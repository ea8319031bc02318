#include "host/quat.h"

#include <cmath>

namespace kvl::host {

Quat Quat::Normalized() const {
  const double len = std::sqrt(double(x) * x + double(y) * y + double(z) * z + double(w) * w);
  if (len == 0.0) return *this;
  return {float(x / len), float(y / len), float(z / len), float(w / len)};
}

Matrix3 Quat::ToMatrix() const {
  const double qx = x, qy = y, qz = z, qw = w;
  const double norm = qx * qx + qy * qy + qz * qz + qw * qw;
  const double s = norm == 0.0 ? 0.0 : 2.0 / norm;
  auto f = [](double v) { return static_cast<float>(v); };
  return Matrix3({f(1 - s * (qy * qy + qz * qz)), f(s * (qx * qy + qz * qw)), f(s * (qx * qz - qy * qw))},
                 {f(s * (qx * qy - qz * qw)), f(1 - s * (qx * qx + qz * qz)), f(s * (qy * qz + qx * qw))},
                 {f(s * (qx * qz + qy * qw)), f(s * (qy * qz - qx * qw)), f(1 - s * (qx * qx + qy * qy))},
                 {0, 0, 0});
}

Quat Slerp(const Quat& a, const Quat& b, float u) {
  double bx = b.x, by = b.y, bz = b.z, bw = b.w;
  double cosTheta = double(a.x) * bx + double(a.y) * by + double(a.z) * bz + double(a.w) * bw;
  // q and -q are the same rotation: take the one nearer to a.
  if (cosTheta < 0.0) {
    bx = -bx, by = -by, bz = -bz, bw = -bw;
    cosTheta = -cosTheta;
  }
  double ka = 1.0 - u, kb = u;
  // Nearly equal rotations: the sine below would vanish, and linear is exact enough.
  if (cosTheta < 0.9999) {
    const double theta = std::acos(cosTheta);
    const double sinTheta = std::sin(theta);
    ka = std::sin((1.0 - u) * theta) / sinTheta;
    kb = std::sin(u * theta) / sinTheta;
  }
  return Quat(float(ka * a.x + kb * bx), float(ka * a.y + kb * by), float(ka * a.z + kb * bz),
              float(ka * a.w + kb * bw))
      .Normalized();
}

}  // namespace kvl::host
