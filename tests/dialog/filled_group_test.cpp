// User areas that fill a scroll group.
#include <algorithm>

#include "area_kit.h"
#include "plugin_renders.h"

namespace {

/// The area is as large as the visible part of the group.
class FilledGroupTest : public AreaTest {
 protected:
  FilledGroupTest() {
    area.minSize = [&] {
      if (fixed) return;
      const host::Place shown = visible();
      area.minWidth = shown.width, area.minHeight = shown.height;
    };
    open();
    resize(400, 300);
    EXPECT_EQ(size(), "400 x 300");
    dialog.calls.clear();
  }
  host::Place visible() {
    LONG left = 0, top = 0, right = 0, bottom = 0;
    dialog.GetVisibleArea(SCROLL, &left, &top, &right, &bottom);
    return {left, top, right - left, bottom - top};
  }
  std::string size() { return std::to_string(area.GetWidth()) + " x " + std::to_string(area.GetHeight()); }
  /// Resizes the group and waits until the size has settled.
  void resize(LONG width, LONG height) {
    host::setScrollSize(dialog, SCROLL, width, height);
    area.LayoutChanged();
    advance(1000);
  }
  /// Renders like a viewer that keeps its bitmap when only one side differs.
  void render() {
    host::countPluginRender();
    if (area.GetWidth() == bitmapWidth || area.GetHeight() == bitmapHeight) return;
    bitmapWidth = area.GetWidth(), bitmapHeight = area.GetHeight();
  }
  bool isSquashed() const { return (area.GetWidth() == bitmapWidth) != (area.GetHeight() == bitmapHeight); }
  LONG bitmapWidth = 0, bitmapHeight = 0;
  bool fixed = false;
};

TEST_F(FilledGroupTest, GiveUpAPixelWhenTheOtherSideAloneHasChanged) {
  render();
  resize(500, 300);
  EXPECT_EQ(size(), "500 x 299");
  EXPECT_EQ(visible().height, 299);
  EXPECT_EQ(std::count(dialog.calls.begin(), dialog.calls.end(), "sized"), 1) << "the last size is told";
  render();
  resize(600, 300);
  EXPECT_EQ(size(), "600 x 300") << "and regain it";
  render();
  resize(600, 200);
  EXPECT_EQ(size(), "599 x 200");
  render();
  resize(700, 250);
  EXPECT_EQ(size(), "700 x 250") << "both sides differ";
}

TEST_F(FilledGroupTest, NeverDriftOverManyResizes) {
  std::uint32_t state = 5;
  const auto next = [&state](LONG below) {
    state = state * 1664525u + 1013904223u;
    return static_cast<LONG>(state >> 16) % below;
  };
  LONG width = 400, height = 300;
  for (int round = 0; round < 600; ++round) {
    SCOPED_TRACE(round);
    if (next(2) == 0) render();
    if (next(3) != 0)
      width = 400 + next(4);
    else
      height = 300 + next(4);
    resize(width, height);
    ASSERT_FALSE(isSquashed()) << size() << " for " << bitmapWidth << " x " << bitmapHeight;
    ASSERT_LE(width - area.GetWidth() + height - area.GetHeight(), 1);
    ASSERT_GE(width, area.GetWidth());
    ASSERT_GE(height, area.GetHeight());
  }
}

TEST_F(FilledGroupTest, OfAFixedSizeKeepTheGroupWhole) {
  render();
  fixed = true;
  area.minWidth = 350, area.minHeight = 300;
  resize(350, 300);
  EXPECT_EQ(size(), "350 x 300");
  EXPECT_EQ(visible().height, 300);
  EXPECT_EQ(std::count(dialog.calls.begin(), dialog.calls.end(), "sized"), 1);
}

} // namespace
