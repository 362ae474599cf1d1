// sRGB (IEC 61966-2-1): between linear light and encoded values. Every such conversion goes through here. Any
// thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace host {

/// The linear light of an encoded value and back, both 0 to 1. The functions continue the curve for other
/// values; below 0 that is the straight part.
double srgbToLinear(double encoded) noexcept;
double linearToSrgb(double linear) noexcept;

/// The one display transform: linear light to an 8-bit sRGB code, cut to 0 and 1, rounded. NaN gives 0.
unsigned char toDisplay(float linear) noexcept;
/// The same for many values.
void toDisplay(const float* linear, unsigned char* codes, std::size_t count) noexcept;

/// The linear light of an 8-bit code, 0 to 1. The exact inverse: toDisplay(fromDisplay(c)) == c.
float fromDisplay(unsigned char code) noexcept;

/// The same with 16-bit codes: the light of every code, and the code of linear light.
const std::array<float, 65536>& lightOfWords() noexcept;
std::uint16_t toDisplayWord(float linear) noexcept;

} // namespace host
