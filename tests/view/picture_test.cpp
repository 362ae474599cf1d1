// The view's pictures: contents and picking.
#include <algorithm>
#include <cmath>

#include "parameters.h"
#include "picture_kit.h"
#include "view_picture.h"

namespace {

using host::Identity;
using host::ViewDetail;
using host::ViewHit;
using host::ViewImage;
using host::ViewRay;

TEST_F(PictureTest, HasTheDeviceSizeAndIsOpaque) {
  addBox("box", {0, 0, 0});
  for (const double ratio : {1.0, 1.5, 2.0}) {
    open(101, 67, ratio);
    const ViewImage& image = finish();
    EXPECT_EQ(image.width, std::lround(101 * ratio));
    EXPECT_EQ(image.height, std::lround(67 * ratio));
    EXPECT_EQ(view->detail(), ViewDetail::smooth);
    for (const std::uint32_t pixel : image.pixels)
      ASSERT_EQ(pixel >> 24, 255u);
  }
}

TEST_F(PictureTest, WithoutADocumentIsAQuietGradient) {
  view.reset();
  host::setActiveDocument(nullptr);
  open(80, 60);
  const ViewImage& image = finish();
  ASSERT_EQ(image.width, 80);
  for (int y = 0; y < 60; ++y)
    for (int x = 1; x < 80; ++x)
      ASSERT_EQ(image.at(x, y), image.at(0, y)) << x << ", " << y;
  EXPECT_NE(image.at(0, 0), image.at(0, 59));
  EXPECT_TRUE(view->texts().empty());
  EXPECT_EQ(view->camera(), nullptr);
  EXPECT_EQ(view->objectAt(10, 10), nullptr);
  EXPECT_FALSE(view->mousePress(altMouse(10, 10)));
  EXPECT_FALSE(view->mouseMove(altMouse(12, 10)));
  EXPECT_FALSE(view->mouseRelease(altMouse(12, 10)));
  EXPECT_FALSE(view->wheel(10, 10, 1, {}));
  EXPECT_EQ(view->cursorAt(10, 10), MOUSE_NORMAL);
  view->frameAll();
  view->frameSelected();
  view->lookThrough(nullptr);
  view->repaintNow();
}

TEST_F(PictureTest, OfAnEmptySceneShowsTheGround) {
  draw().GetEditorCamera()->SetMg(host::navigate::orbit(MatrixMove({0, 0, 6}), {}, 0.4, -0.4));
  open(200, 120);
  EXPECT_GT(colorsIn(finish()), 150u);
  EXPECT_EQ(view->objectAt(100, 100), nullptr);
}

TEST_F(PictureTest, WithoutASizeIsNotPainted) {
  addBox("box", {0, 0, 0});
  for (const auto& [width, height] : {std::pair{0, 0}, {0, 40}, {40, 0}, {-1, -1}}) {
    open(width, height);
    EXPECT_TRUE(view->finishPicture());
    EXPECT_TRUE(view->image().empty());
    EXPECT_TRUE(view->texts().empty());
    view->repaintNow();
    EXPECT_FALSE(view->mousePress(altMouse(0, 0)));
    EXPECT_EQ(view->objectAt(0, 0), nullptr);
    view->frameAll();
  }
  view->resize(1, 1, 1);
  EXPECT_TRUE(view->finishPicture());
  EXPECT_EQ(view->image().pixels.size(), 1u);
}

TEST_F(PictureTest, StrangePixelRatiosAreBrought) {
  open(40, 30, std::nan(""));
  EXPECT_EQ(view->pixelRatio(), 1);
  view->resize(40, 30, -2);
  EXPECT_EQ(view->pixelRatio(), 1);
  view->resize(40, 30, 1e9);
  EXPECT_LE(view->pixelRatio(), 8);
}

// The front of a box straight ahead covers a rectangle of known pixels.
TEST_F(PictureTest, PicksTheObjectThatCoversAPixel) {
  setFormat(200, 150);
  BaseObject* near = addBox("near", {-0.5, 0.25, 0}, 0.5f);
  BaseObject* behind = addBox("behind", {0, 0, -4}, 1.5f);
  placeCamera({0, 0, 4});
  open(200, 150);
  finish();
  const host::ViewCamera eye = host::viewCameraOf(draw());
  const auto covers = [&](BaseObject* box, float half, double x, double y) {
    const Vector center = box->GetMg().off;
    const auto low = eye.project(center + Vector(-half, half, half)),
               high = eye.project(center + Vector(half, -half, half));
    return x > low->x && x < high->x && y > low->y && y < high->y;
  };
  int counted[3] = {0, 0, 0};
  for (double y = 0.5; y < 150; ++y)
    for (double x = 0.5; x < 200; ++x) {
      // Only the fronts: the camera sees a side of the near box, whose pixels are decided by its front or
      // not.
      BaseObject* found = view->objectAt(x, y);
      if (covers(near, 0.5f, x, y)) {
        ASSERT_EQ(found, near) << x << ", " << y;
        ++counted[0];
      } else if (found != near && covers(behind, 1.5f, x, y)) {
        ASSERT_EQ(found, behind) << x << ", " << y;
        ++counted[1];
      } else if (found != near) {
        ASSERT_EQ(found, nullptr) << x << ", " << y;
        ++counted[2];
      }
    }
  EXPECT_GT(counted[0], 500);
  EXPECT_GT(counted[1], 500);
  EXPECT_GT(counted[2], 500);
  EXPECT_EQ(view->objectAt(-1, 5), nullptr);
  EXPECT_EQ(view->objectAt(200, 5), nullptr);
}

TEST_F(PictureTest, OutlinesExactlyTheSelection) {
  BaseObject* chosen = addBox("chosen", {-0.4, 0, 0}, 0.5f);
  addBox("before", {0.1, 0.1, 1}, 0.2f);
  chosen->SetBit(BIT_ACTIVE);
  draw().GetEditorCamera()->SetMg(host::navigate::orbit(MatrixMove({0, 0, 4}), {}, 0.5, -0.3));
  setFormat(160, 120);
  for (const double ratio : {1.0, 2.0}) {
    SCOPED_TRACE(ratio);
    open(160, 120, ratio);
    const ViewImage& image = finish();
    std::vector<char> mask(image.pixels.size());
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x)
        mask[image.index(x, y)] = view->objectAt((x + 0.5) / ratio, (y + 0.5) / ratio) == chosen;
    const int reach = host::outlineWidth(ratio);
    EXPECT_EQ(reach, static_cast<int>(2 * ratio));
    int outlined = 0;
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x) {
        bool near = false;
        for (int v = std::max(0, y - reach); v <= std::min(image.height - 1, y + reach); ++v)
          for (int u = std::max(0, x - reach); u <= std::min(image.width - 1, x + reach); ++u)
            near = near || mask[image.index(u, v)];
        const bool expected = near && !mask[image.index(x, y)];
        ASSERT_EQ(image.at(x, y) == host::accentColor, expected) << x << ", " << y;
        outlined += expected;
      }
    EXPECT_GT(outlined, 100);
  }
  chosen->DelBit(BIT_ACTIVE);
  view->repaintSoon();
  const ViewImage& image = finish();
  EXPECT_EQ(std::count(image.pixels.begin(), image.pixels.end(), host::accentColor), 0);
}

