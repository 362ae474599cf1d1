#include "display_transform.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

namespace host {

double srgbToLinear(double encoded) noexcept {
  return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

double linearToSrgb(double linear) noexcept {
  return linear <= 0.0031308 ? linear * 12.92 : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

namespace {

float nextUp(float value) {
  return std::bit_cast<float>(std::bit_cast<std::uint32_t>(value) + 1);
}

/// A code begins at the linear value whose encoded value lies half a step below it. Floats of one bucket
/// share sign, exponent and the first seven bits of the fraction; a bucket is narrower than a code, so at
/// most two comparisons follow the look-up.
struct Table {
  static constexpr int shift = 16;
  std::array<float, 257> start{};  // start[c]: the smallest float of code c; start[256] is never reached
  std::array<float, 256> linear{}; // the light of each code
  std::uint32_t first = 0;         // bucket of start[1]
  std::array<unsigned char, 2048> bucket{}; // lowest code of each bucket

  Table() {
    for (int code = 0; code < 256; ++code)
      linear[static_cast<std::size_t>(code)] = static_cast<float>(srgbToLinear(code / 255.0));
    for (int code = 1; code < 256; ++code) {
      const double exact = srgbToLinear((code - 0.5) / 255.0);
      auto rounded = static_cast<float>(exact);
      if (static_cast<double>(rounded) < exact) rounded = nextUp(rounded);
      start[static_cast<std::size_t>(code)] = rounded;
    }
    start[256] = 2;
    first = std::bit_cast<std::uint32_t>(start[1]) >> shift;
    std::size_t code = 0;
    for (std::size_t i = 0; i < bucket.size(); ++i) {
      const auto lowest = std::bit_cast<float>((first + static_cast<std::uint32_t>(i)) << shift);
      while (code < 255 && lowest >= start[code + 1])
        ++code;
      bucket[i] = static_cast<unsigned char>(code);
    }
  }
};

const Table& table() noexcept {
  static const Table made;
  return made;
}

} // namespace

unsigned char toDisplay(float linear) noexcept {
  const Table& t = table();
  if (!(linear >= t.start[1])) return 0; // NaN too
  if (linear >= t.start[255]) return 255;
  std::size_t code = t.bucket[(std::bit_cast<std::uint32_t>(linear) >> Table::shift) - t.first];
  while (linear >= t.start[code + 1])
    ++code;
  return static_cast<unsigned char>(code);
}

float fromDisplay(unsigned char code) noexcept {
  return table().linear[code];
}

} // namespace host
