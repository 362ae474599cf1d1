// Sample points: how evenly they are spread.
#include "sampler.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using namespace host::render;

// Halves of the unit interval along four dimensions: 16 cells.
std::size_t halfCell(Vec2 a, Vec2 b) {
  return static_cast<std::size_t>((a.x >= 0.5f) + 2 * (a.y >= 0.5f) + 4 * (b.x >= 0.5f) + 8 * (b.y >= 0.5f));
}

TEST(Sampler, PlaceAndFirstDirectionAreSpreadTogether) {
  for (std::uint32_t pixel = 0; pixel < 8; ++pixel) {
    std::array<int, 16> counts{};
    for (std::uint32_t i = 0; i < 128; ++i) {
      Sampler sampler(pixel, 7, 1, i);
      const Vec2 place = sampler.next2();
      sampler.startVertex(0, 0);
      ++counts[halfCell(place, sampler.besidePlace())];
    }
    for (const int count : counts)
      EXPECT_EQ(count, 8);
  }
}

// Each alone is as even as a pair of its own: one of 16 points in each sixteenth of an axis, one of 256 in
// each cell of 16 x 16 for the place.
TEST(Sampler, EachPairIsEven) {
  for (std::uint32_t pixel = 0; pixel < 8; ++pixel) {
    std::array<int, 16> along[4]{};
    for (std::uint32_t i = 0; i < 16; ++i) {
      Sampler sampler(pixel, 7, 1, i);
      const Vec2 place = sampler.next2(), direction = sampler.besidePlace();
      const float values[4] = {place.x, place.y, direction.x, direction.y};
      for (int d = 0; d < 4; ++d)
        ++along[d][static_cast<std::size_t>(16 * values[d])];
    }
    for (const auto& counts : along)
      for (const int count : counts)
        EXPECT_EQ(count, 1);
  }
}

TEST(Sampler, BesidePlaceDependsOnPixelSeedAndNumber) {
  const Vec2 first = Sampler(1, 2, 3, 4).besidePlace();
  for (Sampler other : {Sampler(2, 2, 3, 4), Sampler(1, 3, 3, 4), Sampler(1, 2, 4, 4), Sampler(1, 2, 3, 5)}) {
    const Vec2 value = other.besidePlace();
    EXPECT_FALSE(value.x == first.x && value.y == first.y);
  }
  Sampler later(1, 2, 3, 4);
  later.next2();
  later.startVertex(0, 2);
  const Vec2 again = later.besidePlace();
  EXPECT_EQ(again.x, first.x);
  EXPECT_EQ(again.y, first.y);
}

} // namespace
