// A bitmap's size, depth, pixels and sections.
#include <thread>

#include "picture_fixture.h"

using namespace picture_fixture;

TEST(Bitmap, StartsEmpty) {
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_TRUE(bitmap);
  EXPECT_EQ(bitmap->GetBw(), 0);
  EXPECT_EQ(bitmap->GetBh(), 0);
  EXPECT_EQ(bitmap->GetBt(), 0);
  EXPECT_EQ(at(*bitmap, 0, 0), (Rgba{0, 0, 0, 0}));
  EXPECT_FALSE(bitmap->SetPixel(0, 0, 1, 2, 3));
}

TEST(Bitmap, InitMakesItBlackAndOpaque) {
  AutoAlloc<BaseBitmap> bitmap;
  for (const LONG depth : {24, 32}) {
    ASSERT_EQ(bitmap->Init(5, 3, depth), IMAGERESULT_OK);
    EXPECT_EQ(bitmap->GetBw(), 5);
    EXPECT_EQ(bitmap->GetBh(), 3);
    EXPECT_EQ(bitmap->GetBt(), depth);
    EXPECT_EQ(at(*bitmap, 4, 2), (Rgba{0, 0, 0, 255}));
    put(*bitmap, 4, 2, {9, 8, 7, 6});
  }
  ASSERT_EQ(bitmap->Init(5, 3, 32), IMAGERESULT_OK); // the same shape is emptied too
  EXPECT_EQ(at(*bitmap, 4, 2), (Rgba{0, 0, 0, 255}));
}

TEST(Bitmap, BadShapesAreRefusedAndLeaveItEmpty) {
  AutoAlloc<BaseBitmap> bitmap;
  const std::tuple<LONG, LONG, LONG> shapes[] = {{0, 5, 24},
                                                 {5, 0, 24},
                                                 {-1, 5, 24},
                                                 {5, -7, 24},
                                                 {32769, 1, 24},
                                                 {1, 32769, 24},
                                                 {5, 5, 8},
                                                 {5, 5, 0},
                                                 {5, 5, 33},
                                                 {5, 5, -24},
                                                 {INT32_MAX, INT32_MAX, 32},
                                                 {INT32_MIN, 1, 24}};
  for (const auto& [width, height, depth] : shapes) {
    ASSERT_EQ(bitmap->Init(5, 5, 24), IMAGERESULT_OK);
    EXPECT_EQ(bitmap->Init(width, height, depth), IMAGERESULT_PARAM_ERROR)
        << width << " " << height << " " << depth;
    EXPECT_EQ(bitmap->GetBw(), 0);
    EXPECT_EQ(bitmap->GetBt(), 0);
    EXPECT_EQ(at(*bitmap, 0, 0), (Rgba{0, 0, 0, 0}));
  }
  EXPECT_EQ(bitmap->Init(32768, 1, 24), IMAGERESULT_OK);
  EXPECT_EQ(bitmap->Init(1, 32768, 32), IMAGERESULT_OK);
}

TEST(Bitmap, PixelsAndAlphaKeepApart) {
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(4, 4, 32), IMAGERESULT_OK);
  EXPECT_TRUE(bitmap->SetAlpha(1, 2, 77));
  EXPECT_TRUE(bitmap->SetPixel(1, 2, 10, 20, 30));
  EXPECT_EQ(at(*bitmap, 1, 2), (Rgba{10, 20, 30, 77}));
  EXPECT_TRUE(bitmap->SetAlpha(1, 2, 0));
  EXPECT_EQ(at(*bitmap, 1, 2), (Rgba{10, 20, 30, 0}));
  EXPECT_EQ(at(*bitmap, 2, 1), (Rgba{0, 0, 0, 255}));
  EXPECT_TRUE(bitmap->SetPixel(0, 0, 256 + 5, -1, 512)); // the low 8 bits
  EXPECT_EQ(at(*bitmap, 0, 0), (Rgba{5, 255, 0, 255}));
}

TEST(Bitmap, NoAlphaWithoutAnAlphaChannel) {
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(2, 2, 24), IMAGERESULT_OK);
  EXPECT_FALSE(bitmap->SetAlpha(0, 0, 9));
  EXPECT_EQ(bitmap->GetAlpha(0, 0), 255);
}

