#include "translate/coordinates.h"

#include <cmath>
#include <cstring>

namespace kvl {
namespace {

using host::Matrix3;
using host::Point3;

// Unit length, row by row; a zero row becomes non-finite, as the host would.
void NormalizeAxes(Matrix3& m) {
  for (int r = 0; r < 3; ++r) {
    const Point3 row = m.GetRow(r);
    const float length = std::sqrt(row.x * row.x + row.y * row.y + row.z * row.z);
    m.SetRow(r, Point3(row.x / length, row.y / length, row.z / length));
  }
}

bool SameRowsBitForBit(const Matrix3& a, const Matrix3& b) {
  for (int r = 0; r < 4; ++r) {
    const Point3 ra = a.GetRow(r), rb = b.GetRow(r);
    if (std::memcmp(&ra, &rb, sizeof(Point3)) != 0) return false;
  }
  return true;
}

float RowLength(const Point3& p) { return std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z); }

}  // namespace

Matrix3 ObjectWorldTM(host::INode* node, host::TimeValue t, const ExportSettings& settings) {
  Matrix3 m = node->GetObjTMAfterWSM(t);
  // A world-space modifier leaves an identity here; the flags alone tell.
  if ((m.GetIdentFlags() & host::MAT_IDENT) == host::MAT_IDENT) m = node->GetObjTMBeforeWSM(t);
  if (settings.removescaling) NormalizeAxes(m);
  return m;
}

void LocalTransform(host::INode* node, host::TimeValue t, PRSTransform& out, const ExportSettings& settings) {
  const Matrix3 world = ObjectWorldTM(node, t, settings);
  Matrix3 local;
  if (node->IsRootNode()) {
    local = world;
  } else {
    const Matrix3 parent = ObjectWorldTM(node->GetParentNode(), t, settings);
    // Equal matrices give the exact identity, free of inversion noise.
    local = SameRowsBitForBit(world, parent) ? Matrix3(true) : world * host::Inverse(parent);
  }
  // A transform cannot carry a mirror: the mesh's corners make up for it.
  if (local.Parity()) local.Scale(Point3(-1.0f, -1.0f, -1.0f), false);

  // Output axes: swap rows 1 and 2 and, in every row, elements 1 and 2.
  Matrix3 c;
  const int source[4] = {0, 2, 1, 3};
  for (int r = 0; r < 4; ++r) {
    const Point3 row = local.GetRow(source[r]);
    c.SetRow(r, Point3(row.x, row.z, row.y));
  }
  c.SetIdentFlags(0);
  c.ValidateFlags();

  const Point3 position = c.GetRow(3);
  out.position[0] = position.x * settings.scale;
  out.position[1] = position.y * settings.scale;
  out.position[2] = position.z * settings.scale;
  // Scale values stay ratios: the export scale does not touch them.
  for (int r = 0; r < 3; ++r) out.scale[r] = RowLength(c.GetRow(r));
  NormalizeAxes(c);
  const Point3 rows[3] = {c.GetRow(0), c.GetRow(1), c.GetRow(2)};
  QuaternionFromRows(rows, out.rotation);
}

void QuaternionFromRows(const Point3 m[3], float q[4]) {
  const float trace = m[0][0] + m[1][1] + m[2][2];
  // The 1.0 and 0.5 are f32 constants: the sum under the root is rounded to
  // f32 first, which decides the last bit of a component now and then.
  if (trace > 0.0f) {
    const float s = std::sqrt(trace + 1.0f);
    q[3] = s * 0.5f;
    const float k = static_cast<float>(0.5 / s);
    q[0] = (m[1][2] - m[2][1]) * k;
    q[1] = (m[2][0] - m[0][2]) * k;
    q[2] = (m[0][1] - m[1][0]) * k;
    return;
  }
  static constexpr int next[3] = {1, 2, 0};
  int i = 0;
  if (m[1][1] > m[0][0]) i = 1;
  if (m[2][2] > m[i][i]) i = 2;
  const int j = next[i];
  const int k = next[j];
  const float s = std::sqrt(m[i][i] - (m[k][k] + m[j][j]) + 1.0f);
  q[i] = s * 0.5f;
  const float f = s != 0.0f ? static_cast<float>(0.5 / s) : s;
  q[3] = (m[j][k] - m[k][j]) * f;
  q[j] = (m[i][j] + m[j][i]) * f;
  q[k] = (m[i][k] + m[k][i]) * f;
}

MeshBake MeshBakeMatrix(host::INode* node, const ExportSettings& settings) {
  MeshBake bake;
  const Matrix3 world = ObjectWorldTM(node, 0, settings);
  bake.matrix = node->GetObjectTM(0) * host::Inverse(world);
  // The node's world matrix decides, so a child of a mirrored parent counts
  // as mirrored although its local matrix is not.
  bake.mirrored = node->GetNodeTM(0).Parity();
  if (bake.mirrored) bake.matrix.Scale(Point3(-1.0f, -1.0f, -1.0f), false);
  return bake;
}

void ConvertVertex(const host::Mesh& mesh, int index, const Matrix3& bake, float scale, float out[3]) {
  const Point3 p = bake.PointTransform(mesh.verts[static_cast<size_t>(index)]);
  out[0] = p.x * scale;
  out[1] = p.z * scale;
  out[2] = p.y * scale;
}

}  // namespace kvl
