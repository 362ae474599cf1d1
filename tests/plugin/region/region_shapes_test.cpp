// The region's box in a view with a surround, and the region as the viewer shows it: one frames the other.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "editor_view.h"
#include "lm_region.h"
#include "square_scene.h"
#include "view_camera.h"
#include "view_tracer.h"

namespace {

constexpr std::uint32_t WHITE = 0xffffffffU;

class RegionShapesTest : public ViewerFixture {
 protected:
  void SetUp() override {
    ViewerFixture::SetUp();
    callAsPlugin([] { ASSERT_TRUE(RegisterRegionHook()); });
    host::EditorViewServices services;
    services.tracer = &host::viewTracer();
    editor = std::make_unique<host::EditorView>(services);
    square = addObject(Opolygon, "square");
    makeGreen(*document, *square);
    openEnabled();
    setOption(LM_MODE, LM_MODE_REGION);
    setOption(LM_STAMP_RENDER_TIME, 0);
    BaseContainer* data = document->GetActiveRenderData()->GetDataInstance();
    data->SetLong(RDATA_MAXSAMPLES, 8);
    data->SetReal(RDATA_NOISETHRESHOLD, 0);
    data->SetLong(7106, 1); // samples spread evenly: a region has the pixels of the whole picture
  }
  void TearDown() override {
    editor.reset();
    ViewerFixture::TearDown();
  }

  BaseDraw& draw() { return *document->GetActiveBaseDraw(); }
  LONG whole(LONG low, LONG high) { return std::uniform_int_distribution<LONG>(low, high)(random); }
  Real real(Real low, Real high) { return std::uniform_real_distribution<Real>(low, high)(random); }

  void setFormat(LONG width, LONG height) {
    BaseContainer* data = document->GetActiveRenderData()->GetDataInstance();
    data->SetLong(RDATA_XRES, width);
    data->SetLong(RDATA_YRES, height);
  }
  void setViewer(LONG width, LONG height) {
    setOption(LM_MIN_WIDTH, width);
    setOption(LM_MIN_HEIGHT, height);
    view().LayoutChanged();
    advance(400);
    ASSERT_EQ(view().width, width);
    ASSERT_EQ(view().height, height);
  }
  void turnCamera() {
    const Real turn = real(-2, 2), tilt = real(-0.6, 0.6);
    draw().GetEditorCamera()->SetMg(host::navigate::orbit(MatrixMove(Vector(0, 1, 8)), Vector(), turn, tilt));
    draw().GetEditorCamera()->SetParameter(1002, real(0.3, 1.2));
  }

  /// The white lines in the editor view's picture.
  Rectangle boxInPicture() {
    EXPECT_TRUE(editor->finishPicture());
    editor->repaintNow();
    const host::ViewImage& image = editor->image();
    Rectangle box;
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x)
        if (image.at(x, y) == WHITE) box.add(x, y);
    return box;
  }

  /// Puts the square's corners under these places of the editor view.
  void placeSquare(const Rectangle& at) {
    const host::ViewCamera eye = host::viewCameraOf(draw());
    const Vector corners[4] = {eye.pointAt(at.left, at.top, 5), eye.pointAt(at.right, at.top, 5),
                               eye.pointAt(at.right, at.bottom, 5), eye.pointAt(at.left, at.bottom, 5)};
    square->SetMg(Matrix());
    host::stateOf(square)->mesh = squareMesh(corners);
  }

  std::unique_ptr<host::EditorView> editor;
  BaseObject* square = nullptr;
  std::mt19937 random{20};
};

