// The anaglyph's arithmetic: products as unsigned words of 16 bits, sums cut to a byte.
#include <gtest/gtest.h>

#include "lm_thread.h"
#include "plugin_fixture.h"

namespace {

using Pixel = std::vector<LONG>;

class AnaglyphTest : public PluginFixture {
 protected:
  /// One pixel of the picture that two eyes of one colour each give, without greys.
  Pixel combine(LONG left, const LVector& leftFactor, LONG right, const LVector& rightFactor) {
    const AutoAlloc<BaseBitmap> leftEye, rightEye, picture;
    for (BaseBitmap* bitmap : std::initializer_list<BaseBitmap*>{leftEye, rightEye, picture})
      EXPECT_EQ(bitmap->Init(3, 2, 24), IMAGERESULT_OK);
    leftEye->Clear(left, left, left);
    rightEye->Clear(right, right, right);
    CombineEyes(leftEye, rightEye, leftFactor, rightFactor, FALSE, 0, picture);
    UWORD r, g, b;
    picture->GetPixel(2, 1, &r, &g, &b);
    return {r, g, b};
  }
};

const LVector NONE(0, 0, 0);

TEST_F(AnaglyphTest, APositiveProductPast16BitsWraps) {
  // 65535 is the largest word; 65536 is 0 again, 65537 is 1.
  EXPECT_EQ(combine(255, LVector(257, 257.005, 257.01), 0, NONE), (Pixel{255, 0, 1}));
  EXPECT_EQ(combine(2, LVector(32767.5, 32768, 32768.5), 0, NONE), (Pixel{255, 0, 1}));
  EXPECT_EQ(combine(0, NONE, 255, LVector(257, 257.005, 257.01)), (Pixel{255, 0, 1}));
  EXPECT_EQ(combine(100, LVector(655.37, 656.37, 657.91), 0, NONE), (Pixel{1, 101, 255})); // 1, 101, 255
}

TEST_F(AnaglyphTest, ANegativeProductWrapsToo) {
  // -1 is 65535, -65536 is 0, -65437 is 99.
  EXPECT_EQ(combine(1, LVector(-0.5, -65536, -65437), 0, NONE), (Pixel{255, 0, 99}));
}

TEST_F(AnaglyphTest, TheSumIsCutAndDoesNotWrap) {
  EXPECT_EQ(combine(255, LVector(257, 1, 0.5), 1, LVector(1, 1, 1)), (Pixel{255, 255, 128}));
  EXPECT_EQ(combine(255, LVector(257, 257.01, 0), 255, LVector(257, 257.01, 1)), (Pixel{255, 2, 255}));
}

} // namespace
