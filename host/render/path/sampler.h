// Sample points of a pixel: two-dimensional Sobol (0, 2) sequences, and one of four dimensions for the place
// in the pixel with the first scattered direction. A hash of pixel, seed and dimension gives each its Owen
// scrambling and order (Burley 2020, "Practical Hash-based Owen Scrambling"). Values depend on
// nothing else, so any number of threads renders the same picture.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include "vecmath.h"

namespace host::render {

/// A well-mixed 32-bit hash (finaliser of the kind found by Wellons 2018, "lowbias32").
constexpr std::uint32_t hash32(std::uint32_t x) {
  x ^= x >> 16;
  x *= 0x7feb352du;
  x ^= x >> 15;
  x *= 0x846ca68bu;
  return x ^ (x >> 16);
}
constexpr std::uint32_t hashMore(std::uint32_t seed, std::uint32_t value) {
  return hash32(seed ^ (value + 0x9e3779b9u + (seed << 6) + (seed >> 2)));
}

constexpr std::uint32_t reverseBits(std::uint32_t x) {
  x = ((x >> 1) & 0x55555555u) | ((x & 0x55555555u) << 1);
  x = ((x >> 2) & 0x33333333u) | ((x & 0x33333333u) << 2);
  x = ((x >> 4) & 0x0f0f0f0fu) | ((x & 0x0f0f0f0fu) << 4);
  x = ((x >> 8) & 0x00ff00ffu) | ((x & 0x00ff00ffu) << 8);
  return (x >> 16) | (x << 16);
}

/// Owen scrambling of a bit-reversed value (the Laine and Karras permutation, constants of Burley 2020).
constexpr std::uint32_t permuteReversed(std::uint32_t x, std::uint32_t seed) {
  x ^= x * 0x3d20adeau;
  x += seed;
  x *= (seed >> 16) | 1;
  x ^= x * 0x05526c56u;
  x ^= x * 0x53a22864u;
  return x;
}
constexpr std::uint32_t owenScramble(std::uint32_t x, std::uint32_t seed) {
  return reverseBits(permuteReversed(reverseBits(x), seed));
}

/// A Sobol dimension after the first, bit-reversed: one table for each byte of the index.
struct SobolTables {
  std::array<std::array<std::uint32_t, 256>, 4> table{};
  /// Degree and inner coefficients of the primitive polynomial, and the first direction numbers (Joe and Kuo
  /// 2008, "Constructing Sobol Sequences with Better Two-Dimensional Projections").
  constexpr SobolTables(std::uint32_t degree, std::uint32_t coefficients,
                        std::array<std::uint32_t, 3> first) {
    std::array<std::uint32_t, 32> direction{};
    for (std::uint32_t i = 0; i < 32; ++i) {
      if (i < degree) {
        direction[i] = first[i] << (31 - i);
        continue;
      }
      direction[i] = direction[i - degree] ^ (direction[i - degree] >> degree);
      for (std::uint32_t k = 1; k < degree; ++k)
        if (coefficients >> (degree - 1 - k) & 1) direction[i] ^= direction[i - k];
    }
    for (std::size_t byte = 0; byte < 4; ++byte)
      for (std::uint32_t value = 0; value < 256; ++value) {
        std::uint32_t sum = 0;
        for (std::uint32_t bit = 0; bit < 8; ++bit)
          if (value & (1u << bit)) sum ^= direction[byte * 8 + bit];
        table[byte][value] = reverseBits(sum);
      }
  }
};
inline constexpr SobolTables secondSobol{1, 0, {1}}, thirdSobol{2, 1, {1, 3}}, fourthSobol{3, 1, {1, 3, 1}};

constexpr float unitFloat(std::uint32_t bits) {
  return static_cast<float>(bits >> 8) * 0x1p-24f;
}

/// Numbering of the dimensions of a sample. The camera has the first ones; every vertex of a path has a block
/// of its own, so its values do not depend on the number that earlier vertices drew.
struct SampleDimensions {
  static constexpr int camera = 8;   // the place in the pixel
  static constexpr int vertex = 24;  // each bounce
  static constexpr int passed = 512; // offset of each surface passed straight through
  /// The first dimension of a vertex.
  static constexpr std::uint32_t ofVertex(int bounces, int passes) {
    return static_cast<std::uint32_t>(camera + vertex * bounces + passed * passes);
  }
};

/// Sample `index` of one pixel; each call draws the next dimension or pair of dimensions.
class Sampler {
 public:
  Sampler(std::uint32_t x, std::uint32_t y, std::uint32_t seed, std::uint32_t index)
      : pixel_(hashMore(hashMore(hash32(seed ^ 0x2545f491u), x), y)), index_(reverseBits(index)) {}

  /// Both below 1.
  Vec2 next2() {
    const std::uint32_t seed = hashMore(pixel_, ++dimension_), order = orderOf(seed);
    return {first(order, seed), scrambled(secondSobol, order, seed ^ 0x02e5be93u)};
  }
  float next1() {
    const std::uint32_t seed = hashMore(pixel_, ++dimension_);
    return first(orderOf(seed), seed);
  }
  /// The third and fourth dimension of the set whose first two are the sampler's first pair, the place in the
  /// pixel: all four are spread evenly together. The same pair at each call.
  Vec2 besidePlace() const {
    const std::uint32_t seed = hashMore(pixel_, 1), order = orderOf(seed);
    return {scrambled(thirdSobol, order, seed ^ 0x967a889bu),
            scrambled(fourthSobol, order, seed ^ 0x368cc8b7u)};
  }
  /// Continues with the dimensions of a path's vertex.
  void startVertex(int bounces, int passes) { dimension_ = SampleDimensions::ofVertex(bounces, passes); }

 private:
  // The sample's place in the order of a set.
  std::uint32_t orderOf(std::uint32_t seed) const { return reverseBits(permuteReversed(index_, seed)); }
  // The first dimension is the bit-reversed index, so its own reversal is the index.
  static float first(std::uint32_t order, std::uint32_t seed) {
    return unitFloat(reverseBits(permuteReversed(order, hash32(seed ^ 0x68bc21ebu))));
  }
  static float scrambled(const SobolTables& tables, std::uint32_t order, std::uint32_t seed) {
    const auto& t = tables.table;
    const std::uint32_t reversed =
        t[0][order & 255] ^ t[1][(order >> 8) & 255] ^ t[2][(order >> 16) & 255] ^ t[3][order >> 24];
    return unitFloat(reverseBits(permuteReversed(reversed, hash32(seed))));
  }

  std::uint32_t pixel_, index_, dimension_ = 0; // index_ is kept bit-reversed
};

} // namespace host::render
