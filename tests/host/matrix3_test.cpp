// The host matrix against matrices worked out by hand.
#include <gtest/gtest.h>

#include "host/matrix3.h"

namespace kvl::host {
namespace {

void ExpectRowsNear(const Matrix3& m, const Point3 (&rows)[4], float tolerance = 1e-6f) {
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(m[r][c], rows[r][c], tolerance) << "row " << r << " column " << c;
  }
}

Matrix3 Translation(float x, float y, float z) {
  Matrix3 m(true);
  m.SetTrans({x, y, z});
  m.ValidateFlags();
  return m;
}

// 90 degrees about Z: +X turns into +Y.
const Matrix3 kTurnZ({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {0, 0, 0});

TEST(Matrix3, ProductAppliesTheLeftFactorFirst) {
  const Matrix3 moveThenTurn = Translation(1, 2, 3) * kTurnZ;
  ExpectRowsNear(moveThenTurn, {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {-2, 1, 3}});
  EXPECT_EQ(moveThenTurn.PointTransform({1, 0, 0}), Point3(-2, 2, 3));

  const Matrix3 turnThenMove = kTurnZ * Translation(1, 2, 3);
  ExpectRowsNear(turnThenMove, {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {1, 2, 3}});
  EXPECT_EQ(turnThenMove.PointTransform({1, 0, 0}), Point3(1, 3, 3));
  EXPECT_EQ(Point3(1, 0, 0) * turnThenMove, Point3(1, 3, 3));
}

TEST(Matrix3, InverseOfScaleRotationAndTranslation) {
  // Scale (2, 3, 4), then 90 degrees about Z, then a move by (5, 6, 7).
  const Matrix3 m({0, 2, 0}, {-3, 0, 0}, {0, 0, 4}, {5, 6, 7});
  const Matrix3 inv = Inverse(m);
  ExpectRowsNear(inv, {{0, -1.0f / 3, 0}, {0.5f, 0, 0}, {0, 0, 0.25f}, {-3, 5.0f / 3, -1.75f}});
  ExpectRowsNear(m * inv, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}});
  ExpectRowsNear(inv * m, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}});
  const Point3 p = Point3(1, -2, 0.5f) * m * inv;
  EXPECT_NEAR(p.x, 1, 1e-6);
  EXPECT_NEAR(p.y, -2, 1e-6);
  EXPECT_NEAR(p.z, 0.5, 1e-6);
}

TEST(Matrix3, ParityTellsMirrors) {
  EXPECT_FALSE(Matrix3(true).Parity());
  EXPECT_FALSE(kTurnZ.Parity());
  const Matrix3 mirror({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {4, 5, 6});
  EXPECT_TRUE(mirror.Parity());
  const Matrix3 doubleMirror({-1, 0, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, 0});
  EXPECT_FALSE(doubleMirror.Parity());
  EXPECT_TRUE((mirror * kTurnZ).Parity());
  EXPECT_FALSE((mirror * mirror).Parity());
}

TEST(Matrix3, ValidateFlagsFromTheElements) {
  Matrix3 identity({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0});
  identity.SetIdentFlags(0);
  identity.ValidateFlags();
  EXPECT_EQ(identity.GetIdentFlags(), POS_IDENT | ROT_IDENT | SCL_IDENT);
  EXPECT_TRUE(identity.IsIdentity());

  Matrix3 translation = Translation(1, 2, 3);
  EXPECT_EQ(translation.GetIdentFlags(), ROT_IDENT | SCL_IDENT);

  Matrix3 rotation = kTurnZ;
  rotation.SetIdentFlags(MAT_IDENT);
  rotation.ValidateFlags();
  EXPECT_EQ(rotation.GetIdentFlags(), POS_IDENT | SCL_IDENT);

  const Matrix3 scale({2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {0, 0, 0});
  EXPECT_EQ(scale.GetIdentFlags(), POS_IDENT | ROT_IDENT);
  const Matrix3 mirror({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0});
  EXPECT_EQ(mirror.GetIdentFlags(), POS_IDENT | SCL_IDENT);

  EXPECT_EQ(Matrix3().GetIdentFlags(), 0u);
  EXPECT_EQ(Matrix3(true).GetIdentFlags(), MAT_IDENT);
}

TEST(Matrix3, ScaleWithAndWithoutTranslation) {
  const Matrix3 m({0, 2, 0}, {-3, 0, 0}, {0, 0, 4}, {5, 6, 7});
  Matrix3 rowsOnly = m;
  rowsOnly.Scale({1, -2, 0.5f}, false);
  ExpectRowsNear(rowsOnly, {{0, -4, 0}, {-3, 0, 0}, {0, 0, 2}, {5, 6, 7}});
  EXPECT_TRUE(rowsOnly.Parity());

  Matrix3 all = m;
  all.Scale({1, -2, 0.5f}, true);
  ExpectRowsNear(all, {{0, -4, 0}, {-3, 0, 0}, {0, 0, 2}, {5, -12, 3.5f}});

  Matrix3 unmirrored({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 2, 3});
  unmirrored.Scale({-1, -1, -1}, false);
  ExpectRowsNear(unmirrored, {{1, 0, 0}, {0, -1, 0}, {0, 0, -1}, {1, 2, 3}});
  EXPECT_FALSE(unmirrored.Parity());
}

TEST(Matrix3, RowsAndFlags) {
  Matrix3 m(true);
  m.SetRow(3, {1, 2, 3});
  EXPECT_EQ(m.GetRow(3), Point3(1, 2, 3));
  EXPECT_EQ(m.GetIdentFlags(), ROT_IDENT | SCL_IDENT);
  m.SetRow(0, {2, 0, 0});
  EXPECT_EQ(m.GetRow(0), Point3(2, 0, 0));
  EXPECT_EQ(m.GetIdentFlags(), 0u);
  m.ValidateFlags();
  EXPECT_EQ(m.GetIdentFlags(), ROT_IDENT);
  m.ClearIdentFlag(ROT_IDENT);
  EXPECT_EQ(m.GetIdentFlags(), 0u);
  EXPECT_EQ(m.PointTransform({1, 1, 1}), Point3(3, 3, 4));
  EXPECT_EQ(m.VectorTransform({1, 1, 1}), Point3(2, 1, 1));
}

}  // namespace
}  // namespace kvl::host
