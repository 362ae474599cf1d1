// Lines that scene hooks draw over a view.
#include <algorithm>
#include <cmath>

#include "hook_kit.h"

namespace {

void drawFrame(BaseDraw* bd, LONG left, LONG top, LONG right, LONG bottom, const Vector& pen) {
  bd->SetPen(pen);
  bd->DrawLine2D(Vector(left, top, 0), Vector(left, bottom, 0));
  bd->DrawLine2D(Vector(right, top, 0), Vector(right, bottom, 0));
  bd->DrawLine2D(Vector(left, top, 0), Vector(right, top, 0));
  bd->DrawLine2D(Vector(left, bottom, 0), Vector(right, bottom, 0));
}

TEST_F(HookTest, LinesAreExactToThePixelAtEveryRatio) {
  add(81, 0);
  const Vector pen(1, 0.5, 0);
  constexpr std::uint32_t shown = 0xffff8000;
  for (const double ratio : {1.0, 1.25, 1.5, 2.0}) {
    SCOPED_TRACE(ratio);
    data.draw[81] = nullptr;
    data.draw.clear();
    open(90, 70, ratio);
    ASSERT_TRUE(view->finishPicture());
    const host::ViewImage plain = view->image();
    data.draw[81] = [&](BaseDraw* bd) {
      bd->SetMatrix_Screen();
      drawFrame(bd, 10, 20, 60, 50, pen);
      bd->DrawPoint2D({0, 0, 0});
      bd->DrawPoint2D({89.9, 69.2, 5});
      return TRUE;
    };
    presented = 0;
    EXPECT_TRUE(view->drawViews(0x40502));
    EXPECT_GE(presented, 1) << "before it returns";
    const host::ViewImage& image = view->image();
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x) {
        // The logical pixel whose block holds this device pixel.
        int lx = 0, ly = 0;
        while (std::floor((lx + 1) * ratio) <= x)
          ++lx;
        while (std::floor((ly + 1) * ratio) <= y)
          ++ly;
        const bool vertical = (lx == 10 || lx == 60) && ly >= 20 && ly <= 50;
        const bool horizontal = (ly == 20 || ly == 50) && lx >= 10 && lx <= 60;
        const bool point = (lx == 0 && ly == 0) || (lx == 89 && ly == 69);
        ASSERT_EQ(image.at(x, y), vertical || horizontal || point ? shown : plain.at(x, y)) << x << ", " << y;
      }
    data.draw.clear();
    view->repaintNow();
    EXPECT_EQ(view->image().pixels, plain.pixels) << "the old lines are gone";
  }
}

TEST_F(HookTest, TheOverlayFollowsTheDocumentWithoutANewPicture) {
  add(87, 0);
  LONG place = 10;
  data.draw[87] = [&](BaseDraw* bd) {
    bd->SetMatrix_Screen();
    bd->SetPen(Vector(1, 0.5, 0));
    bd->DrawPoint2D({static_cast<Real>(place), 20, 0});
    return TRUE;
  };
  open(90, 70);
  ASSERT_TRUE(view->finishPicture());
  runAll();
  const std::uint32_t ground = view->image().at(30, 20);
  ASSERT_EQ(view->image().at(10, 20), 0xffff8000u);

  place = 30; // as a value of the document's container that undo brings back
  presented = 0;
  EventAdd();
  runAll();
  EXPECT_EQ(view->image().at(30, 20), 0xffff8000u);
  EXPECT_EQ(view->image().at(10, 20), ground);
  EXPECT_GE(presented, 1);

  presented = 0;
  EventAdd();
  runAll();
  EXPECT_EQ(presented, 0) << "nothing is different";
}

TEST_F(HookTest, DrawingOutsideAPassIsIgnored) {
  add(82, 0);
  open(60, 50);
  ASSERT_TRUE(view->finishPicture());
  const host::ViewImage plain = view->image();
  draw().SetMatrix_Screen();
  draw().DrawLine2D({0, 0, 0}, {50, 40, 0});
  view->repaintNow();
  EXPECT_EQ(view->image().pixels, plain.pixels);
  data.draw[82] = [](BaseDraw* bd) {
    bd->SetPen({1, 1, 1});
    bd->DrawLine2D({0, 0, 0}, {50, 40, 0}); // in no space
    return TRUE;
  };
  view->repaintNow();
  EXPECT_EQ(view->image().pixels, plain.pixels);
}

