// Vectors and matrices of doubles. Right-handed, y up, metres, radians. Any thread.
#pragma once

#include "c4d_types.h"

/// Three doubles; as a colour red, green, blue with 0 to 1 for the displayable range.
struct Vector {
  Real x = 0, y = 0, z = 0;

  constexpr Vector() noexcept = default;
  constexpr Vector(Real ax, Real ay, Real az) noexcept : x(ax), y(ay), z(az) {}
  explicit constexpr Vector(Real all) noexcept : x(all), y(all), z(all) {}

  constexpr Vector& operator+=(const Vector& b) noexcept { return x += b.x, y += b.y, z += b.z, *this; }
  constexpr Vector& operator-=(const Vector& b) noexcept { return x -= b.x, y -= b.y, z -= b.z, *this; }
  constexpr Vector& operator*=(Real s) noexcept { return x *= s, y *= s, z *= s, *this; }
  friend constexpr Vector operator+(Vector a, const Vector& b) noexcept { return a += b; }
  friend constexpr Vector operator-(Vector a, const Vector& b) noexcept { return a -= b; }
  friend constexpr Vector operator-(const Vector& a) noexcept { return {-a.x, -a.y, -a.z}; }
  friend constexpr Vector operator*(Vector a, Real s) noexcept { return a *= s; }
  friend constexpr Vector operator*(Real s, Vector a) noexcept { return a *= s; }
  friend constexpr bool operator==(const Vector& a, const Vector& b) noexcept {
    return a.x == b.x && a.y == b.y && a.z == b.z;
  }
  friend constexpr bool operator!=(const Vector& a, const Vector& b) noexcept { return !(a == b); }
};

using LVector = Vector;

/// Dot product.
constexpr Real Dot(const Vector& a, const Vector& b) noexcept {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Cross product.
constexpr Vector Cross(const Vector& a, const Vector& b) noexcept {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// An affine map: `m * p` is `off + v1 * p.x + v2 * p.y + v3 * p.z`.
struct Matrix {
  Vector off;
  Vector v1{1, 0, 0};
  Vector v2{0, 1, 0};
  Vector v3{0, 0, 1};

  constexpr Matrix() noexcept = default;
  constexpr Matrix(const Vector& o, const Vector& a, const Vector& b, const Vector& c) noexcept
      : off(o), v1(a), v2(b), v3(c) {}

  /// A direction: like `*` without the offset.
  constexpr Vector TransformVector(const Vector& d) const noexcept { return v1 * d.x + v2 * d.y + v3 * d.z; }

  friend constexpr Vector operator*(const Matrix& m, const Vector& p) noexcept {
    return m.off + m.TransformVector(p);
  }
  /// `(a * b) * p == a * (b * p)`.
  friend constexpr Matrix operator*(const Matrix& a, const Matrix& b) noexcept {
    return {a * b.off, a.TransformVector(b.v1), a.TransformVector(b.v2), a.TransformVector(b.v3)};
  }
  friend constexpr bool operator==(const Matrix& a, const Matrix& b) noexcept {
    return a.off == b.off && a.v1 == b.v1 && a.v2 == b.v2 && a.v3 == b.v3;
  }
  friend constexpr bool operator!=(const Matrix& a, const Matrix& b) noexcept { return !(a == b); }

  /// The inverse map; the identity when the three axes span no volume.
  constexpr Matrix Inverse() const noexcept {
    const Vector c1 = Cross(v2, v3), c2 = Cross(v3, v1), c3 = Cross(v1, v2);
    const Real det = Dot(v1, c1);
    if (det == 0) return {};
    const Real s = 1 / det;
    Matrix inverse({}, Vector(c1.x, c2.x, c3.x) * s, Vector(c1.y, c2.y, c3.y) * s,
                   Vector(c1.z, c2.z, c3.z) * s);
    inverse.off = -inverse.TransformVector(off);
    return inverse;
  }
};

using LMatrix = Matrix;

/// A movement by `offset`.
constexpr Matrix MatrixMove(const Vector& offset) noexcept {
  Matrix m;
  m.off = offset;
  return m;
}