TEST_F(PictureTest, DarkensTheSurroundOfTheRender) {
  for (const auto& [formatWidth, formatHeight] : {std::pair{100, 100}, {400, 100}}) {
    open(200, 100);
    setFormat(200, 100); // no bars
    view->repaintSoon();
    const ViewImage whole = finish();
    view->resize(200, 100);
    // The same camera angle over the whole view, so that only the bars differ.
    setFormat(formatWidth, formatHeight);
    LONG left = 0, top = 0, right = 0, bottom = 0;
    draw().GetFrame(&left, &top, &right, &bottom);
    ASSERT_TRUE(left > 0 || top > 0);
    view->repaintSoon();
    const ViewImage& barred = finish();
    const auto dark = [&](int x, int y) { return x < left || x >= right || y < top || y >= bottom; };
    // The background alone, away from tripod and ground: its colour depends on the row.
    for (int y = 0; y < 45; ++y)
      for (int x = 0; x < 200; ++x) {
        const std::uint32_t plain = whole.at(x, y);
        ASSERT_EQ(barred.at(x, y), dark(x, y) ? 0xff000000u | (plain >> 1 & 0x7f7f7f) : plain)
            << x << ", " << y;
      }
  }
}

TEST_F(PictureTest, ShowsTheSkyOfTheDocument) {
  addBox("box", {0, 0, -20});
  placeCamera({0, 1, 8});
  open(200, 100);
  const auto channel = [](std::uint32_t pixel, int shift) { return static_cast<int>(pixel >> shift & 255); };
  const auto blueness = [&] {
    view->repaintSoon();
    const std::uint32_t pixel = finish().at(150, 2);
    return channel(pixel, 0) - channel(pixel, 16);
  };
  EXPECT_LT(blueness(), 10) << "the light that stands in shows nothing";
  BaseObject* sky = addObject(Osky, "sky", Matrix());
  sky->SetParameter(host::param::skyKind, GeData(static_cast<LONG>(2)));
  sky->SetParameter(host::param::skyColor, GeData(Vector(0, 0, 1)));
  sky->SetParameter(host::param::skyHorizon, GeData(Vector(0.1, 0.1, 0.5)));
  EXPECT_GT(blueness(), 60);
  const ViewImage& image = view->image();
  EXPECT_GT(channel(image.at(150, 45), 16), channel(image.at(150, 2), 16) + 5) << "a gradient";
  sky->SetParameter(host::param::skyHorizon, GeData(Vector(0.5, 0.1, 0.1)));
  EXPECT_LT(blueness(), 60) << "it follows a change";
  sky->SetParameter(host::param::skySeen, GeData::FromBool(FALSE));
  EXPECT_LT(blueness(), 10);
}

