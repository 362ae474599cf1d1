// The view's frame, and the camera's projection into it.
#include <algorithm>
#include <array>
#include <cmath>

#include "view_kit.h"

namespace {

struct Safe {
  LONG from = -1, to = -1, orientation = -1;
};

Safe safeFrameOf(const BaseDraw& draw) {
  Safe safe;
  draw.GetSafeFrame(&safe.from, &safe.to, &safe.orientation);
  return safe;
}

std::array<LONG, 4> frameOf(const BaseDraw& draw) {
  std::array<LONG, 4> frame{};
  draw.GetFrame(&frame[0], &frame[1], &frame[2], &frame[3]);
  return frame;
}

// In integers: half of the remaining size, rounded to the nearest pixel, halves up.
LONG bar(LLONG room, LLONG by) {
  return static_cast<LONG>((room + by) / (2 * by));
}

using FrameTest = ViewTest;

TEST_F(FrameTest, IsTheLogicalSizeAtEveryPixelRatio) {
  setFormat(321, 203);
  for (const double ratio : {1.0, 1.25, 1.5, 2.0, 3.0}) {
    open(321, 203, ratio);
    LONG left = 9, top = 9, right = 9, bottom = 9;
    draw().GetFrame(&left, &top, &right, &bottom);
    EXPECT_EQ(left, 0);
    EXPECT_EQ(top, 0);
    EXPECT_EQ(right, 321);
    EXPECT_EQ(bottom, 203);
  }
}

TEST_F(FrameTest, FollowsTheActiveDocument) {
  open(300, 200);
  newDocument();
  setFormat(300, 200);
  view->repaintSoon();
  runAll();
  LONG right = 0, bottom = 0;
  draw().GetFrame(nullptr, nullptr, &right, &bottom);
  EXPECT_EQ(right, 300);
  EXPECT_EQ(bottom, 200);
}

TEST_F(FrameTest, StaysWhenTheViewHasNoSize) {
  open(300, 200);
  setFormat(300, 200);
  for (const auto& [width, height] : {std::pair{0, 0}, {0, 50}, {50, 0}, {-5, -7}}) {
    view->resize(width, height);
    LONG right = 0, bottom = 0;
    draw().GetFrame(nullptr, nullptr, &right, &bottom);
    EXPECT_EQ(right, 300);
    EXPECT_EQ(bottom, 200);
  }
}

TEST_F(FrameTest, AgreesWithIntegerArithmeticAndIsAllSafe) {
  for (const LONG width : {1, 7, 160, 320, 641, 960, 1000})
    for (const LONG height : {1, 9, 120, 360, 480, 600, 999})
      for (const auto& [formatWidth, formatHeight] :
           {std::pair<LONG, LONG>{1280, 720}, {640, 480}, {1, 1}, {100, 300}, {2000, 1}, {1920, 1080}}) {
        SCOPED_TRACE(testing::Message()
                     << width << " x " << height << " for " << formatWidth << " x " << formatHeight);
        setFormat(formatWidth, formatHeight);
        host::setViewArea(draw(), 3, -5, 3 + width, -5 + height);
        const LLONG wide = LLONG{width} * formatHeight - LLONG{height} * formatWidth;
        // The thinnest frame has one pixel.
        const LONG side = wide > 0 ? std::min(bar(wide, formatHeight), (width - 1) / 2) : 0;
        const LONG above = wide < 0 ? std::min(bar(-wide, formatWidth), (height - 1) / 2) : 0;
        ASSERT_EQ(frameOf(draw()),
                  (std::array<LONG, 4>{3 + side, -5 + above, 3 + width - side, -5 + height - above}));
        const Safe safe = safeFrameOf(draw());
        ASSERT_EQ(safe.orientation, 0);
        ASSERT_EQ(safe.from, 0);
        ASSERT_EQ(safe.to, width - 2 * side);
      }
}

TEST_F(FrameTest, AgreesWithTheFormatWithoutBars) {
  setFormat(1280, 720);
  for (const LONG scale : {1, 3, 10, 60}) {
    host::setViewArea(draw(), 0, 0, 16 * scale, 9 * scale);
    EXPECT_EQ(frameOf(draw()), (std::array<LONG, 4>{0, 0, 16 * scale, 9 * scale}));
  }
}

// The render's upper edge lies at the frame's upper edge, in tall and in wide views.
TEST_F(FrameTest, TheRenderShowsTheFrame) {
  setFormat(1600, 900);
  for (const auto& [width, height] : {std::pair{1600, 900}, {800, 800}, {300, 900}, {1200, 300}, {64, 9}}) {
    SCOPED_TRACE(testing::Message() << width << " x " << height);
    open(width, height);
    placeCamera({0, 0, 0});
    const host::ViewCamera eye = host::viewCameraOf(draw());
    GeData angle;
    ASSERT_TRUE(draw().GetEditorCamera()->GetParameter(1002, angle));
    const double up = std::tan(angle.GetReal() / 2), across = up * 16 / 9;
    const auto corner = eye.project({across * 5, up * 5, -5});
    ASSERT_TRUE(corner);
    const auto [left, top, right, bottom] = frameOf(draw());
    EXPECT_NEAR(corner->y, top, 1e-6 * height);
    EXPECT_NEAR(corner->x, right, 1) << "its sides are whole pixels";
  }
}

TEST_F(FrameTest, RaysAndProjectionAreInverse) {
  open(317, 211);
  draw().GetEditorCamera()->SetMg(host::navigate::orbit(MatrixMove({3, 2, 5}), Vector(1, 0, 0), 0.7, -0.3));
  for (const bool orthographic : {false, true}) {
    draw().GetEditorCamera()->SetParameter(1001, LONG{orthographic});
    const host::ViewCamera eye = host::viewCameraOf(draw());
    ASSERT_EQ(eye.orthographic, orthographic);
    for (double y = 0.5; y < 211; y += 17)
      for (double x = 0.5; x < 317; x += 23) {
        const host::ViewRay ray = eye.ray(x, y);
        const double t = 4.25;
        const Vector point(ray.origin[0] + t * ray.direction[0], ray.origin[1] + t * ray.direction[1],
                           ray.origin[2] + t * ray.direction[2]);
        const auto spot = eye.project(point);
        ASSERT_TRUE(spot);
        EXPECT_NEAR(spot->x, x, 1e-3);
        EXPECT_NEAR(spot->y, y, 1e-3);
        const Vector same = eye.pointAt(x, y, spot->depth);
        EXPECT_NEAR(std::sqrt(Dot(same - point, same - point)), 0, 1e-5);
      }
  }
}

} // namespace