TEST_F(HookTest, RedrawFlagsThatMeanNothingHereAreRefused) {
  open(60, 50);
  EXPECT_TRUE(view->drawViews(266498));
  EXPECT_FALSE(view->drawViews(0));
  EXPECT_FALSE(view->drawViews(1));
}

TEST_F(HookTest, AHookThatRedrawsWhileItDrawsDoesNotLoop) {
  add(83, 0);
  int draws = 0;
  data.draw[83] = [&](BaseDraw*) {
    if (++draws < 100) view->drawViews(0x40502);
    return TRUE;
  };
  open(60, 50);
  view->repaintNow();
  EXPECT_EQ(draws, 1);
}

host::ViewImage blank(int width, int height) {
  host::ViewImage image{width, height, {}};
  image.pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0xff000000);
  return image;
}

TEST(Overlay, DiagonalsHaveOnePixelAStepAndBothEnds) {
  for (const auto& [x1, y1] : {std::pair{9, 4}, {4, 9}, {-9, 4}, {9, -4}, {-4, -9}, {9, 9}, {0, 0}}) {
    host::ViewImage image = blank(40, 40);
    std::vector<host::PaintedPixel> painted;
    host::drawOverlay({{20, 20, 20 + x1, 20 + y1, 0xffffffff, 0}}, {}, image, painted);
    EXPECT_EQ(painted.size(), static_cast<std::size_t>(std::max(std::abs(x1), std::abs(y1)) + 1));
    EXPECT_EQ(image.at(20, 20), 0xffffffffu);
    EXPECT_EQ(image.at(20 + x1, 20 + y1), 0xffffffffu);
    for (int y = 0; y < 40; ++y)
      for (int x = 0; x < 40; ++x)
        if (image.at(x, y) == 0xffffffffu) {
          // Within half a pixel of the true line.
          const double cross = static_cast<double>((x - 20) * y1 - (y - 20) * x1);
          EXPECT_LE(std::abs(cross), std::max(std::abs(x1), std::abs(y1)) / 2.0 + 1e-9);
        }
    host::eraseOverlay(image, painted);
    EXPECT_EQ(image.pixels, blank(40, 40).pixels);
    EXPECT_TRUE(painted.empty());
  }
}

TEST(Overlay, FarAwayLinesCostNothingAndCrossTheSamePixels) {
  host::ViewImage image = blank(30, 20), expected = blank(30, 20);
  std::vector<host::PaintedPixel> painted;
  const LONG far = 1 << 30;
  host::drawOverlay({{-far, 7, far, 7, 0xff112233, 0}, {3, far, 3, -far, 0xff445566, 0}}, {}, image, painted);
  host::drawOverlay({{0, 7, 29, 7, 0xff112233, 0}, {3, 0, 3, 19, 0xff445566, 0}}, {}, expected, painted);
  EXPECT_EQ(image.pixels, expected.pixels);
  host::ViewImage untouched = blank(30, 20);
  host::drawOverlay({{-far, -5, far, -5, 1, 0}, {40, 0, far, far, 2, 0}, {0, 20, 29, 20, 3, 0}}, {},
                    untouched, painted);
  EXPECT_EQ(untouched.pixels, blank(30, 20).pixels);
}

TEST(Overlay, SmallerOffsetsLieInFront) {
  host::ViewImage image = blank(5, 5);
  std::vector<host::PaintedPixel> painted;
  host::drawOverlay({{2, 2, 2, 2, 0xff000001, 0},
                     {2, 2, 2, 2, 0xff000002, 9},
                     {3, 3, 3, 3, 0xff000003, 0},
                     {3, 3, 3, 3, 0xff000004, 0}},
                    {}, image, painted);
  EXPECT_EQ(image.at(2, 2), 0xff000001u);
  EXPECT_EQ(image.at(3, 3), 0xff000004u) << "of equal ones the later";
  host::eraseOverlay(image, painted);
  EXPECT_EQ(image.pixels, blank(5, 5).pixels);
}

} // namespace
