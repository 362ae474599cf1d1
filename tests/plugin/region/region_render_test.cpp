// The region on the way to a render: the whole image that it implies, and the rectangle within it.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>

#include "dlg_lumenara.h"
#include "lm_thread.h"
#include "region_fixture.h"
#include "scene_file.h"

namespace {

struct Mapped {
  LONG width = 0, height = 0;
  LONG x1 = 0, y1 = 0, x2 = 0, y2 = 0;
  friend bool operator==(const Mapped&, const Mapped&) = default;
};

std::ostream& operator<<(std::ostream& out, const Mapped& m) {
  return out << m.width << " x " << m.height << ": (" << m.x1 << ", " << m.y1 << ", " << m.x2 << ", " << m.y2
             << ")";
}

class Viewer : public DlgLumenara {
 public:
  Mapped map(BaseDraw* bd, BaseDocument* doc, LONG renderWidth, LONG renderHeight, LONG divisor = 1) {
    regionWidth = renderWidth;
    regionHeight = renderHeight;
    settings.SetValue(LM_OPT_RES_DIVISOR, divisor);
    Mapped mapped;
    GetRegion(bd, doc, &mapped.width, &mapped.height);
    mapped.x1 = x1, mapped.y1 = y1, mapped.x2 = x2, mapped.y2 = y2;
    return mapped;
  }
  using DlgLumenara::aspect;
  using DlgLumenara::settings;
  using DlgLumenara::size;
  using DlgLumenara::x;
  using DlgLumenara::y;
};

class RegionRenderTest : public RegionFixture {
 protected:
  void SetUp() override {
    RegionFixture::SetUp();
    viewer = std::make_unique<Viewer>();
  }
  void TearDown() override {
    viewer.reset();
    RegionFixture::TearDown();
  }
  Mapped map(LONG width, LONG height, LONG divisor = 1) {
    return viewer->map(draw(), document, width, height, divisor);
  }
  std::unique_ptr<Viewer> viewer;
};

TEST_F(RegionRenderTest, TheRecordIsReadAsByTheHook) {
  viewer->GetRegionInfo(document);
  EXPECT_EQ(viewer->aspect, 1.333334);
  EXPECT_EQ(viewer->size, 0.5);
  EXPECT_EQ(viewer->x, 0.0);
  EXPECT_EQ(viewer->y, 0.0);
  setRegion(0.1, 0.2, 0.3);
  store(LM_ASPECT, 2.0);
  viewer->GetRegionInfo(document);
  EXPECT_EQ(viewer->aspect, 2.0);
  EXPECT_EQ(viewer->size, 0.3);
  EXPECT_EQ(viewer->x, 0.1);
  EXPECT_EQ(viewer->y, 0.2);
}

TEST_F(RegionRenderTest, AWideViewGoesByTheHeight) {
  store(LM_ASPECT, 1.5);
  setViewAndFormat(1000, 500);
  setRegion(0.1, 0.1, 0.5);
  // 240 / 0.5 high, twice as wide; the box 240 high and 360 wide.
  EXPECT_EQ(map(360, 240), (Mapped{960, 480, 96, 48, 96 + 359, 48 + 239}));
}

TEST_F(RegionRenderTest, ATallViewGoesByTheWidth) {
  store(LM_ASPECT, 1.5);
  setViewAndFormat(500, 1000);
  setRegion(0.1, 0.1, 0.5);
  EXPECT_EQ(map(360, 240), (Mapped{720, 1440, 72, 144, 72 + 359, 144 + 239}));
}

TEST_F(RegionRenderTest, AViewOfTheSameAspectGoesByTheWidth) {
  store(LM_ASPECT, 1.5);
  setViewAndFormat(600, 400);
  setRegion(0.0, 0.0, 0.3);
  // 361 / 0.3 is cut to 1203.
  EXPECT_EQ(map(361, 240), (Mapped{1203, 802, 0, 0, 359, 239}));
}

TEST_F(RegionRenderTest, TheDivisorDividesIntegersFirst) {
  store(LM_ASPECT, 1.5);
  setViewAndFormat(1000, 500);
  setRegion(0.1, 0.1, 0.5);
  EXPECT_EQ(map(360, 240, 2), (Mapped{480, 240, 48, 24, 48 + 179, 24 + 119}));
  // 239 / 2 is 119, and 119 / 0.5 is 238.
  EXPECT_EQ(map(360, 239, 2).height, 238);
  EXPECT_EQ(map(360, 239, 3).height, 158) << "79 / 0.5";
}

TEST_F(RegionRenderTest, ASafeFramesBorderIsTakenOnce) {
  store(LM_ASPECT, 1.0);
  setView(1000, 500);
  setFormat(500, 500); // bars of 250: the view counts as 750 by 500
  setRegion(0.4, 0.0, 0.5);
  EXPECT_EQ(map(200, 200), (Mapped{600, 400, 0, 0, 199, 199})) << "240 - 250 is below 0";
  setRegion(0.6, 0.0, 0.5);
  EXPECT_EQ(map(200, 200), (Mapped{600, 400, 110, 0, 309, 199}));

  setView(500, 1000);
  setFormat(500, 500);
  setRegion(0.0, 0.6, 0.5);
  EXPECT_EQ(map(200, 200), (Mapped{400, 600, 0, 110, 199, 309}));
}

TEST_F(RegionRenderTest, ARectangleThatReachesTooFarIsMovedBack) {
  store(LM_ASPECT, 1.5);
  setViewAndFormat(1000, 500);
  setRegion(0.9, 0.9, 0.5);
  EXPECT_EQ(map(360, 240), (Mapped{960, 480, 960 - 360, 480 - 240, 959, 479}));
  setRegion(600.0 / 960, 0.5, 0.5);
  EXPECT_EQ(map(360, 240), (Mapped{960, 480, 600, 240, 959, 479})) << "it ends at the last pixel";
}

TEST_F(RegionRenderTest, PlacesBelowZeroAreZero) {
  store(LM_ASPECT, 1.5);
  setViewAndFormat(1000, 500);
  setRegion(-0.5, -0.5, 0.5);
  EXPECT_EQ(map(360, 240), (Mapped{960, 480, 0, 0, 359, 239}));
}

/// The rules one after the other.
Mapped modelMap(double w, double h, double aspect, double size, double x, double y, double from,
                LONG orientation, LONG renderWidth, LONG renderHeight, LONG divisor) {
  if (orientation == 1) w -= from;
  if (orientation == 2) h -= from;
  const double va = w / h;
  double width, height, boxW, boxH;
  if (va > aspect) {
    height = std::trunc(std::trunc(static_cast<double>(renderHeight) / divisor) / size);
    width = std::floor(height * va);
    boxH = std::floor(height * size);
    boxW = std::floor(boxH * aspect);
  } else {
    width = std::trunc(std::trunc(static_cast<double>(renderWidth) / divisor) / size);
    height = std::floor(width / va);
    boxW = std::floor(width * size);
    boxH = std::floor(boxW / aspect);
  }
  double left = std::floor(width * x) - (orientation == 1 ? from : 0);
  double top = std::floor(height * y) - (orientation == 2 ? from : 0);
  left = std::max(left, 0.0);
  top = std::max(top, 0.0);
  double right = left + boxW - 1, bottom = top + boxH - 1;
  if (right >= width - 1) left = width - boxW, right = width - 1;
  if (bottom >= height - 1) top = height - boxH, bottom = height - 1;
  return {static_cast<LONG>(width), static_cast<LONG>(height), static_cast<LONG>(left),
          static_cast<LONG>(top),   static_cast<LONG>(right),  static_cast<LONG>(bottom)};
}

TEST_F(RegionRenderTest, AgreesWithTheModelEverywhere) {
  const unsigned seed = ::testing::UnitTest::GetInstance()->random_seed();
  std::mt19937 random(seed);
  const auto whole = [&](LONG a, LONG b) { return std::uniform_int_distribution<LONG>(a, b)(random); };
  const auto real = [&](Real a, Real b) { return std::uniform_real_distribution<Real>(a, b)(random); };
  int inside = 0;
  for (int i = 0; i < 4000; ++i) {
    const bool tiny = i % 4 == 3; // views and renders of a few pixels, down to none behind the divisor
    const LONG w = whole(1, tiny ? 4 : 2000), h = whole(1, tiny ? 4 : 2000);
    setView(w, h);
    if (whole(0, 2) == 0) {
      setFormat(w, h);
    } else {
      setFormat(whole(1, 3000), whole(1, 3000));
    }
    const Real aspect = whole(0, 5) ? real(0.1, 8) : static_cast<Real>(w) / h;
    const Real size = real(0.1, 1.0), x = real(-1.5, 1.5), y = real(-1.5, 1.5);
    const LONG renderWidth = whole(1, tiny ? 30 : 2000), renderHeight = whole(1, tiny ? 30 : 2000);
    const LONG divisor = whole(1, 20);
    setAspect(aspect);
    setRegion(x, y, size);
    LONG from = 0, to = 0, orientation = 0;
    draw()->GetSafeFrame(&from, &to, &orientation);
    const Mapped mapped = map(renderWidth, renderHeight, divisor);
    ASSERT_EQ(mapped,
              modelMap(w, h, aspect, size, x, y, from, orientation, renderWidth, renderHeight, divisor))
        << "seed " << seed << ", round " << i << ": view " << w << " x " << h << ", aspect " << aspect
        << ", size " << size << ", place " << x << ", " << y << ", bars " << orientation << " " << from
        << ", render " << renderWidth << " x " << renderHeight << " / " << divisor;
    ASSERT_GE(mapped.x1, 0);
    ASSERT_GE(mapped.y1, 0);
    ASSERT_LE(mapped.x2, mapped.width - 1);
    ASSERT_LE(mapped.y2, mapped.height - 1);
    inside += mapped.x2 >= mapped.x1 && mapped.y2 >= mapped.y1;
  }
  EXPECT_GT(inside, 2800) << "most have an area";
  EXPECT_LT(inside, 4000) << "some have none";
}

TEST_F(RegionRenderTest, SensibleRegionsStayInsideTheImage) {
  std::mt19937 random(7);
  const auto real = [&](Real a, Real b) { return std::uniform_real_distribution<Real>(a, b)(random); };
  for (int i = 0; i < 1000; ++i) {
    const LONG w = static_cast<LONG>(real(200, 2000)), h = static_cast<LONG>(real(200, 2000));
    setViewAndFormat(w, h);
    setRegion(real(0, 1), real(0, 1), real(0.1, 1));
    setAspect(real(0.5, 3));
    const Mapped mapped = map(640, 480, 1 + i % 20);
    ASSERT_GE(mapped.x1, 0);
    ASSERT_GE(mapped.y1, 0);
    ASSERT_LT(mapped.x2, mapped.width);
    ASSERT_LT(mapped.y2, mapped.height);
  }
}

// A view of the render's aspect has no bars: the rectangle is the box, in the image's pixels.
TEST_F(RegionRenderTest, WithTheRendersAspectItRendersWhatTheBoxFrames) {
  std::mt19937 random(11);
  const auto real = [&](Real a, Real b) { return std::uniform_real_distribution<Real>(a, b)(random); };
  for (int i = 0; i < 500; ++i) {
    const LONG w = static_cast<LONG>(real(400, 2000)), h = static_cast<LONG>(real(400, 2000));
    const LONG renderWidth = static_cast<LONG>(real(200, 1000));
    setViewAndFormat(w, h);
    // The viewer shows the render in a picture of the box's aspect.
    const LONG renderHeight = static_cast<LONG>(real(200, 1000));
    setAspect(static_cast<Real>(renderWidth) / renderHeight);
    setRegion(real(0, 0.6), real(0, 0.6), real(0.2, 0.9));
    const Box box = drawnBox();
    // As after a drag: the record has the place that the safe frame allows.
    setRegion(static_cast<Real>(box.left) / w, static_cast<Real>(box.top) / h,
              region().GetReal(LM_REGION_SIZE));
    const Mapped mapped = map(renderWidth, renderHeight);
    const Real perX = static_cast<Real>(mapped.width) / w, perY = static_cast<Real>(mapped.height) / h;
    EXPECT_NEAR(mapped.x1, box.left * perX, perX + 2) << i;
    EXPECT_NEAR(mapped.y1, box.top * perY, 3 * perY + 2) << i;
    EXPECT_NEAR(mapped.x2 + 1, box.right * perX, 2 * perX + 2) << i;
    EXPECT_NEAR(mapped.y2 + 1, box.bottom * perY, 3 * perY + 2) << i;
  }
}

// ---- The picture

/// The small scene, rendered by the viewer's thread.
class RegionPictureTest : public RegionRenderTest {
 protected:
  void SetUp() override {
    RegionRenderTest::SetUp();
    host::LoadResult loaded = host::loadDocument(Filename(LUMENARA_SOURCE_DIR "/scenes/small.gltf"));
    ASSERT_TRUE(loaded.document) << loaded.error;
    hooks.follow(nullptr);
    document = loaded.document.release();
    host::setActiveDocument(document);
    hooks.follow(document);
    BaseContainer* rdata = document->GetActiveRenderData()->GetDataInstance();
    rdata->SetLong(RDATA_MAXSAMPLES, 2);
    rdata->SetReal(RDATA_NOISETHRESHOLD, 0);
    setViewAndFormat(640, 480);
    setAspect(4.0 / 3);
  }