TEST_F(PictureTest, SignsOfLightsAndCamerasArePicked) {
  addBox("box", {0, 0, 0}, 2);
  BaseObject* lamp = addObject(Olight, "lamp", MatrixMove({0, 0, 3}));
  BaseObject* camera = addObject(Ocamera, "shot", MatrixMove({1, 0, 3}));
  placeCamera({0, 0, 8});
  open(300, 200);
  finish();
  const auto eye = host::viewCameraOf(draw());
  const auto lampAt = eye.project({0, 0, 3}), cameraAt = eye.project({1, 0, 3});
  EXPECT_EQ(view->objectAt(lampAt->x, lampAt->y), lamp);
  EXPECT_EQ(view->objectAt(lampAt->x + 8, lampAt->y), lamp);
  EXPECT_EQ(view->objectAt(cameraAt->x, cameraAt->y), camera);
  EXPECT_EQ(view->objectAt(lampAt->x, lampAt->y + 20)->GetName(), String("box"));
  view->lookThrough(camera);
  finish();
  const auto self = host::viewCameraOf(draw()).project({1, 0, 3});
  EXPECT_TRUE(!self || view->objectAt(self->x, self->y) != camera) << "nobody sees the own camera";
}

// The outline of a light with an area, at its size in the world.
TEST_F(PictureTest, AreaLightsShowTheirOutline) {
  placeCamera({0, 0, 8});
  open(300, 200);
  const ViewImage empty = finish();
  BaseObject* lamp = addObject(Olight, "lamp", Matrix());
  const auto eye = host::viewCameraOf(draw());
  const auto changedAt = [&](double x, double y) {
    const auto spot = eye.project({x, y, 0});
    view->repaintSoon();
    const ViewImage& image = finish();
    const int px = static_cast<int>(spot->x), py = static_cast<int>(spot->y);
    return image.pixels[image.index(px, py)] != empty.pixels[empty.index(px, py)];
  };
  EXPECT_FALSE(changedAt(1.5, 0.9)) << "a lamp has its sign only";
  lamp->SetParameter(host::param::lightKind, GeData(LONG(3)));
  lamp->SetParameter(host::param::lightWidth, GeData(Real(3)));
  lamp->SetParameter(host::param::lightHeight, GeData(Real(2)));
  EXPECT_TRUE(changedAt(1.5, 0.9));
  EXPECT_TRUE(changedAt(-0.7, -1));
  EXPECT_FALSE(changedAt(1.2, 0.7)) << "inside";
  lamp->SetParameter(host::param::lightKind, GeData(LONG(4)));
  EXPECT_FALSE(changedAt(1.5, 0.9)) << "round now";
  EXPECT_TRUE(changedAt(1.5, 0));
  EXPECT_TRUE(changedAt(0, 1.5));
}

