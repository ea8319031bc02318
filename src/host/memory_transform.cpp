#include "host/memory_transform.h"

#include <algorithm>

namespace kvl::host {

Matrix3 TrsMatrix(const Point3& position, const Quat& rotation, const Point3& scale) {
  Matrix3 m = rotation.ToMatrix();
  for (int r = 0; r < 3; ++r) m[r] = m[r] * scale[r];
  m[3] = position;
  m.ValidateFlags();
  return m;
}

namespace {
Point3 Lerp(const Point3& a, const Point3& b, double u) {
  auto mix = [u](float x, float y) { return static_cast<float>(x + (double(y) - x) * u); };
  return {mix(a.x, b.x), mix(a.y, b.y), mix(a.z, b.z)};
}
}  // namespace

Matrix3 InterpolateKeys(const std::vector<TransformKey>& keys, TimeValue t) {
  if (keys.empty()) return Matrix3(true);
  if (t <= keys.front().tick) {
    const TransformKey& k = keys.front();
    return TrsMatrix(k.position, k.rotation, k.scale);
  }
  if (t >= keys.back().tick) {
    const TransformKey& k = keys.back();
    return TrsMatrix(k.position, k.rotation, k.scale);
  }
  // The first key after t; the one before it is at or before t.
  auto next = std::upper_bound(keys.begin(), keys.end(), t,
                               [](TimeValue tick, const TransformKey& k) { return tick < k.tick; });
  const TransformKey& b = *next;
  const TransformKey& a = *(next - 1);
  const double u = (double(t) - a.tick) / (double(b.tick) - a.tick);
  return TrsMatrix(Lerp(a.position, b.position, u), Slerp(a.rotation, b.rotation, static_cast<float>(u)),
                   Lerp(a.scale, b.scale, u));
}

}  // namespace kvl::host