  /// Renders into the bitmap as it is; without a rectangle the whole.
  void render(BaseBitmap& bitmap, const Mapped* part) {
    LMTHREAD_DATA status;
    lmThread thread;
    thread.settings = &viewer->settings;
    thread.data = &status;
    thread.bitmap = &bitmap;
    thread.region = part != nullptr;
    if (part) {
      thread.regionLeft = part->x1, thread.regionTop = part->y1;
      thread.regionRight = part->x2, thread.regionBottom = part->y2;
    }
    thread.Start();
    thread.Wait(TRUE);
    EXPECT_EQ(status.result, RENDERRESULT_OK);
  }

  static LONG colour(const BaseBitmap& bitmap, LONG x, LONG y) {
    UWORD r = 0, g = 0, b = 0;
    bitmap.GetPixel(x, y, &r, &g, &b);
    return r << 16 | g << 8 | b;
  }
  /// The greatest difference of a channel.
  static LONG distance(LONG a, LONG b) {
    LONG most = 0;
    for (const LONG shift : {16, 8, 0})
      most = std::max(most, std::abs((a >> shift & 255) - (b >> shift & 255)));
    return most;
  }
  static LONG differing(const BaseBitmap& a, const BaseBitmap& b) {
    LONG count = 0;
    for (LONG y = 0; y < a.GetBh(); ++y)
      for (LONG x = 0; x < a.GetBw(); ++x)
        count += distance(colour(a, x, y), colour(b, x, y)) > 1;
    return count;
  }
};

TEST_F(RegionPictureTest, TheRegionIsThatPartOfTheWholePicture) {
  setRegion(0.3, 0.25, 0.4);
  const Mapped mapped = map(64, 48);
  ASSERT_EQ(mapped.width, 160);
  ASSERT_EQ(mapped.height, 120);

  const AutoAlloc<BaseBitmap> whole, part;
  for (BaseBitmap* bitmap : {static_cast<BaseBitmap*>(whole), static_cast<BaseBitmap*>(part)})
    bitmap->Init(mapped.width, mapped.height, 24);
  render(*whole, nullptr);
  render(*part, &mapped);
  LONG inside = 0, wrong = 0, outside = 0;
  std::set<LONG> colours;
  for (LONG y = 0; y < mapped.height; ++y) {
    for (LONG x = 0; x < mapped.width; ++x) {
      const LONG a = colour(*whole, x, y), b = colour(*part, x, y);
      if (mapped.x1 <= x && x <= mapped.x2 && mapped.y1 <= y && y <= mapped.y2) {
        ++inside;
        colours.insert(a);
        wrong += distance(a, b) > 1;
      } else {
        outside += b != 0;
      }
    }
  }
  EXPECT_EQ(inside, 64 * 48);
  EXPECT_GT(colours.size(), 20u) << "there is something to see";
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(outside, 0) << "only the region is computed";
}

TEST_F(RegionPictureTest, ARectangleThatReachesPastAKeptBitmapIsClipped) {
  const LONG width = 24, height = 18;
  const AutoAlloc<BaseBitmap> whole, part;
  whole->Init(width, height, 24);
  render(*whole, nullptr);
  const Mapped rectangles[] = {{0, 0, 10, 5, 90, 70},  {0, 0, -9, -4, 6, 8},
                               {0, 0, -50, 3, 50, 9},  {0, 0, 24, 0, 30, 17},
                               {0, 0, -9, -9, -1, -1}, {0, 0, 8, 8, 7, 12},
                               {0, 0, 23, 17, 23, 17}, {0, 0, -1000000000, 0, 1000000000, 2000000000}};
  for (const Mapped& rectangle : rectangles) {
    part->Init(width, height, 24);
    part->Clear(1, 2, 3);
    render(*part, &rectangle);
    for (LONG y = 0; y < height; ++y) {
      for (LONG x = 0; x < width; ++x) {
        const bool in = rectangle.x1 <= x && x <= rectangle.x2 && rectangle.y1 <= y && y <= rectangle.y2;
        const LONG expected = in ? colour(*whole, x, y) : 0x010203;
        ASSERT_LE(distance(colour(*part, x, y), expected), in ? 1 : 0)
            << rectangle << " at " << x << ", " << y;
      }
    }
  }
}

TEST_F(RegionPictureTest, AfterADragTheRenderUsesTheScenesOwnCamera) {
  const AutoAlloc<BaseBitmap> own, linked, dragged;
  for (BaseBitmap* bitmap :
       {static_cast<BaseBitmap*>(own), static_cast<BaseBitmap*>(linked), static_cast<BaseBitmap*>(dragged)})
    bitmap->Init(32, 24, 24);
  render(*own, nullptr);

  BaseObject* camera = BaseObject::Alloc(Ocamera);
  camera->SetMg(MatrixMove(Vector(0.3, 0.2, 2.5)));
  document->InsertObject(camera, nullptr, nullptr);
  setRegion(0.25, 0.25, 0.5);
  document->GetDataInstance()->GetContainerInstance(LM_REGION)->SetLink(LM_REGION_CAMERA, camera);
  render(*linked, nullptr);
  EXPECT_GT(differing(*own, *linked), 50) << "the linked camera sees something else";

  cursorAt(0, 0);
  ASSERT_TRUE(press(160, 300, {moveTo(170, 300), release(170, 300)}));
  EXPECT_EQ(region().GetCount(), 3);
  render(*dragged, nullptr);
  EXPECT_EQ(differing(*own, *dragged), 0);
}

TEST_F(RegionRenderTest, DamagedValuesDoNoHarm) {
  const Real infinity = std::numeric_limits<Real>::infinity(), nothing = std::nan("");
  const Real values[] = {0, -1, 1e-300, 1e300, -1e300, infinity, -infinity, nothing, 0.5};
  for (const LONG w : {0, 1, 800}) {
    for (const LONG h : {0, 1, 600}) {
      setView(w, h);
      setFormat(640, 480);
      for (const Real aspect : values) {
        setAspect(aspect);
        for (const Real size : values) {
          setRegion(size, aspect, size);
          for (const LONG divisor : {-1, 0, 1, 2147483647})
            map(640, 480, divisor);
        }
      }
    }
  }
  store(LM_ASPECT, 1.5);
  setViewAndFormat(1000, 500);
  setRegion(0.1, 0.1, 0.5);
  EXPECT_EQ(map(360, 240, 0), (Mapped{960, 480, 96, 48, 96 + 359, 48 + 239}))
      << "a divisor of 0 divides nothing";
}

} // namespace
