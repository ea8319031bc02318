// Texture coordinates shifted by whole numbers toward the origin: what a
// repeating texture shows does not change, and small numbers keep their
// precision in 32-bit floats.
#include <cmath>

#include "optimize/optimize.h"

namespace kvl {

void RecentreUVs(VertexList& list) {
  if (!(list.flags & VERTEX_UV) || list.vertices.empty()) return;
  float sumU = 0.0f, sumV = 0.0f;
  for (const Vertex& v : list.vertices) {
    sumU += v.u;
    sumV += v.v;
  }
  const float count = static_cast<float>(list.vertices.size());
  const float shiftU = std::floor(sumU / count);
  const float shiftV = std::floor(sumV / count);
  for (Vertex& v : list.vertices) {
    v.u -= shiftU;
    v.v -= shiftV;
  }
}

void RecentreTriangleUVs(TriangleInfoBufferNode& buffer) {
  if (!(buffer.flags & TRIANGLE_UVS)) return;
  constexpr float kThird = 0.33333334f;
  for (TriangleInfo& t : buffer.triangles) {
    float* uv = t.cornerUVs;  // u1 v1 u2 v2 u3 v3
    const float shiftU = std::floor((uv[2] + uv[4] + uv[0]) * kThird);
    const float shiftV = std::floor((uv[3] + uv[5] + uv[1]) * kThird);
    for (int c = 0; c < 3; ++c) {
      uv[2 * c] -= shiftU;
      uv[2 * c + 1] -= shiftV;
    }
  }
}

}  // namespace kvl