TEST_F(RegionShapesTest, TheRegionShowsWhatTheBoxFramesAtEveryShape) {
  int barred = 0;
  Real worst = 0;
  for (int round = 0; round < 50; ++round) {
    const LONG windowW = whole(240, 640), windowH = whole(200, 560);
    const LONG viewerW = whole(60, 260) + round % 2, viewerH = whole(50, 200);
    const LONG formatW = whole(300, 2000), formatH = whole(300, 1500);
    SCOPED_TRACE(testing::Message() << "round " << round << ": window " << windowW << " x " << windowH
                                    << ", viewer " << viewerW << " x " << viewerH << ", format " << formatW
                                    << " x " << formatH);
    setFormat(formatW, formatH);
    turnCamera();
    editor->resize(windowW, windowH);
    setViewer(viewerW, viewerH);

    LONG left = 0, top = 0, right = 0, bottom = 0;
    draw().GetFrame(&left, &top, &right, &bottom);
    const LONG frameW = right - left, frameH = bottom - top;
    barred += left > 0 || top > 0;
    // A place and a size of whole pixels, which rounding leaves where they are.
    const Real aspect = static_cast<Real>(viewerW) / viewerH;
    const Real viewAspect = static_cast<Real>(frameW) / frameH;
    const Real limit = viewAspect > aspect ? frameH : frameW;
    const Real size = (std::floor(limit * real(0.35, 0.8)) + 0.001) / limit;
    const Real boxW = viewAspect > aspect ? limit * size * aspect : limit * size;
    const Real boxH = viewAspect > aspect ? limit * size : limit * size / aspect;
    const LONG x = whole(1, static_cast<LONG>(frameW - boxW) - 1);
    const LONG y = whole(2, static_cast<LONG>(frameH - boxH) - 1);
    setRegion((x + 0.001) / frameW, (y + 0.001) / frameH, size);

    const Rectangle box = boxInPicture();
    ASSERT_EQ(box.left, left + x);
    ASSERT_EQ(box.top, top + y);
    ASSERT_NEAR(box.right - box.left, boxW, 1);
    ASSERT_NEAR(box.bottom - box.top, boxH, 1);
    const Real shownW = box.right - box.left, shownH = box.bottom - box.top;
    const Rectangle at{box.left + shownW * real(0.05, 0.3), box.top + shownH * real(0.05, 0.3),
                       box.left + shownW * real(0.7, 0.95), box.top + shownH * real(0.7, 0.95)};
    placeSquare(at);
    editor->repaintSoon();
    ASSERT_TRUE(editor->finishPicture());
    EXPECT_EQ(editor->objectAt(at.left + 1, at.top + 1), square);
    EXPECT_EQ(editor->objectAt(at.right - 1, at.bottom - 1), square);
    EXPECT_EQ(editor->objectAt(at.left - 1, at.top + 1), nullptr);
    EXPECT_EQ(editor->objectAt(at.right - 1, at.bottom + 1), nullptr);

    view().image->Init(1, 1, 24); // the bitmap follows also when one side is as before
    render();
    const BaseBitmap& picture = *view().image;
    const Rectangle seen = greenPart(picture, viewer->x1, viewer->y1, viewer->x2, viewer->y2);
    // In the view's pixels; the coarser of both pictures is the measure.
    const Real across = static_cast<Real>(picture.GetBw()) / frameW;
    const Real down = static_cast<Real>(picture.GetBh()) / frameH;
    const Real pixelX = std::max(1.0, 1 / across), pixelY = std::max(1.0, 1 / down);
    for (const auto& [inView, inRender] : {std::pair{at.left, seen.left}, {at.right, seen.right}}) {
      const Real apart = std::abs(inView - left - inRender / across) / pixelX;
      EXPECT_LE(apart, 1) << "the corners lie elsewhere";
      worst = std::max(worst, apart);
    }
    for (const auto& [inView, inRender] : {std::pair{at.top, seen.top}, {at.bottom, seen.bottom}}) {
      const Real apart = std::abs(inView - top - inRender / down) / pixelY;
      EXPECT_LE(apart, 1) << "the corners lie elsewhere";
      worst = std::max(worst, apart);
    }
    // The rectangle is the box. The side that the other one follows from is rounded first.
    EXPECT_NEAR(viewer->x1 / across, x, pixelX);
    EXPECT_NEAR(viewer->y1 / down, y, pixelY);
    const bool byHeight = viewAspect > aspect;
    EXPECT_NEAR((viewer->x2 - viewer->x1 + 1) / across, shownW, pixelX * (byHeight ? 1 + aspect : 1));
    EXPECT_NEAR((viewer->y2 - viewer->y1 + 1) / down, shownH, pixelY * (byHeight ? 1 : 1 + 1 / aspect));
  }
  EXPECT_GT(barred, 40);
  RecordProperty("furthest", std::to_string(worst));
  EXPECT_GT(worst, 0) << "something was measured";
}

} // namespace
