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
/// share sign, exponent and the first seven bits of the fraction; a bucket is narrower than a code, so one
/// comparison follows the look-up.
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

/// The curve's upper part by 256 straight pieces a stop, a thirtieth of a code off at most.
struct WordTable {
  static constexpr int stops = 9, shift = 15;
  static constexpr float from = 1.0f / 512, straightUpTo = 0.0031308f;
  std::array<float, (stops << 8) + 1> codes{};

  WordTable() {
    for (std::size_t i = 0; i < codes.size(); ++i) {
      const auto light =
          std::bit_cast<float>(std::bit_cast<std::uint32_t>(from) + (static_cast<std::uint32_t>(i) << shift));
      codes[i] = static_cast<float>(65535 * (1.055 * std::pow(static_cast<double>(light), 1 / 2.4) - 0.055));
    }
  }
  float codeOf(float light) const noexcept {
    const std::uint32_t place = std::bit_cast<std::uint32_t>(light) - std::bit_cast<std::uint32_t>(from);
    const std::size_t node = place >> shift;
    constexpr std::uint32_t whole = 1u << shift;
    const float part = static_cast<float>(place & (whole - 1)) / static_cast<float>(whole);
    return codes[node] + part * (codes[node + 1] - codes[node]);
  }
};

} // namespace

namespace {

// Without branches: neighbouring pixels differ.
inline unsigned char codeOf(const Table& t, float linear) noexcept {
  const auto least = std::bit_cast<float>(t.first << Table::shift);
  const float above = linear > least ? linear : least; // NaN too
  const float light = above < t.start[255] ? above : t.start[255];
  std::size_t code = t.bucket[(std::bit_cast<std::uint32_t>(light) >> Table::shift) - t.first];
  code += light >= t.start[code + 1] ? 1 : 0;
  return static_cast<unsigned char>(code);
}

} // namespace

unsigned char toDisplay(float linear) noexcept {
  return codeOf(table(), linear);
}

void toDisplay(const float* linear, unsigned char* codes, std::size_t count) noexcept {
  const Table& t = table();
  for (std::size_t i = 0; i < count; ++i)
    codes[i] = codeOf(t, linear[i]);
}

float fromDisplay(unsigned char code) noexcept {
  return table().linear[code];
}

const std::array<float, 65536>& lightOfWords() noexcept {
  static const std::array<float, 65536> light = [] {
    std::array<float, 65536> made{};
    for (std::size_t code = 0; code < made.size(); ++code)
      made[code] = static_cast<float>(srgbToLinear(static_cast<double>(code) / 65535));
    return made;
  }();
  return light;
}

std::uint16_t toDisplayWord(float linear) noexcept {
  if (!(linear > 0)) return 0; // NaN too
  if (linear >= 1) return 65535;
  static const WordTable words;
  const float code = linear <= WordTable::straightUpTo ? linear * (12.92f * 65535) : words.codeOf(linear);
  return static_cast<std::uint16_t>(code + 0.5f);
}

} // namespace host
