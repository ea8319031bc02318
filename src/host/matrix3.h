// The host's transformation matrix: four rows of three floats, used with row
// vectors (p' = p x M), so A x B applies A first. Rows 0 to 2 are the axes,
// row 3 the translation. The flags word caches what is known to be identity.
#pragma once

#include <cstdint>

#include "host/point3.h"

namespace kvl::host {

inline constexpr uint32_t POS_IDENT = 1;  // translation is zero
inline constexpr uint32_t ROT_IDENT = 2;  // axes lie along x, y, z: no turn, no mirror
inline constexpr uint32_t SCL_IDENT = 4;  // every axis has length one
inline constexpr uint32_t MAT_IDENT = POS_IDENT | ROT_IDENT | SCL_IDENT;

class Matrix3 {
 public:
  // A zero matrix with no flags; Matrix3(true) is the identity.
  Matrix3() = default;
  explicit Matrix3(bool identity);
  Matrix3(const Point3& row0, const Point3& row1, const Point3& row2, const Point3& row3);

  void IdentityMatrix();
  bool IsIdentity() const { return (flags_ & MAT_IDENT) == MAT_IDENT; }

  Point3& operator[](int row) { return rows_[row]; }
  const Point3& operator[](int row) const { return rows_[row]; }
  Point3 GetRow(int row) const { return rows_[row]; }
  // Setting a row invalidates the flags that it could affect.
  void SetRow(int row, const Point3& p);
  Point3 GetTrans() const { return rows_[3]; }
  void SetTrans(const Point3& p) { SetRow(3, p); }

  uint32_t GetIdentFlags() const { return flags_; }
  void SetIdentFlags(uint32_t flags) { flags_ = flags; }
  void ClearIdentFlag(uint32_t flags) { flags_ &= ~flags; }
  // Recomputes the identity bits from the elements, by exact comparison.
  void ValidateFlags();

  // This matrix followed by B.
  Matrix3 operator*(const Matrix3& b) const;
  Matrix3& operator*=(const Matrix3& b) { return *this = *this * b; }

  // True if the axes form a left-handed frame (a mirror): negative determinant.
  bool Parity() const;
  // Follows the matrix with a scale by s along x, y and z; with trans false
  // the translation row is left as it is.
  void Scale(const Point3& s, bool trans = false);

  Point3 PointTransform(const Point3& p) const;
  Point3 VectorTransform(const Point3& p) const;

  // Element-wise equality, flags included.
  bool operator==(const Matrix3&) const = default;

 private:
  Point3 rows_[4];
  uint32_t flags_ = 0;
};

// The inverse of an affine matrix; a singular matrix gives non-finite values.
Matrix3 Inverse(const Matrix3& m);

inline Point3 operator*(const Point3& p, const Matrix3& m) { return m.PointTransform(p); }

}  // namespace kvl::host
