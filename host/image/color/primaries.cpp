#include "primaries.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

using Point = Primaries::Point;
using Column = std::array<double, 3>;
using Matrix = std::array<Column, 3>; // rows

constexpr Matrix bradford{{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};

Column operator*(const Matrix& m, const Column& v) {
  Column out{};
  for (std::size_t row = 0; row < 3; ++row)
    out[row] = m[row][0] * v[0] + m[row][1] * v[1] + m[row][2] * v[2];
  return out;
}

Matrix operator*(const Matrix& a, const Matrix& b) {
  Matrix out{};
  for (std::size_t row = 0; row < 3; ++row)
    for (std::size_t column = 0; column < 3; ++column)
      for (std::size_t i = 0; i < 3; ++i)
        out[row][column] += a[row][i] * b[i][column];
  return out;
}

Matrix diagonal(const Column& v) {
  return {{{v[0], 0, 0}, {0, v[1], 0}, {0, 0, v[2]}}};
}

// Not finite for a singular matrix.
Matrix inverse(const Matrix& m) {
  const auto minorOf = [&](std::size_t r, std::size_t c) {
    const std::size_t r1 = (r + 1) % 3, r2 = (r + 2) % 3, c1 = (c + 1) % 3, c2 = (c + 2) % 3;
    return m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
  };
  const double determinant = m[0][0] * minorOf(0, 0) + m[0][1] * minorOf(0, 1) + m[0][2] * minorOf(0, 2);
  Matrix out{};
  for (std::size_t row = 0; row < 3; ++row)
    for (std::size_t column = 0; column < 3; ++column)
      out[row][column] = minorOf(column, row) / determinant;
  return out;
}

// XYZ with a luminance of 1.
Column xyz(const Point& p) {
  return {p[0] / p[1], 1, (1 - p[0] - p[1]) / p[1]};
}

// Linear light to XYZ: red, green and blue of 1 make white.
Matrix toXyz(const Primaries& p) {
  const Column red = xyz(p.red), green = xyz(p.green), blue = xyz(p.blue);
  const Matrix lights{
      {{red[0], green[0], blue[0]}, {red[1], green[1], blue[1]}, {red[2], green[2], blue[2]}}};
  return lights * diagonal(inverse(lights) * xyz(p.white));
}

Matrix adaptation(const Point& from, const Point& to) {
  const Column source = bradford * xyz(from), target = bradford * xyz(to);
  return inverse(bradford) * diagonal({target[0] / source[0], target[1] / source[1], target[2] / source[2]}) *
         bradford;
}

bool same(const Point& a, const Point& b) {
  return std::abs(a[0] - b[0]) < 1e-3 && std::abs(a[1] - b[1]) < 1e-3;
}

} // namespace

std::optional<ColorMatrix> toRec709(const Primaries& p) {
  const Primaries ours;
  if (same(p.red, ours.red) && same(p.green, ours.green) && same(p.blue, ours.blue) &&
      same(p.white, ours.white))
    return std::nullopt;
  const Matrix m = inverse(toXyz(ours)) * adaptation(p.white, ours.white) * toXyz(p);
  ColorMatrix out{};
  for (std::size_t row = 0; row < 3; ++row)
    for (std::size_t column = 0; column < 3; ++column)
      out[3 * row + column] = static_cast<float>(m[row][column]);
  constexpr float most = 100; // beyond, the lights lie in a line or have no luminance
  const bool usable = std::all_of(out.begin(), out.end(), [](float v) { return std::abs(v) < most; });
  return usable ? std::optional(out) : std::nullopt;
}

} // namespace host
