#include "hdr_transfer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace host::denoise {
namespace {

constexpr float infinite = std::numeric_limits<float>::infinity();

TEST(HdrTransfer, RunsFromZeroToOne) {
  EXPECT_EQ(toNetwork(0), 0);
  EXPECT_FLOAT_EQ(toNetwork(65504), 1);
  EXPECT_FLOAT_EQ(toNetwork(1e30f), 1);
  EXPECT_EQ(toNetwork(-1), 0);
  EXPECT_EQ(toNetwork(std::numeric_limits<float>::quiet_NaN()), 0);
  EXPECT_FLOAT_EQ(toNetwork(infinite), 1);
  EXPECT_EQ(fromNetwork(-0.5f), 0);
  EXPECT_EQ(fromNetwork(std::numeric_limits<float>::quiet_NaN()), 0);
  EXPECT_NEAR(fromNetwork(2), 65504, 1);
}

// One value of each of the three pieces, computed from their formulas with bc.
TEST(HdrTransfer, Values) {
  const double whole = 0.192653254 * std::log(65504 + 0.00626026094) + 0.998620152;
  EXPECT_NEAR(toNetwork(1e-6f), 1.41283765e-3 / whole, 1e-8);
  EXPECT_NEAR(toNetwork(0.01f), (1.64593172 * std::pow(0.01, 0.431384981) - 0.00294139609) / whole, 1e-7);
  EXPECT_NEAR(toNetwork(1), (0.192653254 * std::log(1.00626026094) + 0.998620152) / whole, 1e-7);
}

TEST(HdrTransfer, InverseAndRising) {
  float before = -1;
  for (float light = 1e-8f; light < 65504; light *= 1.3f) {
    const float code = toNetwork(light);
    EXPECT_GT(code, before);
    EXPECT_NEAR(fromNetwork(code) / light, 1, 2e-4) << light;
    before = code;
  }
}

TEST(HdrTransfer, Exposure) {
  const std::vector<float> grey(40 * 24 * 3, 0.36f);
  EXPECT_FLOAT_EQ(autoExposure(grey, 40, 24), 0.5f);
  const std::vector<float> black(40 * 24 * 3, 0);
  EXPECT_EQ(autoExposure(black, 40, 24), 1);

  // Two blocks of 16 x 16: the mean is geometric, a black block does not count, nor does what is not finite.
  std::vector<float> blocks(48 * 16 * 3, 0);
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 32; ++x)
      for (int i = 0; i < 3; ++i)
        blocks[static_cast<std::size_t>((y * 48 + x) * 3 + i)] = x < 16 ? 0.01f : 1.0f;
  EXPECT_NEAR(autoExposure(blocks, 48, 16), 1.8f, 1e-5);
  blocks[47 * 3] = std::numeric_limits<float>::quiet_NaN();
  blocks[46 * 3] = infinite;
  EXPECT_NEAR(autoExposure(blocks, 48, 16), 1.8f, 1e-5);
}

} // namespace
} // namespace host::denoise
