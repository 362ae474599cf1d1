// The viewer's window: its messages about a new size and about closing, each by itself.
#include <gtest/gtest.h>

#include "viewer_fixture.h"

namespace {

constexpr LONG VIEWS_NOW = 0x40502;

using Flags = std::vector<LONG>;

class ViewerMessageTest : public ViewerFixture {
 protected:
  void SetUp() override {
    ViewerFixture::SetUp();
    openEnabled(64, 48);
  }
  void tellNewSize() {
    BaseContainer result;
    viewer->Message(BaseContainer(FourCC("bISI")), result);
  }
  /// Whether the message makes the view ask for its size again.
  bool asksForItsSize() {
    view().width = -1;
    tellNewSize();
    const bool asked = view().width != -1;
    advance(300);
    finishRender();
    view().width = 64;
    return asked;
  }
};

TEST_F(ViewerMessageTest, ANewSizeLaysOutEverySizeButTheCustomOne) {
  for (const LONG size : {0, 2, 3, 4, 5, 6}) {
    setOption(LM_VIEW_SIZE, size);
    EXPECT_TRUE(asksForItsSize()) << size;
  }
  setOption(LM_VIEW_SIZE, 1);
  EXPECT_FALSE(asksForItsSize());
  viewer->settings.GetDataInstance()->RemoveData(LM_VIEW_SIZE);
  EXPECT_FALSE(asksForItsSize()) << "an absent size is the custom one";
}

TEST_F(ViewerMessageTest, ANewSizeRedrawsAndRendersWhateverTheSize) {
  setOption(LM_AUTO_REFRESH, 1);
  for (const bool absent : {false, true}) {
    SCOPED_TRACE(absent);
    if (absent) viewer->settings.GetDataInstance()->RemoveData(LM_VIEW_SIZE);
    fillBitmap(*view().display, 64, 48, {9, 8, 7}, 32);
    view().data.stampsPending = 1; // shows what was composed
    const std::size_t before = renderCount();
    holdRenders();
    tellNewSize();
    view().data.stampsPending = 1;
    advance(20); // the redraw's frame, before the view's own timer
    EXPECT_EQ(paintedPixel(view(), 5, 5), (Rgb{9, 8, 7}));
    EXPECT_EQ(rendersSoFar(), before + 1);
  }
}

TEST_F(ViewerMessageTest, ANewSizeWithoutAutomaticRefreshRendersNothing) {
  setOption(LM_AUTO_REFRESH, 0);
  tellNewSize();
  EXPECT_EQ(rendersSoFar(), 0u);
}

TEST_F(ViewerMessageTest, AskCloseAloneHidesTheRegionAndAllows) {
  ASSERT_EQ(storedOption(LM_REGION_SHOWN), 1);
  EXPECT_FALSE(viewer->AskClose());
  EXPECT_EQ(storedOption(LM_REGION_SHOWN), 0);
  EXPECT_EQ(ui.drawnViews, Flags{VIEWS_NOW});
}

TEST_F(ViewerMessageTest, DestroyWindowAloneHidesTheRegionToo) {
  ASSERT_EQ(storedOption(LM_REGION_SHOWN), 1);
  viewer->DestroyWindow();
  EXPECT_EQ(storedOption(LM_REGION_SHOWN), 0);
  EXPECT_EQ(ui.drawnViews, Flags{VIEWS_NOW});
}

} // namespace