TEST(Bitmap, OutsideReadsBlackAndIgnoresWrites) {
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(3, 2, 32), IMAGERESULT_OK);
  bitmap->Clear(50, 60, 70);
  for (const auto& [x, y] :
       {std::pair<LONG, LONG>{-1, 0}, {3, 0}, {0, -1}, {0, 2}, {INT32_MIN, 0}, {0, INT32_MAX}}) {
    EXPECT_EQ(at(*bitmap, x, y), (Rgba{0, 0, 0, 0}));
    EXPECT_FALSE(bitmap->SetPixel(x, y, 1, 1, 1));
    EXPECT_FALSE(bitmap->SetAlpha(x, y, 1));
  }
  for (LONG y = 0; y < 2; ++y)
    for (LONG x = 0; x < 3; ++x)
      EXPECT_EQ(at(*bitmap, x, y), (Rgba{50, 60, 70, 255}));
}

TEST(Bitmap, ClearOfARectangleIsInclusiveAndClipped) {
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(6, 5, 32), IMAGERESULT_OK);
  bitmap->SetAlpha(2, 2, 3);
  bitmap->Clear(1, 2, 3, 3, 9, 8, 7);
  bitmap->Clear(-10, -10, 0, 0, 1, 2, 3);
  bitmap->Clear(5, 4, INT32_MAX, INT32_MAX, 4, 5, 6);
  bitmap->Clear(4, 1, 2, 1, 200, 200, 200); // corners swapped: nothing
  for (LONG y = 0; y < 5; ++y)
    for (LONG x = 0; x < 6; ++x) {
      Rgba wanted{0, 0, 0, x == 2 && y == 2 ? 3 : 255};
      if (x >= 1 && x <= 3 && y >= 2 && y <= 3) wanted = {9, 8, 7, wanted.a};
      if (x == 0 && y == 0) wanted = {1, 2, 3, 255};
      if (x == 5 && y == 4) wanted = {4, 5, 6, 255};
      EXPECT_EQ(at(*bitmap, x, y), wanted) << x << ", " << y;
    }
}

TEST(Bitmap, ClonesAreEqualAndIndependent) {
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(7, 4, 32), IMAGERESULT_OK);
  fillPattern(*bitmap);
  AutoAlloc<BaseBitmap> clone(bitmap->GetClone());
  ASSERT_TRUE(clone);
  EXPECT_EQ(clone->GetBt(), 32);
  put(*bitmap, 3, 3, {0, 0, 0, 0});
  for (LONG y = 0; y < 4; ++y)
    for (LONG x = 0; x < 7; ++x)
      EXPECT_EQ(at(*clone, x, y), patternAt(x, y));
}

TEST(Bitmap, CloneOfNothingIsEmpty) {
  AutoAlloc<BaseBitmap> bitmap, target;
  ASSERT_EQ(target->Init(4, 4), IMAGERESULT_OK);
  AutoAlloc<BaseBitmap> clone(bitmap->GetClone());
  ASSERT_TRUE(clone);
  EXPECT_EQ(clone->GetBw(), 0);
  EXPECT_TRUE(bitmap->CopyTo(target));
  EXPECT_EQ(target->GetBw(), 0);
}

TEST(Bitmap, CopyToGivesShapeAndPixels) {
  AutoAlloc<BaseBitmap> bitmap, target;
  ASSERT_EQ(bitmap->Init(3, 9, 32), IMAGERESULT_OK);
  fillPattern(*bitmap);
  for (const auto& [width, height] : {std::pair<LONG, LONG>{8, 8}, {3, 9}, {9, 3}}) {
    ASSERT_EQ(target->Init(width, height, 24), IMAGERESULT_OK);
    ASSERT_TRUE(bitmap->CopyTo(target));
    EXPECT_EQ(target->GetBw(), 3);
    EXPECT_EQ(target->GetBh(), 9);
    EXPECT_EQ(target->GetBt(), 32);
    EXPECT_EQ(at(*target, 2, 8), patternAt(2, 8));
  }
  EXPECT_FALSE(bitmap->CopyTo(nullptr));
  EXPECT_TRUE(bitmap->CopyTo(bitmap));
  EXPECT_EQ(at(*bitmap, 1, 1), patternAt(1, 1));
}

