// The memory host's matrices, meshes and materials where no export looks:
// flags and products of matrices no scene builds, normals the exporter works
// out for itself, and lookups out of range.
#include <gtest/gtest.h>

#include <cmath>

#include "host/matrix3.h"
#include "host/memory_materials.h"
#include "host/memory_objects.h"

namespace kvl::host {
namespace {

void ExpectRowsNear(const Matrix3& m, const Point3 (&rows)[4]) {
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(m[r][c], rows[r][c], 1e-6f) << "row " << r << " column " << c;
  }
}

// Scale (2, 3, 4), then 90 degrees about Z, then a move by (5, 6, 7).
const Matrix3 kGeneral({0, 2, 0}, {-3, 0, 0}, {0, 0, 4}, {5, 6, 7});

TEST(Matrix3, InverseUndoesTheProductFromBothSides) {
  const Matrix3 inv = Inverse(kGeneral);
  ExpectRowsNear(inv, {{0, -1.0f / 3, 0}, {0.5f, 0, 0}, {0, 0, 0.25f}, {-3, 5.0f / 3, -1.75f}});
  ExpectRowsNear(kGeneral * inv, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}});
  ExpectRowsNear(inv * kGeneral, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}});
}

TEST(Matrix3, FlagsAndParityFromTheElements) {
  const struct {
    Matrix3 m;
    uint32_t flags;
    bool parity;
  } cases[] = {
      {Matrix3({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}), MAT_IDENT, false},
      {Matrix3({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 2, 3}), ROT_IDENT | SCL_IDENT, false},
      {Matrix3({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {0, 0, 0}), POS_IDENT | SCL_IDENT, false},
      {Matrix3({2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {0, 0, 0}), POS_IDENT | ROT_IDENT, false},
      {Matrix3({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}), POS_IDENT | SCL_IDENT, true},
      {Matrix3({-1, 0, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, 0}), POS_IDENT | SCL_IDENT, false},
      {Matrix3({0, 1, 0}, {1, 0, 0}, {0, 0, 1}, {0, 0, 0}), POS_IDENT | SCL_IDENT, true},
  };
  for (const auto& c : cases) {
    Matrix3 m = c.m;
    m.SetIdentFlags(0);
    m.ValidateFlags();
    EXPECT_EQ(m.GetIdentFlags(), c.flags) << m.GetRow(0).x << " " << m.GetRow(0).y;
    EXPECT_EQ(m.Parity(), c.parity) << m.GetRow(0).x << " " << m.GetRow(0).y;
  }
  // Scaling the rows alone by a mirror undoes a mirror and keeps the move.
  Matrix3 unmirrored({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 2, 3});
  unmirrored.Scale({-1, -1, -1}, false);
  ExpectRowsNear(unmirrored, {{1, 0, 0}, {0, -1, 0}, {0, 0, -1}, {1, 2, 3}});
  EXPECT_FALSE(unmirrored.Parity());
}

TEST(Mesh, BuildNormalsSumsUnitFaceNormalsAtEachVertex) {
  Mesh mesh;
  mesh.verts = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 1}};
  mesh.faces.resize(2);
  mesh.faces[0].v[0] = 0, mesh.faces[0].v[1] = 1, mesh.faces[0].v[2] = 2;
  mesh.faces[1].v[0] = 0, mesh.faces[1].v[1] = 2, mesh.faces[1].v[2] = 3;
  mesh.buildNormals();
  EXPECT_EQ(mesh.getFaceNormal(0), Point3(0, 0, 1));
  // Face 1: (1,1,0) x (0,1,1) = (1, -1, 1), unit length; vertex 0 has both.
  const float k = 1.0f / std::sqrt(3.0f), len = std::sqrt(2 * k * k + (1 + k) * (1 + k));
  EXPECT_NEAR(mesh.getFaceNormal(1).y, -k, 1e-6f);
  EXPECT_EQ(mesh.getNormal(1), Point3(0, 0, 1));
  EXPECT_NEAR(mesh.getNormal(0).x, k / len, 1e-6f);
  EXPECT_NEAR(mesh.getNormal(0).z, (1 + k) / len, 1e-6f);
}

TEST(Materials, LookupsOutOfRangeGiveNothing) {
  MemoryStdMtl wood;
  wood.maps[ID_RL].state = 1;
  for (int slot : {-1, STD_NUM_MAPS}) {
    EXPECT_EQ(wood.GetMapState(slot), 0);
    EXPECT_EQ(wood.GetSubTexmap(slot), nullptr);
  }
  MemoryMultiMtl multi;
  multi.subMaterials = {&wood, nullptr};
  EXPECT_EQ(multi.GetSubMtl(0), &wood);
  for (int i : {-1, 1, 2}) EXPECT_EQ(multi.GetSubMtl(i), nullptr) << i;
}

}  // namespace
}  // namespace kvl::host
