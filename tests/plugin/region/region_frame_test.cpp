// Views whose frame does not start at 0: the box, the pointer, the drag and the render count from its corner.
#include <gtest/gtest.h>

#include "dlg_lumenara.h"
#include "document.h"
#include "region_fixture.h"

namespace {

class Viewer : public DlgLumenara {
 public:
  std::vector<LONG> map(BaseDraw* bd, BaseDocument* doc) {
    regionWidth = 320;
    regionHeight = 240;
    LONG width = 0, height = 0;
    GetRegion(bd, doc, &width, &height);
    return {width, height, x1, y1, x2, y2};
  }
};

class RegionFrameTest : public RegionFixture {
 protected:
  static constexpr LONG LEFT = 137, TOP = 61, WIDTH = 800, HEIGHT = 600;
  void SetUp() override {
    RegionFixture::SetUp();
    setView(WIDTH, HEIGHT);
    setAspect(4.0 / 3);
    setRegion(0.25, 0.3, 0.4);
    moveFrame(LEFT, TOP);
  }
  void moveFrame(LONG left, LONG top) { host::setViewArea(*draw(), left, top, left + WIDTH, top + HEIGHT); }
};

TEST_F(RegionFrameTest, TheBoxCountsFromTheFramesCorner) {
  EXPECT_EQ(drawnBox(), (Box{200, 180, 200 + 320, 180 + 240}));
  moveFrame(0, 0);
  EXPECT_EQ(drawnBox(), (Box{200, 180, 200 + 320, 180 + 240}));
}

TEST_F(RegionFrameTest, SoDoTheBoundsThatKeepItInside) {
  setRegion(0.9, 0.9, 0.4);
  EXPECT_EQ(drawnBox(), (Box{800 - 320, 600 - 240, 800, 600}));
  setRegion(-0.2, -0.2, 0.4);
  EXPECT_EQ(drawnBox(), (Box{1, 2, 321, 242}));
}

TEST_F(RegionFrameTest, SoDoesThePointer) {
  EXPECT_EQ(cursorAt(200, 300), 18);
  EXPECT_EQ(cursorAt(200 + LEFT, 300 + TOP), 0);
  EXPECT_EQ(cursorAt(400, 180), 18);
}

TEST_F(RegionFrameTest, ADragMovesByTheFramesSize) {
  EXPECT_EQ(cursorAt(200, 300), 18);
  EXPECT_TRUE(press(200, 300, {moveTo(240, 330), release(240, 330)}));
  EXPECT_NEAR(region().GetReal(LM_REGION_X), 0.25 + 40.0 / (WIDTH - 1), 1e-12);
  EXPECT_NEAR(region().GetReal(LM_REGION_Y), 0.3 + 30.0 / (HEIGHT - 1), 1e-12);
}

TEST_F(RegionFrameTest, TheRenderIsTheSameWhereverTheFrameLies) {
  Viewer viewer;
  const std::vector<LONG> moved = viewer.map(draw(), document);
  moveFrame(0, 0);
  EXPECT_EQ(moved, viewer.map(draw(), document));
  EXPECT_EQ(moved, (std::vector<LONG>{800, 600, 200, 180, 519, 419}));
}

} // namespace
