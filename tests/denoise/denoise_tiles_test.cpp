#include "denoise_tiles.h"

#include <gtest/gtest.h>

#include <vector>

namespace host::denoise {
namespace {

// Every pixel belongs to one tile, which sees it with all that reaches it.
void check(int width, int height, long long most) {
  SCOPED_TRACE(testing::Message() << width << " x " << height);
  std::vector<int> given(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
  for (const DenoiseTile& tile : planTiles(width, height, most)) {
    EXPECT_LE(static_cast<long long>(tile.seenWidth) * tile.seenHeight, most);
    for (const int multiple : {tile.seenLeft, tile.seenTop, tile.seenWidth, tile.seenHeight})
      EXPECT_EQ(multiple % networkStep, 0);
    EXPECT_LE(tile.seenLeft, std::max(tile.left - networkReach, 0));
    EXPECT_LE(tile.seenTop, std::max(tile.top - networkReach, 0));
    EXPECT_GE(tile.seenLeft + tile.seenWidth, std::min(tile.right + networkReach, width));
    EXPECT_GE(tile.seenTop + tile.seenHeight, std::min(tile.bottom + networkReach, height));
    for (int y = tile.top; y < tile.bottom; ++y)
      for (int x = tile.left; x < tile.right; ++x)
        ++given[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
  }
  for (const int times : given)
    ASSERT_EQ(times, 1);
}

TEST(DenoiseTiles, CoverThePictureOnce) {
  for (const auto& [width, height] : std::vector<std::pair<int, int>>{{1, 1},
                                                                      {16, 16},
                                                                      {17, 5},
                                                                      {640, 480},
                                                                      {1920, 1080},
                                                                      {1, 32768},
                                                                      {32768, 3},
                                                                      {1111, 2222},
                                                                      {7680, 4320}})
    check(width, height, mostTilePixels);
  check(1920, 1080, 512 * 512);
  check(1000, 3000, 512 * 512);
}

TEST(DenoiseTiles, NoMoreThanNeeded) {
  EXPECT_EQ(planTiles(640, 480).size(), 1u);
  EXPECT_EQ(planTiles(1280, 720).size(), 1u);
  const auto fullHd = planTiles(1920, 1080);
  EXPECT_EQ(fullHd.size(), 2u);
  long long seen = 0;
  for (const DenoiseTile& tile : fullHd)
    seen += static_cast<long long>(tile.seenWidth) * tile.seenHeight;
  EXPECT_LT(static_cast<double>(seen), 1.2 * 1920 * 1080);
}

} // namespace
} // namespace host::denoise
