// Sampling of a sky with a picture.
#include <gtest/gtest.h>

#include "render_sky.h"
#include "sampler.h"

using namespace host;
using namespace host::render;

namespace {

constexpr int columns = 64, rows = 32;

// A grey sky with a bright patch: columns 20 to 27, rows 6 to 9.
RenderSky patchSky(float patch) {
  DecodedPicture picture;
  picture.width = columns, picture.height = rows;
  for (int y = 0; y < rows; ++y)
    for (int x = 0; x < columns; ++x) {
      const float v = x >= 20 && x < 28 && y >= 6 && y < 10 ? patch : 0.5f;
      picture.floats.insert(picture.floats.end(), {v, v, v, 1});
    }
  SnapshotSky sky;
  sky.kind = SkyKind::picture;
  sky.color = {1, 1, 1};
  return RenderSky(sky, std::make_shared<const Texture>(picture, ColorSpace::data));
}

Vec3 towards(int column, int row) {
  const float theta = (static_cast<float>(row) + 0.5f) / rows * pi;
  const float turn = ((static_cast<float>(column) + 0.5f) / columns - 0.5f) * 2 * pi;
  return {std::sin(theta) * std::sin(turn), std::cos(theta), -std::sin(theta) * std::cos(turn)};
}

TEST(SkySampling, GoesToThePlacesAboveTheMean) {
  const RenderSky sky = patchSky(20);
  ASSERT_TRUE(sky.sampled());
  EXPECT_GT(sky.pdf(towards(24, 8)), 0);
  EXPECT_GT(sky.pdf(towards(19, 8)), 0); // interpolation carries the patch half a cell over its edge
  EXPECT_EQ(sky.pdf(towards(17, 8)), 0); // scattered rays find the even rest
  EXPECT_EQ(sky.pdf(towards(50, 20)), 0);
}

TEST(SkySampling, AgreesWithItsDensity) {
  const RenderSky sky = patchSky(20);
  double sum = 0;
  constexpr int count = 1 << 14;
  for (std::uint32_t i = 0; i < count; ++i) {
    Sampler s(1, 2, 3, i);
    const RenderSky::Sample sample = sky.sample(s.next2());
    EXPECT_NEAR(sample.pdf, sky.pdf(sample.direction), 1e-3f * sample.pdf);
    sum += 1 / static_cast<double>(sample.pdf);
  }
  // The mean of 1 / density is the solid angle of the places with a chance: the patch and its edge.
  double solid = 0;
  constexpr int fine = 16;
  for (int y = 0; y < rows * fine; ++y)
    for (int x = 0; x < columns * fine; ++x) {
      const float theta = (static_cast<float>(y) + 0.5f) / (rows * fine) * pi;
      const float turn = ((static_cast<float>(x) + 0.5f) / (columns * fine) - 0.5f) * 2 * pi;
      const Vec3 d{std::sin(theta) * std::sin(turn), std::cos(theta), -std::sin(theta) * std::cos(turn)};
      if (sky.pdf(d) > 0)
        solid += static_cast<double>(std::sin(theta) * pi / (rows * fine) * 2 * pi / (columns * fine));
    }
  EXPECT_NEAR(sum / count, solid, 0.02 * solid);
}

TEST(SkySampling, LeavesEvenSkiesToScatteredRays) {
  EXPECT_FALSE(patchSky(0.5f).sampled());
  EXPECT_FALSE(patchSky(0.6f).sampled());
}

} // namespace
