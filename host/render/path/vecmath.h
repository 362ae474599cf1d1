// Small vectors of floats for the renderer. Any thread.
#pragma once

#include <algorithm>
#include <cmath>

#include "c4d_math.h"
#include "mesh.h"

namespace host::render {

inline constexpr float pi = 3.14159265358979323846f;

struct Vec2 {
  float x = 0, y = 0;
  constexpr Vec2() = default;
  constexpr Vec2(float ax, float ay) : x(ax), y(ay) {}
  friend constexpr Vec2 operator+(Vec2 a, Vec2 b) { return {a.x + b.x, a.y + b.y}; }
  friend constexpr Vec2 operator-(Vec2 a, Vec2 b) { return {a.x - b.x, a.y - b.y}; }
  friend constexpr Vec2 operator*(Vec2 a, float s) { return {a.x * s, a.y * s}; }
};

/// A point, a direction, or a linear colour.
struct Vec3 {
  float x = 0, y = 0, z = 0;
  constexpr Vec3() = default;
  constexpr Vec3(float ax, float ay, float az) : x(ax), y(ay), z(az) {}
  explicit constexpr Vec3(float all) : x(all), y(all), z(all) {}
  constexpr Vec3(const Float3& v) : x(v[0]), y(v[1]), z(v[2]) {}
  explicit constexpr Vec3(const Vector& v)
      : x(static_cast<float>(v.x)), y(static_cast<float>(v.y)), z(static_cast<float>(v.z)) {}

  friend constexpr Vec3 operator+(Vec3 a, Vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
  friend constexpr Vec3 operator-(Vec3 a, Vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
  friend constexpr Vec3 operator-(Vec3 a) { return {-a.x, -a.y, -a.z}; }
  friend constexpr Vec3 operator*(Vec3 a, Vec3 b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
  friend constexpr Vec3 operator*(Vec3 a, float s) { return {a.x * s, a.y * s, a.z * s}; }
  friend constexpr Vec3 operator*(float s, Vec3 a) { return a * s; }
  friend constexpr Vec3 operator/(Vec3 a, float s) { return a * (1 / s); }
  constexpr Vec3& operator+=(Vec3 b) { return *this = *this + b; }
  constexpr Vec3& operator*=(Vec3 b) { return *this = *this * b; }
  constexpr Vec3& operator*=(float s) { return *this = *this * s; }
};

constexpr float dot(Vec3 a, Vec3 b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
constexpr Vec3 cross(Vec3 a, Vec3 b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline float length(Vec3 a) {
  return std::sqrt(dot(a, a));
}
/// Zero stays zero.
inline Vec3 normalize(Vec3 a) {
  const float square = dot(a, a);
  return square > 0 ? a * (1 / std::sqrt(square)) : a;
}
constexpr Vec3 lerp(Vec3 a, Vec3 b, float t) {
  return a * (1 - t) + b * t;
}
constexpr float lerp(float a, float b, float t) {
  return a * (1 - t) + b * t;
}
constexpr float maxComponent(Vec3 a) {
  return std::max(a.x, std::max(a.y, a.z));
}
constexpr Vec3 componentMax(Vec3 a, Vec3 b) {
  return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)};
}
inline Vec3 abs(Vec3 a) {
  return {std::abs(a.x), std::abs(a.y), std::abs(a.z)};
}
/// Rec. 709 luminance.
constexpr float luminance(Vec3 c) {
  return 0.2126f * c.x + 0.7152f * c.y + 0.0722f * c.z;
}
constexpr float clamp01(float v) {
  return v < 0 ? 0 : (v > 1 ? 1 : v);
}
constexpr float sqr(float v) {
  return v * v;
}
inline bool finite(Vec3 a) {
  return std::isfinite(a.x + a.y + a.z);
}
constexpr Vec3 lowest(Vec3 a, Vec3 b) {
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)};
}
constexpr Vec3 highest(Vec3 a, Vec3 b) {
  return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)};
}
constexpr bool isZero(Vec3 a) {
  return a.x == 0 && a.y == 0 && a.z == 0;
}
constexpr bool isBlack(Vec3 a) {
  return a.x <= 0 && a.y <= 0 && a.z <= 0;
}

/// An orthonormal basis around a unit normal, without a branch (Duff et al. 2017, "Building an Orthonormal
/// Basis, Revisited").
struct Frame {
  Vec3 s, t, n;
  Frame() = default;
  explicit Frame(Vec3 normal) : n(normal) {
    const float sign = std::copysign(1.0f, n.z);
    const float a = -1 / (sign + n.z), b = n.x * n.y * a;
    s = {1 + sign * n.x * n.x * a, sign * b, -sign * n.x};
    t = {b, sign + n.y * n.y * a, -n.y};
  }
  Vec3 toLocal(Vec3 v) const { return {dot(v, s), dot(v, t), dot(v, n)}; }
  Vec3 toWorld(Vec3 v) const { return s * v.x + t * v.y + n * v.z; }
};

/// An affine map in floats, with its inverse transpose for normals.
struct Transform {
  Vec3 v1{1, 0, 0}, v2{0, 1, 0}, v3{0, 0, 1}, off;
  Vec3 n1{1, 0, 0}, n2{0, 1, 0}, n3{0, 0, 1}; // columns of the inverse transpose, up to a positive factor

  Transform() = default;
  explicit Transform(const Matrix& m) : v1(m.v1), v2(m.v2), v3(m.v3), off(m.off) {
    const Vector c1 = Cross(m.v2, m.v3), c2 = Cross(m.v3, m.v1), c3 = Cross(m.v1, m.v2);
    const double sign = Dot(m.v1, c1) < 0 ? -1 : 1;
    n1 = Vec3(c1 * sign), n2 = Vec3(c2 * sign), n3 = Vec3(c3 * sign);
  }
  Vec3 point(Vec3 p) const { return v1 * p.x + v2 * p.y + v3 * p.z + off; }
  Vec3 vector(Vec3 p) const { return v1 * p.x + v2 * p.y + v3 * p.z; }
  /// Not of unit length. Keeps its side under a reflection.
  Vec3 normal(Vec3 p) const { return n1 * p.x + n2 * p.y + n3 * p.z; }
};

/// From the unit square to the unit disc (concentric map of Shirley and Chiu 1997).
inline Vec2 squareToDisc(Vec2 u) {
  const float a = 2 * u.x - 1, b = 2 * u.y - 1;
  if (a == 0 && b == 0) return {};
  const bool wide = std::abs(a) > std::abs(b);
  const float r = wide ? a : b;
  const float angle = wide ? (pi / 4) * (b / a) : pi / 2 - (pi / 4) * (a / b);
  return {r * std::cos(angle), r * std::sin(angle)};
}

/// A direction around +z with density cos / pi.
inline Vec3 squareToCosineHemisphere(Vec2 u) {
  const Vec2 d = squareToDisc(u);
  return {d.x, d.y, std::sqrt(std::max(0.0f, 1 - d.x * d.x - d.y * d.y))};
}

} // namespace host::render