TEST(Bitmap, RowsAreReadAsBytes) {
  AutoAlloc<BaseBitmap> bitmap;
  for (const LONG depth : {24, 32}) {
    ASSERT_EQ(bitmap->Init(3, 2, depth), IMAGERESULT_OK);
    put(*bitmap, 0, 1, {1, 2, 3, 4});
    put(*bitmap, 2, 1, {250, 251, 252, 253});
    const UCHAR a = depth == 32 ? 4 : 255, b = depth == 32 ? 253 : 255;
    std::vector<UCHAR> argb(5 * 4, 7);
    bitmap->GetPixelCnt(-1, 1, 5, argb.data(), 4, COLORMODE_ARGB);
    EXPECT_EQ(argb, (std::vector<UCHAR>{0, 0, 0, 0, a, 1, 2, 3, 255, 0, 0, 0, b, 250, 251, 252, 0, 0, 0, 0}))
        << depth;
    std::vector<UCHAR> rgb(2 * 3);
    bitmap->GetPixelCnt(1, 1, 2, rgb.data(), 3, COLORMODE_RGB);
    EXPECT_EQ(rgb, (std::vector<UCHAR>{0, 0, 0, 250, 251, 252})) << depth;
    for (const LONG y : {-1, 2}) {
      std::vector<UCHAR> outside(2 * 3, 9);
      bitmap->GetPixelCnt(0, y, 2, outside.data(), 3, COLORMODE_RGB);
      EXPECT_EQ(outside, std::vector<UCHAR>(6, 0)) << y;
    }
    std::vector<UCHAR> apart(3 * 3, 9);
    bitmap->GetPixelCnt(3, 0, 3, apart.data(), 3, COLORMODE_RGB);
    EXPECT_EQ(apart, std::vector<UCHAR>(9, 0));
  }
}

TEST(Bitmap, RowsAreWrittenInsideAlone) {
  AutoAlloc<BaseBitmap> bitmap;
  const std::vector<UCHAR> bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  for (const LONG depth : {24, 32}) {
    ASSERT_EQ(bitmap->Init(2, 2, depth), IMAGERESULT_OK);
    EXPECT_TRUE(bitmap->SetPixelCnt(-1, 0, 4, bytes.data(), 4, COLORMODE_ARGB));
    EXPECT_EQ(at(*bitmap, 0, 0), (Rgba{6, 7, 8, static_cast<UWORD>(depth == 32 ? 5 : 255)})) << depth;
    EXPECT_EQ(at(*bitmap, 1, 0), (Rgba{10, 11, 12, static_cast<UWORD>(depth == 32 ? 9 : 255)})) << depth;
    EXPECT_EQ(at(*bitmap, 0, 1), (Rgba{0, 0, 0, 255})) << depth;
    put(*bitmap, 1, 1, {0, 0, 0, 77});
    EXPECT_TRUE(bitmap->SetPixelCnt(1, 1, 2, bytes.data(), 3, COLORMODE_RGB));
    EXPECT_EQ(at(*bitmap, 1, 1), (Rgba{1, 2, 3, static_cast<UWORD>(depth == 32 ? 77 : 255)}))
        << "the alpha channel stays";
    for (const auto& [x, y, count] :
         {std::array{0, -1, 2}, {0, 2, 2}, {2, 0, 2}, {-2, 0, 2}, {0, 0, 0}, {0, 0, -1}})
      EXPECT_FALSE(bitmap->SetPixelCnt(x, y, count, bytes.data(), 3, COLORMODE_RGB))
          << x << " " << y << " " << count;
  }
}

TEST(Bitmap, ClonePart) {
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(10, 8, 32), IMAGERESULT_OK);
  fillPattern(*bitmap);
  AutoAlloc<BaseBitmap> part(bitmap->GetClonePart(2, 3, 8, 5));
  ASSERT_TRUE(part);
  EXPECT_EQ(part->GetBw(), 8);
  EXPECT_EQ(part->GetBh(), 5);
  EXPECT_EQ(part->GetBt(), 32);
  for (LONG y = 0; y < 5; ++y)
    for (LONG x = 0; x < 8; ++x)
      EXPECT_EQ(at(*part, x, y), patternAt(x + 2, y + 3));
}