TEST_F(PictureTest, AClickSelects) {
  BaseObject* left = addBox("left", {-1, 0, 0});
  BaseObject* right = addBox("right", {1, 0, 0});
  placeCamera({0, 0, 6});
  open(300, 200);
  finish();
  const auto eye = host::viewCameraOf(draw());
  const auto at = [&](BaseObject* box) { return *eye.project(box->GetMg().off); };
  const auto click = [&](double x, double y, host::ViewKeys keys = {}, double slip = 0) {
    host::ViewMouse event = mouse(x, y);
    event.keys = keys;
    EXPECT_TRUE(view->mousePress(event));
    event.x += slip;
    view->mouseMove(event);
    view->mouseRelease(event);
  };
  const auto selected = [&] {
    return std::string(left->GetBit(BIT_ACTIVE) ? "left " : "") + (right->GetBit(BIT_ACTIVE) ? "right" : "");
  };
  host::ViewKeys shift, ctrl;
  shift.shift = ctrl.ctrl = true;
  click(at(left).x, at(left).y);
  EXPECT_EQ(selected(), "left ");
  click(at(right).x, at(right).y, {}, 2);
  EXPECT_EQ(selected(), "right");
  click(at(left).x, at(left).y, shift);
  EXPECT_EQ(selected(), "left right");
  click(at(right).x, at(right).y, ctrl);
  EXPECT_EQ(selected(), "left ");
  click(2, 2, ctrl);
  EXPECT_EQ(selected(), "left ") << "adding nothing changes nothing";
  click(at(right).x, at(right).y, {}, 30);
  EXPECT_EQ(selected(), "left ") << "a drag is no click";
  click(2, 2);
  EXPECT_EQ(selected(), "");

  std::vector<std::pair<BaseObject*, bool>> asked;
  services.select = [&](BaseObject* object, bool add) { asked.emplace_back(object, add); };
  open(300, 200);
  finish();
  click(at(left).x, at(left).y, shift);
  click(2, 2);
  ASSERT_EQ(asked.size(), 2u);
  EXPECT_EQ(asked[0], (std::pair<BaseObject*, bool>(left, true)));
  EXPECT_EQ(asked[1], (std::pair<BaseObject*, bool>(nullptr, false)));
  EXPECT_EQ(selected(), "") << "the program decides";
}

TEST_F(PictureTest, TextsNameTheCamera) {
  BaseObject* camera = addObject(Ocamera, "Front shot", MatrixMove({0, 0, 5}));
  open(300, 200);
  ASSERT_EQ(view->texts().size(), 4u);
  EXPECT_EQ(view->texts()[0].text, String("Perspective"));
  view->lookThrough(camera);
  EXPECT_EQ(view->texts()[0].text, String("Front shot"));
  view->lookThrough(nullptr);
  draw().GetEditorCamera()->SetParameter(1001, LONG{1});
  EXPECT_EQ(view->texts()[0].text, String("Parallel"));
}

TEST(Picture, EveryBlockSizeCoversEveryPixel) {
  host::PictureSetup setup;
  setup.width = 37, setup.height = 29;
  setup.frame = {0, 0, 37, 29};
  setup.camera.width = 37, setup.camera.height = 29;
  host::TracedPixels reference;
  reference.reset(37, 29);
  long rays = 0;
  ASSERT_TRUE(host::traceLevel(setup, nullptr, 1, 2, {}, reference, rays));
  EXPECT_EQ(rays, 37 * 29);
  for (const int first : {16, 8, 4, 2}) {
    host::TracedPixels pixels;
    pixels.reset(37, 29);
    long sum = 0;
    for (int block = first; block >= 1; block /= 2) {
      ASSERT_TRUE(host::traceLevel(setup, nullptr, block, 2, {}, pixels, rays));
      sum += rays;
      const ViewImage image = host::finishPicture(setup, pixels, block, 2);
      for (int y = 0; y < 29; ++y)
        for (int x = 0; x < 37; ++x) {
          const int px = std::min(x / block * block + block / 2, 36),
                    py = std::min(y / block * block + block / 2, 28);
          ASSERT_EQ(image.at(x, y), reference.colors[static_cast<std::size_t>(py * 37 + px)]);
        }
    }
    EXPECT_EQ(sum, 37 * 29) << "no pixel is traced twice";
  }
}

TEST(Picture, AnAbandonedLevelSaysSo) {
  host::PictureSetup setup;
  setup.width = setup.height = 200;
  setup.camera.width = setup.camera.height = 200;
  host::TracedPixels pixels;
  pixels.reset(200, 200);
  long rays = 0;
  std::atomic<int> asked{0};
  EXPECT_FALSE(host::traceLevel(
      setup, nullptr, 1, 2, [&] { return ++asked > 5; }, pixels, rays));
  EXPECT_LT(rays, 200 * 200);
  EXPECT_EQ(std::count(pixels.done.begin(), pixels.done.end(), 1), rays);
  long rest = 0;
  EXPECT_TRUE(host::traceLevel(setup, nullptr, 1, 2, {}, pixels, rest));
  EXPECT_EQ(rays + rest, 200 * 200);
}

} // namespace
