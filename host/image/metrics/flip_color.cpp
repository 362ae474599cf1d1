#include "flip_color.h"

#include <cmath>

namespace host {
namespace {

struct Matrix {
  double m[3][3];

  Triple operator*(const Triple& v) const noexcept {
    const auto row = [&](const double* r) {
      return static_cast<float>(r[0] * static_cast<double>(v.x) + r[1] * static_cast<double>(v.y) +
                                r[2] * static_cast<double>(v.z));
    };
    return {row(m[0]), row(m[1]), row(m[2])};
  }
};

/// XYZ divided by the white point's, of linear Rec. 709: each row adds up to 1.
Matrix normalisedXyz() noexcept {
  Matrix matrix{{{0.4123907992659595, 0.357584339383878, 0.1804807884018343},
                 {0.2126390058715102, 0.715168678767756, 0.07219231536073371},
                 {0.01933081871559182, 0.11919477979462598, 0.9505321522496607}}};
  for (auto& row : matrix.m) {
    const double sum = row[0] + row[1] + row[2];
    for (double& value : row)
      value /= sum;
  }
  return matrix;
}

Matrix inverse(const Matrix& of) noexcept {
  const auto& m = of.m;
  const auto minor = [&](int r0, int r1, int c0, int c1) {
    return m[r0][c0] * m[r1][c1] - m[r0][c1] * m[r1][c0];
  };
  const double determinant =
      m[0][0] * minor(1, 2, 1, 2) - m[0][1] * minor(1, 2, 0, 2) + m[0][2] * minor(1, 2, 0, 1);
  Matrix made{{{minor(1, 2, 1, 2), -minor(0, 2, 1, 2), minor(0, 1, 1, 2)},
               {-minor(1, 2, 0, 2), minor(0, 2, 0, 2), -minor(0, 1, 0, 2)},
               {minor(1, 2, 0, 1), -minor(0, 2, 0, 1), minor(0, 1, 0, 1)}}};
  for (auto& row : made.m)
    for (double& value : row)
      value /= determinant;
  return made;
}

const Matrix& toXyz() noexcept {
  static const Matrix matrix = normalisedXyz();
  return matrix;
}
const Matrix& fromXyz() noexcept {
  static const Matrix matrix = inverse(toXyz());
  return matrix;
}

/// The compression of CIE L*a*b*.
float labCurve(float t) noexcept {
  constexpr float delta = 6.0f / 29;
  return t > delta * delta * delta ? std::cbrt(t) : t / (3 * delta * delta) + 4.0f / 29;
}

} // namespace

Triple toOpponent(const Triple& rgb) noexcept {
  const Triple xyz = toXyz() * rgb;
  return {116 * xyz.y - 16, 500 * (xyz.x - xyz.y), 200 * (xyz.y - xyz.z)};
}

Triple fromOpponent(const Triple& opponent) noexcept {
  const float y = (opponent.x + 16) / 116;
  return fromXyz() * Triple{y + opponent.y / 500, y, y - opponent.z / 200};
}

Triple toHuntLab(const Triple& rgb) noexcept {
  const Triple xyz = toXyz() * rgb;
  const float x = labCurve(xyz.x), y = labCurve(xyz.y), z = labCurve(xyz.z);
  const float lightness = 116 * y - 16, hunt = 0.01f * lightness;
  return {lightness, hunt * 500 * (x - y), hunt * 200 * (y - z)};
}

float hyab(const Triple& a, const Triple& b) noexcept {
  return std::abs(a.x - b.x) + std::hypot(a.y - b.y, a.z - b.z);
}

} // namespace host
