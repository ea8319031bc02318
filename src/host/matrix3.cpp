#include "host/matrix3.h"

namespace kvl::host {

Matrix3::Matrix3(bool identity) {
  if (identity) IdentityMatrix();
}

Matrix3::Matrix3(const Point3& row0, const Point3& row1, const Point3& row2, const Point3& row3)
    : rows_{row0, row1, row2, row3} {
  ValidateFlags();
}

void Matrix3::IdentityMatrix() {
  rows_[0] = {1, 0, 0};
  rows_[1] = {0, 1, 0};
  rows_[2] = {0, 0, 1};
  rows_[3] = {0, 0, 0};
  flags_ = MAT_IDENT;
}

void Matrix3::SetRow(int row, const Point3& p) {
  rows_[row] = p;
  flags_ &= row == 3 ? ~POS_IDENT : ~(ROT_IDENT | SCL_IDENT);
}

void Matrix3::ValidateFlags() {
  flags_ &= ~MAT_IDENT;
  if (rows_[3] == Point3(0, 0, 0)) flags_ |= POS_IDENT;

  bool alongAxes = true;
  bool unitAxes = true;
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) {
      const float e = rows_[r][c];
      if (r == c ? !(e > 0.0f) : e != 0.0f) alongAxes = false;
    }
    const double x = rows_[r].x, y = rows_[r].y, z = rows_[r].z;
    if (x * x + y * y + z * z != 1.0) unitAxes = false;
  }
  if (alongAxes) flags_ |= ROT_IDENT;
  if (unitAxes) flags_ |= SCL_IDENT;
}

Matrix3 Matrix3::operator*(const Matrix3& b) const {
  Matrix3 out;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 3; ++c) {
      double sum = double(rows_[r][0]) * b.rows_[0][c] + double(rows_[r][1]) * b.rows_[1][c] +
                   double(rows_[r][2]) * b.rows_[2][c];
      if (r == 3) sum += b.rows_[3][c];
      out.rows_[r][c] = static_cast<float>(sum);
    }
  }
  // What is identity in both factors stays identity in the product.
  out.flags_ = flags_ & b.flags_ & MAT_IDENT;
  return out;
}

namespace {
double Determinant3(const Point3* r) {
  return double(r[0].x) * (double(r[1].y) * r[2].z - double(r[1].z) * r[2].y) -
         double(r[0].y) * (double(r[1].x) * r[2].z - double(r[1].z) * r[2].x) +
         double(r[0].z) * (double(r[1].x) * r[2].y - double(r[1].y) * r[2].x);
}
}  // namespace

bool Matrix3::Parity() const { return Determinant3(rows_) < 0.0; }

void Matrix3::Scale(const Point3& s, bool trans) {
  const int last = trans ? 4 : 3;
  for (int r = 0; r < last; ++r) {
    rows_[r] = {rows_[r].x * s.x, rows_[r].y * s.y, rows_[r].z * s.z};
  }
  ValidateFlags();
}

Point3 Matrix3::PointTransform(const Point3& p) const { return VectorTransform(p) + rows_[3]; }

Point3 Matrix3::VectorTransform(const Point3& p) const {
  Point3 out;
  for (int c = 0; c < 3; ++c) {
    out[c] = static_cast<float>(double(p.x) * rows_[0][c] + double(p.y) * rows_[1][c] + double(p.z) * rows_[2][c]);
  }
  return out;
}

Matrix3 Inverse(const Matrix3& m) {
  // The 3x3 part by cofactors, then the translation carried back through it.
  double a[3][3];
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) a[r][c] = m[r][c];
  const double det = a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) -
                     a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
                     a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
  double inv[3][3];
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) {
      // inv[r][c] = cofactor(c, r) / det
      const int r1 = (c + 1) % 3, r2 = (c + 2) % 3, c1 = (r + 1) % 3, c2 = (r + 2) % 3;
      inv[r][c] = (a[r1][c1] * a[r2][c2] - a[r1][c2] * a[r2][c1]) / det;
    }
  }
  Matrix3 out;
  for (int r = 0; r < 3; ++r) out[r] = {float(inv[r][0]), float(inv[r][1]), float(inv[r][2])};
  const Point3 t = m[3];
  for (int c = 0; c < 3; ++c) {
    out[3][c] = static_cast<float>(-(t.x * inv[0][c] + t.y * inv[1][c] + t.z * inv[2][c]));
  }
  out.ValidateFlags();
  return out;
}

}  // namespace kvl::host