TEST(Bitmap, ClonePartOutsideOrWithoutAreaIsNull) {
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(10, 8), IMAGERESULT_OK);
  const std::array<LONG, 4> parts[] = {{-1, -1, 0, 0}, {0, 0, 0, 8},         {0, 0, 10, 0},
                                       {0, 0, 11, 8},  {0, 0, 10, 9},        {-1, 0, 5, 5},
                                       {0, -1, 5, 5},  {9, 0, 2, 1},         {10, 0, 1, 1},
                                       {0, 8, 1, 1},   {1, 0, INT32_MAX, 1}, {INT32_MAX, 0, INT32_MAX, 1},
                                       {0, 0, -3, -3}};
  for (const auto& p : parts)
    EXPECT_EQ(bitmap->GetClonePart(p[0], p[1], p[2], p[3]), nullptr) << p[0] << " " << p[1] << " " << p[2];
  AutoAlloc<BaseBitmap> whole(bitmap->GetClonePart(0, 0, 10, 8));
  EXPECT_TRUE(whole);
}

TEST(Bitmap, ThreadsReadAndWriteAtOnce) {
  AutoAlloc<BaseBitmap> bitmap, copy;
  ASSERT_EQ(bitmap->Init(64, 64, 32), IMAGERESULT_OK);
  BaseBitmap* shared = bitmap;
  std::thread writer([shared] {
    for (int round = 1; round <= 50; ++round)
      shared->Clear(round, round, round);
  });
  int last = 0;
  for (int i = 0; i < 50; ++i) {
    ASSERT_TRUE(shared->CopyTo(copy));
    const Rgba seen = at(*copy, 0, 0);
    EXPECT_EQ(seen.r, seen.g); // a pixel is never seen half written
    EXPECT_EQ(seen.r, seen.b);
    EXPECT_GE(seen.r, last);
    last = seen.r;
  }
  writer.join();
  EXPECT_EQ(at(*shared, 63, 63), (Rgba{50, 50, 50, 255}));
}

// Four bytes a pixel have a path of their own: every place and length, in a buffer of just their bytes.
TEST(Bitmap, RowsOfFourBytesAreThoseOfSinglePixels) {
  constexpr LONG width = 9;
  const auto pixelAt = [](LONG i) {
    const auto value = [i](LONG c) { return static_cast<UWORD>((i * 31 + c * 67 + 5) & 255); };
    return Rgba{value(0), value(1), value(2), value(3)};
  };
  const auto check = [&](LONG depth, LONG x, LONG count) {
    AutoAlloc<BaseBitmap> from, to;
    ASSERT_EQ(from->Init(width, 2, depth), IMAGERESULT_OK);
    ASSERT_EQ(to->Init(width, 2, depth), IMAGERESULT_OK);
    for (LONG i = 0; i < width; ++i) {
      put(*from, i, 1, pixelAt(i));
      put(*to, i, 1, {1, 2, 3, 4});
    }
    const auto bytes = static_cast<std::size_t>(count) * 4;
    const auto argb = std::make_unique<UCHAR[]>(bytes);
    from->GetPixelCnt(x, 1, count, argb.get(), 4, COLORMODE_ARGB);
    for (LONG i = 0; i < count; ++i) {
      const UCHAR* got = argb.get() + i * 4;
      const bool inside = x + i >= 0 && x + i < width;
      EXPECT_EQ((Rgba{got[1], got[2], got[3], got[0]}), inside ? at(*from, x + i, 1) : (Rgba{0, 0, 0, 0}))
          << i;
    }
    // The colours alone: the last pixel has three bytes.
    const auto colors = std::make_unique<UCHAR[]>(bytes - 1);
    std::copy_n(argb.get() + 1, bytes - 1, colors.get());
    to->SetPixelCnt(x, 1, count, colors.get(), 4, COLORMODE_RGB);
    const auto alpha = static_cast<UWORD>(depth == 32 ? 4 : 255);
    for (LONG i = 0; i < width; ++i) {
      Rgba wanted = i >= x && i < x + count ? pixelAt(i) : Rgba{1, 2, 3, 0};
      wanted.a = alpha;
      EXPECT_EQ(at(*to, i, 1), wanted) << i;
      EXPECT_EQ(at(*to, i, 0), (Rgba{0, 0, 0, 255})) << "the other row";
    }
  };
  for (const LONG depth : {24, 32})
    for (LONG x = -2; x < width; ++x)
      for (LONG count = 1; count <= width + 3; ++count) {
        SCOPED_TRACE(testing::Message() << depth << " " << x << " " << count);
        check(depth, x, count);
      }
}
