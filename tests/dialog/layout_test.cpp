// Places of gadgets, and drawing into a surface.
#include "c4d_bitmap.h"
#include "dialog_kit.h"
#include "grid_layout.h"

namespace {

using host::GridItem;
using host::Place;

std::vector<LONG> numbers(const Place& place) {
  return {place.x, place.y, place.width, place.height};
}

TEST(GridLayout, CellsGoByColumnsThenByRows) {
  EXPECT_EQ(host::gridCell(3, 0, 4).column, 1);
  EXPECT_EQ(host::gridCell(3, 0, 4).row, 1);
  EXPECT_EQ(host::gridCell(0, 2, 5).column, 2);
  EXPECT_EQ(host::gridCell(0, 2, 5).row, 1);
  EXPECT_EQ(host::gridCell(0, 0, 5).row, 5);
  EXPECT_EQ(host::gridCell(0, 0, 5).column, 0);
}

TEST(GridLayout, SharesTheRest) {
  const host::Grid grid{3, 0, 4, 6};
  const std::vector<GridItem> items{{BFH_LEFT | BFV_TOP, 50, 20},
                                    {BFH_SCALEFIT | BFV_FIT, 30, 24},
                                    {BFH_SCALE | BFH_RIGHT, 30, 10},
                                    {BFH_FIT | BFV_SCALEFIT, 10, 10},
                                    {BFH_CENTER | BFV_BOTTOM, 10, 10}};
  EXPECT_EQ(numbers(host::gridMinimum(grid, items)), (std::vector<LONG>{0, 0, 118, 40}));
  const auto places = host::layoutGrid(grid, items, {5, 7, 139, 60});
  EXPECT_EQ(numbers(places[0]), (std::vector<LONG>{5, 7, 50, 20}));
  EXPECT_EQ(numbers(places[1]), (std::vector<LONG>{59, 7, 41, 24})) << "30 and 11 of 21";
  EXPECT_EQ(numbers(places[2]), (std::vector<LONG>{114, 14, 30, 10})) << "right in 40, in the middle of 24";
  EXPECT_EQ(numbers(places[3]), (std::vector<LONG>{5, 37, 50, 30}));
  EXPECT_EQ(numbers(places[4]), (std::vector<LONG>{74, 57, 10, 10}));
}

TEST(GridLayout, HiddenOnesTakeNoRoom) {
  const host::Grid grid{1, 0, 4, 4};
  const std::vector<GridItem> items{{0, 10, 10}, {0, 90, 90, true}, {0, 20, 10}};
  EXPECT_EQ(numbers(host::gridMinimum(grid, items)), (std::vector<LONG>{0, 0, 20, 24}));
  const auto places = host::layoutGrid(grid, items, {0, 0, 20, 24});
  EXPECT_EQ(numbers(places[2]), (std::vector<LONG>{0, 14, 20, 10}));
  EXPECT_EQ(places[1].width, 0);
  EXPECT_TRUE(host::layoutGrid(grid, {}, {0, 0, 9, 9}).empty());
  EXPECT_EQ(host::gridMinimum(grid, {}).width, 0);
}

TEST(GridLayout, TooLittleRoomKeepsTheMinimum) {
  const auto places = host::layoutGrid({2, 0, 4, 4}, {{BFH_SCALEFIT, 50, 20}, {BFH_SCALEFIT, 50, 20}}, {});
  EXPECT_EQ(places[1].x, 54);
  EXPECT_EQ(places[1].width, 50);
}

class GeometryTest : public DialogFixture {
 protected:
  std::vector<LONG> dim(LONG id) const {
    LONG x = -1, y = -1, w = -1, h = -1;
    if (!dialog.GetItemDim(id, &x, &y, &w, &h)) return {};
    return {x, y, w, h};
  }
  KitDialog dialog;
};

TEST_F(GeometryTest, GadgetsLieInTheirGroups) {
  dialog.layout = [&] {
    dialog.GroupBegin(1, BFH_SCALEFIT | BFV_SCALEFIT, 1, 0, "", 0);
    dialog.GroupBorderSpace(4, 4, 4, 4);
    dialog.GroupSpace(4, 4);
    dialog.ScrollGroupBegin(2, BFH_SCALEFIT | BFV_SCALEFIT, SCROLLGROUP_HORIZ | SCROLLGROUP_VERT, 120, 90);
    dialog.AddUserArea(3, BFH_SCALEFIT | BFV_SCALEFIT, 120, 90);
    dialog.GroupEnd();
    dialog.GroupBegin(4, BFH_SCALEFIT, 2, 0, "", 0);
    dialog.AddButton(5, 0, 40, 0, " A ");
    dialog.AddEditSlider(6, BFH_SCALEFIT, 80);
    dialog.GroupEnd();
    dialog.GroupEnd();
  };
  dialog.Open(DLG_TYPE_ASYNC, 1, -1, -1, 400, 300);
  EXPECT_EQ(dim(5), (std::vector<LONG>{4, dim(4)[1], 40, 24}));
  EXPECT_EQ(dim(4)[3], 24);
  EXPECT_EQ(dim(6)[0], 48);
  LONG x = 7, y = 8;
  EXPECT_TRUE(dialog.Local2Screen(&x, &y));
  EXPECT_EQ(x, 7);
  EXPECT_TRUE(dim(99).empty());
  dialog.HideElement(4, TRUE);
  EXPECT_TRUE(dim(5).empty()) << "its group is hidden";
  dialog.Close();
  EXPECT_TRUE(dim(5).empty());
  EXPECT_FALSE(dialog.Local2Screen(&x, &y));
}

TEST_F(GeometryTest, AScrollGroupShowsAllOrItsGivenSize) {
  KitArea area;
  dialog.layout = [&] {
    dialog.ScrollGroupBegin(2, 0, SCROLLGROUP_HORIZ | SCROLLGROUP_VERT);
    dialog.AddUserArea(3, 0, 120, 90);
    dialog.AttachUserArea(area, 3);
    dialog.GroupEnd();
  };
  dialog.Open(DLG_TYPE_ASYNC, 1);
  LONG l = -1, t = -1, r = -1, b = -1;
  EXPECT_TRUE(dialog.GetVisibleArea(2, &l, &t, &r, &b));
  EXPECT_EQ((std::vector<LONG>{l, t, r, b}), (std::vector<LONG>{0, 0, 120, 90}));
  area.minWidth = 640;
  area.LayoutChanged();
  runAll();
  dialog.GetVisibleArea(2, &l, &t, &r, &b);
  EXPECT_EQ(r, 640);
  host::setScrollSize(dialog, 2, 500, 400);
  EXPECT_TRUE(dialog.GetVisibleArea(2, &l, &t, &r, nullptr));
  EXPECT_EQ((std::vector<LONG>{l, t, r}), (std::vector<LONG>{0, 0, 500}));
  EXPECT_FALSE(dialog.GetVisibleArea(99, &l, &t, &r, &b));
  dialog.Close();
  EXPECT_FALSE(dialog.GetVisibleArea(2, &l, &t, &r, &b));
}

TEST_F(GeometryTest, OpenGroupsEndWithTheLayout) {
  dialog.layout = [&] {
    dialog.GroupBegin(1, 0, 1, 0, "", 0);
    dialog.GroupBegin(2, 0, 1, 0, "", 0);
    dialog.AddButton(3, 0, 0, 0, "In");
    EXPECT_TRUE(dialog.GroupEnd());
    EXPECT_TRUE(dialog.GroupEnd());
    EXPECT_FALSE(dialog.GroupEnd()) << "the window itself is no group to end";
    dialog.GroupBegin(4, 0, 1, 0, "", 0);
  };
  EXPECT_TRUE(dialog.Open(DLG_TYPE_ASYNC, 1));
  EXPECT_EQ(host::findGadget(dialog, 3)->parent->id, 2);
  EXPECT_EQ(host::dialogModel(dialog).root.children.size(), 2u);
}

// ---- Surface

class SurfaceTest : public ::testing::Test {
 protected:
  SurfaceTest() { surface.resize(20, 10, 1, 0xff000000); }
  int count(std::uint32_t color) const {
    int n = 0;
    for (int y = 0; y < surface.pixelHeight(); ++y)
      for (int x = 0; x < surface.pixelWidth(); ++x)
        n += surface.at(x, y) == color;
    return n;
  }
  host::Surface surface;
};

constexpr std::uint32_t white = 0xffffffff;

TEST_F(SurfaceTest, SizesAreCut) {
  surface.resize(-5, 7);
  EXPECT_EQ(surface.width(), 0);
  EXPECT_EQ(surface.at(0, 0), 0u);
  surface.resize(30000, 2, 2);
  EXPECT_EQ(surface.pixelWidth(), 32768);
  EXPECT_EQ(surface.pixelHeight(), 4);
  surface.resize(4, 4, -1);
  EXPECT_EQ(surface.ratio(), 1);
  EXPECT_EQ(surface.at(3, 3), 0xff2b2b2eu);
  EXPECT_EQ(surface.at(4, 3), 0u);
  EXPECT_EQ(surface.at(-1, 0), 0u);
}

TEST_F(SurfaceTest, RectanglesAreInclusiveAndCut) {
  surface.fillRect(2, 3, 4, 5, white);
  EXPECT_EQ(count(white), 9);
  EXPECT_EQ(surface.at(2, 3), white);
  EXPECT_EQ(surface.at(4, 5), white);
  surface.fillRect(MINLONGl, MINLONGl, 0, 0, white);
  EXPECT_EQ(count(white), 10);
  surface.fillRect(MINLONGl, MINLONGl, MAXLONGl, MAXLONGl, white);
  EXPECT_EQ(count(white), 200);
  surface.fill(0xff000000);
  surface.fillRect(4, 5, 2, 3, white);
  EXPECT_EQ(count(white), 9) << "either corner first";
  surface.fillRect(20, 10, 30, 30, white);
  EXPECT_EQ(count(white), 9);
}

TEST_F(SurfaceTest, LinesHaveBothEnds) {
  surface.line(1, 1, 5, 1, white);
  EXPECT_EQ(count(white), 5);
  surface.line(7, 7, 7, 7, white);
  EXPECT_EQ(count(white), 6);
  surface.fill(0);
  surface.line(0, 0, 9, 9, white);
  EXPECT_EQ(count(white), 10);
  EXPECT_EQ(surface.at(4, 4), white);
  surface.fill(0);
  surface.line(MINLONGl, 5, MAXLONGl, 5, white);
  EXPECT_EQ(count(white), 20) << "and a very long one is quick";
  surface.fill(0);
  surface.line(MINLONGl, -3, MAXLONGl, -3, white);
  EXPECT_EQ(count(white), 0);
}

TEST_F(SurfaceTest, ALineOfAHighDensityIsAsThickAsAPixel) {
  surface.resize(10, 10, 2, 0);
  surface.line(1, 1, 3, 1, white);
  EXPECT_EQ(count(white), 12);
  EXPECT_EQ(surface.at(2, 2), white);
  EXPECT_EQ(surface.at(7, 3), white);
}

class BlitTest : public SurfaceTest {
 protected:
  BlitTest() : bitmap(BaseBitmap::Alloc()) {}
  /// A picture with pixel (x, y) = (x * 10, y * 10, 200), alpha 255 - x.
  void make(LONG width, LONG height, LONG depth = 24) {
    bitmap->Init(width, height, depth);
    for (LONG y = 0; y < height; ++y)
      for (LONG x = 0; x < width; ++x) {
        bitmap->SetPixel(x, y, x * 10, y * 10, 200);
        bitmap->SetAlpha(x, y, 255 - x);
      }
  }
  static std::uint32_t code(int r, int g) {
    return 0xff0000c8u | static_cast<std::uint32_t>(r) << 16 | static_cast<std::uint32_t>(g) << 8;
  }
  AutoAlloc<BaseBitmap> bitmap;
};

TEST_F(BlitTest, CopiesAPartPixelByPixel) {
  make(8, 6);
  for (const bool smooth : {false, true}) {
    surface.fill(0xff000000);
    surface.blit(*bitmap, 3, 2, 4, 3, 1, 1, 4, 3, smooth, false);
    EXPECT_EQ(surface.at(3, 2), code(10, 10));
    EXPECT_EQ(surface.at(6, 4), code(40, 30));
    EXPECT_EQ(surface.at(7, 4), 0xff000000u);
    EXPECT_EQ(surface.at(2, 2), 0xff000000u);
  }
}

TEST_F(BlitTest, ThePartIsCutAndTheTargetKeepsItsScale) {
  make(4, 4);
  surface.blit(*bitmap, 0, 0, 16, 8, -4, 0, 8, 4, false, false);
  EXPECT_EQ(surface.at(7, 0), 0xff000000u) << "left of the bitmap";
  EXPECT_EQ(surface.at(8, 0), code(0, 0));
  EXPECT_EQ(surface.at(10, 0), code(10, 0));
  EXPECT_EQ(surface.at(15, 7), code(30, 30));
  EXPECT_EQ(surface.at(16, 0), 0xff000000u);
}

TEST_F(BlitTest, OutsideTheSurfaceIsLeftOut) {
  make(8, 6);
  surface.blit(*bitmap, -2, -2, 8, 6, 0, 0, 8, 6, false, false);
  EXPECT_EQ(surface.at(0, 0), code(20, 20));
  surface.blit(*bitmap, 1000, 1000, 8, 6, 0, 0, 8, 6, true, false);
  surface.blit(*bitmap, 0, 0, 0, 6, 0, 0, 8, 6, true, false);
  surface.blit(*bitmap, 0, 0, 8, 6, 0, 0, 8, -6, true, false);
  surface.blit(*bitmap, MINLONGl, MINLONGl, MAXLONGl, MAXLONGl, MINLONGl, 0, MAXLONGl, 5, true, true);
  AutoAlloc<BaseBitmap> empty;
  surface.blit(*empty, 0, 0, 8, 6, 0, 0, 8, 6, true, false);
  EXPECT_EQ(surface.at(6, 0), 0xff000000u);
}

TEST_F(BlitTest, NearestStretches) {
  make(2, 1);
  surface.blit(*bitmap, 0, 0, 6, 2, 0, 0, 2, 1, false, false);
  EXPECT_EQ(surface.at(2, 1), code(0, 0));
  EXPECT_EQ(surface.at(3, 1), code(10, 0));
  EXPECT_EQ(surface.at(5, 0), code(10, 0));
}

TEST_F(BlitTest, SmoothAveragesWhenItShrinks) {
  bitmap->Init(4, 2);
  bitmap->Clear(0, 0, 0, 1, 100, 0, 0);
  bitmap->Clear(1, 0, 1, 1, 200, 0, 0);
  bitmap->Clear(2, 0, 3, 1, 0, 80, 40);
  surface.blit(*bitmap, 0, 0, 2, 1, 0, 0, 4, 2, true, false);
  EXPECT_EQ(surface.at(0, 0), 0xff960000u) << "150";
  EXPECT_EQ(surface.at(1, 0), 0xff005028u);
  EXPECT_EQ(surface.at(2, 0), 0xff000000u);
}

TEST_F(BlitTest, SmoothLiesBetweenPixelsWhenItEnlarges) {
  bitmap->Init(2, 1);
  bitmap->SetPixel(1, 0, 200, 200, 200);
  surface.blit(*bitmap, 0, 0, 8, 1, 0, 0, 2, 1, true, false);
  int before = -1;
  for (int x = 0; x < 8; ++x) {
    const int red = static_cast<int>((surface.at(x, 0) >> 16) & 255);
    EXPECT_GE(red, before);
    before = red;
  }
  EXPECT_EQ(surface.at(0, 0), 0xff000000u);
  EXPECT_EQ(surface.at(7, 0), 0xffc8c8c8u);
  EXPECT_EQ((surface.at(3, 0) >> 16) & 255, 75u) << "3/8 of the way";
}

TEST_F(BlitTest, AlphaMixes) {
  bitmap->Init(3, 1, 32);
  for (LONG x = 0; x < 3; ++x)
    bitmap->SetPixel(x, 0, 200, 100, 0);
  bitmap->SetAlpha(0, 0, 255);
  bitmap->SetAlpha(1, 0, 51);
  bitmap->SetAlpha(2, 0, 0);
  surface.fill(0xff000064);
  surface.blit(*bitmap, 0, 0, 3, 1, 0, 0, 3, 1, true, true);
  EXPECT_EQ(surface.at(0, 0), 0xffc86400u);
  EXPECT_EQ(surface.at(1, 0), 0xff281450u) << "a fifth";
  EXPECT_EQ(surface.at(2, 0), 0xff000064u);
  surface.blit(*bitmap, 0, 0, 3, 1, 0, 0, 3, 1, false, false);
  EXPECT_EQ(surface.at(2, 0), 0xffc86400u) << "without alpha it is opaque";
}

TEST_F(BlitTest, AHighDensityScales) {
  make(4, 2);
  surface.resize(20, 10, 2, 0xff000000);
  surface.blit(*bitmap, 1, 1, 4, 2, 0, 0, 4, 2, false, false);
  EXPECT_EQ(surface.at(1, 2), 0xff000000u);
  EXPECT_EQ(surface.at(2, 2), code(0, 0));
  EXPECT_EQ(surface.at(9, 5), code(30, 10));
  EXPECT_EQ(surface.at(10, 5), 0xff000000u);
}

TEST(PackColor, RoundsAndCuts) {
  EXPECT_EQ(host::packColor(Vector(1, 0.5, 0)), 0xffff8000u);
  EXPECT_EQ(host::packColor(Vector(2, -1, 0.999)), 0xffff00ffu);
}

} // namespace
