// Colours of other red, green and blue lights than Rec. 709's.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

namespace host {

/// CIE 1931 xy of the three lights and of their white.
struct Primaries {
  using Point = std::array<double, 2>;
  Point red{0.64, 0.33}, green{0.3, 0.6}, blue{0.15, 0.06}, white{0.3127, 0.329}; // Rec. 709, D65
};

/// Row after row, for a column of red, green and blue.
using ColorMatrix = std::array<float, 9>;

/// Linear light of these primaries to that of Rec. 709. White becomes white by Bradford's adaptation (Lam
/// 1985; ICC.1:2010, annex E). Nothing when the primaries are Rec. 709's, to a thousandth, or describe no
/// colours.
std::optional<ColorMatrix> toRec709(const Primaries& primaries);

/// Red, green and blue of a pixel, in place.
inline void changePrimaries(float* rgb, const ColorMatrix& m) noexcept {
  const float r = rgb[0], g = rgb[1], b = rgb[2];
  for (std::size_t row = 0; row < 3; ++row)
    rgb[row] = m[3 * row] * r + m[3 * row + 1] * g + m[3 * row + 2] * b;
}

} // namespace host
