// Textures by themselves.
#include "texture.h"

#include <gtest/gtest.h>

using namespace host;
using namespace host::render;

namespace {

DecodedPicture ramp() {
  DecodedPicture picture;
  picture.width = 4, picture.height = 2;
  for (int i = 0; i < 8; ++i)
    for (const int value : {20000 + i, 30000, 40000 - i, 65535})
      picture.words.push_back(static_cast<std::uint16_t>(value));
  return picture;
}

TEST(Texture, HeightsKeepSixteenBits) {
  const Texture texture(ramp(), ColorSpace::data);
  for (int i = 0; i < 8; ++i) {
    const Rgba v = texture.texel(0, i % 4, i / 4);
    EXPECT_FLOAT_EQ(v.r, static_cast<float>(20000 + i) / 65535);
    EXPECT_FLOAT_EQ(v.b, static_cast<float>(40000 - i) / 65535);
    EXPECT_EQ(v.a, 1);
  }
  EXPECT_FLOAT_EQ(texture.texel(1, 0, 0).r, 20003.0f / 65535) << "20002.5, rounded";
  EXPECT_EQ(texture.levelWords(0).size(), 32U);
  EXPECT_TRUE(texture.levelBytes(0).empty());
  EXPECT_GE(texture.bytes(), 32 * sizeof(std::uint16_t));
}

TEST(Texture, ColoursOfSixteenBitsAreRounded) {
  const Texture texture(ramp(), ColorSpace::srgb);
  EXPECT_TRUE(texture.levelWords(0).empty());
  EXPECT_EQ(texture.levelBytes(0).size(), 8U);
}

} // namespace
