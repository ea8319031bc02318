// Points and colours of the host's interface: three floats each.
#pragma once

#include <cmath>

namespace kvl::host {

class Point3 {
 public:
  float x = 0.0f, y = 0.0f, z = 0.0f;

  constexpr Point3() = default;
  constexpr Point3(float ax, float ay, float az) : x(ax), y(ay), z(az) {}

  float& operator[](int i) { return i == 0 ? x : (i == 1 ? y : z); }
  float operator[](int i) const { return i == 0 ? x : (i == 1 ? y : z); }

  Point3 operator+(const Point3& p) const { return {x + p.x, y + p.y, z + p.z}; }
  Point3 operator-(const Point3& p) const { return {x - p.x, y - p.y, z - p.z}; }
  Point3 operator*(float f) const { return {x * f, y * f, z * f}; }
  bool operator==(const Point3&) const = default;

  float Length() const { return std::sqrt(x * x + y * y + z * z); }
};

inline float DotProd(const Point3& a, const Point3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

inline Point3 CrossProd(const Point3& a, const Point3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// A point on the screen.
class Point2 {
 public:
  float x = 0.0f, y = 0.0f;
  constexpr Point2() = default;
  constexpr Point2(float ax, float ay) : x(ax), y(ay) {}
  bool operator==(const Point2&) const = default;
};

// Map values (texture coordinates, vertex colours) are points too.
using UVVert = Point3;

// A colour as the host's materials give it: channels as floats, not clamped.
class Color {
 public:
  float r = 0.0f, g = 0.0f, b = 0.0f;
  constexpr Color() = default;
  constexpr Color(float ar, float ag, float ab) : r(ar), g(ag), b(ab) {}
  bool operator==(const Color&) const = default;
};

}  // namespace kvl::host
