// The region in the editor view: its box and the hits of its edges.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "region_fixture.h"

namespace {

constexpr std::uint32_t BLACK = 0xff000000, WHITE = 0xffffffff;

using RegionTest = RegionFixture;

TEST_F(RegionTest, IsRegisteredWithItsNumbers) {
  const host::SceneHookEntry* entry = program().registry().findSceneHook(1021443);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->name, String("Lumenara"));
  EXPECT_EQ(entry->info, 1);
  EXPECT_EQ(entry->priority, 1000);
  EXPECT_EQ(entry->diskLevel, 0);
  callAsPlugin([] { EXPECT_FALSE(RegisterRegionHook()) << "its number is taken"; });
}

TEST_F(RegionTest, ADocumentWithoutARecordHasTheDefaults) {
  setViewAndFormat(800, 600);
  // A view of 800 by 600 is a little taller than the aspect of 1.333334: half of its width.
  EXPECT_EQ(drawnBox(), (Box{1, 2, 401, 301}));
}

TEST_F(RegionTest, DrawsABoxFramedByBlackOnBothSides) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  const LONG l = 200, t = 150, r = 600, b = 449;
  const auto lines = [&](LONG grow, std::uint32_t color) {
    return host::Overlay{{l - grow, t - grow, l - grow, b + grow, color, 0},
                         {r + grow, t - grow, r + grow, b + grow, color, 0},
                         {l - grow, t - grow, r + grow, t - grow, color, 0},
                         {l - grow, b + grow, r + grow, b + grow, color, 0}};
  };
  const auto corners = [&](LONG grow, std::uint32_t color) {
    return host::Overlay{{l - grow, t - grow, l - grow, t - grow, color, 0},
                         {r + grow, t - grow, r + grow, t - grow, color, 0},
                         {l - grow, b + grow, l - grow, b + grow, color, 0},
                         {r + grow, b + grow, r + grow, b + grow, color, 0}};
  };
  host::Overlay expected;
  for (const host::Overlay& part : {lines(-1, BLACK), lines(0, WHITE), lines(1, BLACK), corners(1, BLACK),
                                    corners(0, WHITE), corners(-1, BLACK)})
    expected.insert(expected.end(), part.begin(), part.end());

  const host::Overlay overlay = drawn();
  ASSERT_EQ(overlay.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(overlay[i].x0, expected[i].x0) << i;
    EXPECT_EQ(overlay[i].y0, expected[i].y0) << i;
    EXPECT_EQ(overlay[i].x1, expected[i].x1) << i;
    EXPECT_EQ(overlay[i].y1, expected[i].y1) << i;
    EXPECT_EQ(overlay[i].color, expected[i].color) << i;
    EXPECT_EQ(overlay[i].depth, 0) << i;
  }
}

TEST_F(RegionTest, TheHostDrawsIt) {
  setViewAndFormat(800, 600);
  host::Overlay overlay;
  hooks.draw(*draw(), overlay);
  EXPECT_EQ(overlay.size(), 24u);
}

TEST_F(RegionTest, DrawsInTheForegroundPassOnly) {
  setViewAndFormat(800, 600);
  EXPECT_TRUE(drawn(0).empty());
  EXPECT_TRUE(drawn(3).empty());
  EXPECT_EQ(drawn(4).size(), 24u);
  EXPECT_EQ(drawn(7).size(), 24u);
}

TEST_F(RegionTest, ActsInRegionModeOfAViewerThatIsOnAndShowsIt) {
  setViewAndFormat(800, 600);
  const auto acts = [&] {
    const bool draws = !drawn().empty();
    const bool points = cursorAt(1, 100) == MOUSE_MOVE;
    const bool takes = press(1, 100, {release(1, 100)});
    EXPECT_EQ(points, draws);
    EXPECT_EQ(takes, draws);
    return draws;
  };
  drawn();
  EXPECT_TRUE(acts());
  for (const LONG mode : {1103, 1105, 0}) {
    store(LM_MODE, mode);
    EXPECT_FALSE(acts()) << mode;
  }
  store(LM_MODE, 1104);
  store(LM_ENABLED, 0);
  EXPECT_FALSE(acts());
  store(LM_ENABLED, 1);
  store(LM_REGION_SHOWN, 0);
  EXPECT_FALSE(acts());
  store(LM_REGION_SHOWN, 1);
  EXPECT_TRUE(acts());
}

TEST_F(RegionTest, AbsentSwitchesAreOff) {
  setViewAndFormat(800, 600);
  BaseContainer data;
  data.SetLong(LM_MODE, 1104);
  SetWorldPluginData(ID_LUMENARA, data, FALSE);
  EXPECT_TRUE(drawn().empty());
  data.SetLong(LM_ENABLED, 1);
  SetWorldPluginData(ID_LUMENARA, data, FALSE);
  EXPECT_TRUE(drawn().empty());
  data.SetLong(LM_REGION_SHOWN, 1);
  SetWorldPluginData(ID_LUMENARA, data, FALSE);
  EXPECT_EQ(drawn().size(), 24u);
  data.RemoveData(LM_MODE);
  SetWorldPluginData(ID_LUMENARA, data, FALSE);
  EXPECT_TRUE(drawn().empty()) << "an absent mode is Normal";
}

TEST_F(RegionTest, OtherViewsThanTheActiveOneStayAsTheyAre) {
  setViewAndFormat(800, 600);
  BaseDocument* other = BaseDocument::Alloc();
  host::Overlay overlay;
  {
    const host::OverlayScope scope(*other->GetActiveBaseDraw(), overlay);
    EXPECT_TRUE(hook->Draw(nullptr, document, other->GetActiveBaseDraw(), nullptr, nullptr,
                           SCENEHOOKDRAW_FOREGROUND_PASS));
  }
  EXPECT_TRUE(overlay.empty());
  BaseDocument::Free(other);
}

TEST_F(RegionTest, ALockedBoxIsDrawnAndStaysWhereItIs) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  EXPECT_EQ(cursorAt(200, 200), MOUSE_MOVE) << "the hook knows its box";
  store(LM_LOCK, 1);
  EXPECT_EQ(drawnBox(), (Box{200, 150, 600, 449}));
  EXPECT_EQ(cursorAt(200, 200), 0);
  EXPECT_FALSE(press(200, 200, {moveTo(300, 200), release(300, 200)}));
  EXPECT_EQ(region().GetReal(LM_REGION_X), 0.25);
  EXPECT_EQ(pumped, 0);
  store(LM_LOCK, 0);
  EXPECT_TRUE(press(200, 200, {release(200, 200)})) << "unlocked the same press is a drag";
}

// ---- The box

TEST_F(RegionTest, AWideViewSizesTheBoxByItsHeight) {
  setViewAndFormat(1000, 500);
  setRegion(0.1, 0.1, 0.5);
  store(LM_ASPECT, 1.5);
  EXPECT_EQ(drawnBox(), (Box{100, 50, 100 + 375, 50 + 250}));
}

TEST_F(RegionTest, ATallViewSizesTheBoxByItsWidth) {
  setViewAndFormat(500, 1000);
  setRegion(0.1, 0.1, 0.5);
  store(LM_ASPECT, 1.5);
  EXPECT_EQ(drawnBox(), (Box{50, 100, 50 + 250, 100 + 166}));
}

TEST_F(RegionTest, AViewOfTheSameAspectSizesBothSidesFromTheSize) {
  store(LM_ASPECT, 1.5);
  setViewAndFormat(601, 401);
  setRegion(0.1, 0.1, 0.33);
  // A little wider than high: the width follows the height.
  EXPECT_EQ(drawnBox(), (Box{60, 40, 60 + 198, 40 + 132}));
  store(LM_ASPECT, static_cast<Real>(601) / 401);
  EXPECT_EQ(drawnBox(), (Box{60, 40, 60 + 198, 40 + 132}));
  setRegion(0.1, 0.1, 0.998);
  setViewAndFormat(301, 301);
  store(LM_ASPECT, 1.0);
  EXPECT_EQ(drawnBox(), (Box{1, 1, 301, 301})) << "both sides by rounding the same size down";
  setRegion(0.1, 0.1, 0.3328);
  setViewAndFormat(600, 400);
  store(LM_ASPECT, 1.5);
  EXPECT_EQ(drawnBox(), (Box{60, 40, 60 + 199, 40 + 133})) << "199 / 1.5 would be 132";
}

TEST_F(RegionTest, PlacesAreRoundedDown) {
  setViewAndFormat(999, 501);
  store(LM_ASPECT, 1.0);
  setRegion(0.3333, 0.3333, 0.3333);
  const LONG side = static_cast<LONG>(std::floor(501 * 0.3333));
  EXPECT_EQ(drawnBox(), (Box{332, 166, 332 + side, 166 + side}));
}

TEST_F(RegionTest, WithoutBarsTheLeastPlaceIsOneAcrossAndTwoDown) {
  setViewAndFormat(800, 600);
  setRegion(-0.5, -0.5, 0.5);
  EXPECT_EQ(drawnBox(), (Box{1, 2, 401, 301}));
}

TEST_F(RegionTest, WithBarsAtTheSidesItStaysBetweenThem) {
  setView(1000, 500);
  setFormat(500, 500); // bars of 250
  setRegion(0.0, 0.0, 0.5);
  EXPECT_EQ(drawnBox(), (Box{250, 2, 250 + 333, 252}));
  setRegion(0.9, 0.9, 0.5);
  EXPECT_EQ(drawnBox(), (Box{750 - 333, 250, 750, 500}));
}

TEST_F(RegionTest, WithBarsAboveAndBelowItStaysBetweenThem) {
  setView(500, 1000);
  setFormat(500, 500);
  setRegion(0.0, 0.0, 0.5);
  EXPECT_EQ(drawnBox(), (Box{1, 250, 251, 250 + 187}));
  setRegion(0.9, 0.9, 0.5);
  EXPECT_EQ(drawnBox(), (Box{250, 750 - 187, 500, 750}));
}

TEST_F(RegionTest, ABoxThatIsTooLargeEndsFlushRightAndBottom) {
  setView(1000, 500);
  setFormat(500, 500);
  setRegion(0.0, 0.0, 1.0); // 666 by 500 in 500 by 500
  EXPECT_EQ(drawnBox(), (Box{750 - 666, 0, 750, 500}));
}

TEST_F(RegionTest, AFullBoxInAWideViewEndsAtTheTop) {
  setViewAndFormat(900, 600);
  setRegion(0.0, 0.0, 1.0);
  const Box box = drawnBox();
  EXPECT_EQ(box.top, 0) << "the clamp at the bottom wins over the one at the top";
  EXPECT_EQ(box.bottom, 600);
  EXPECT_EQ(box.left, 1);
  EXPECT_EQ(box.right, 801);
}

TEST_F(RegionTest, ABoxThatTouchesTheBoundIsMovedOntoIt) {
  // maxX <= right: equal counts, and moves nothing.
  setViewAndFormat(800, 600);
  setRegion(0.5, 0.0, 0.5);
  EXPECT_EQ(drawnBox().right, 800);
  EXPECT_EQ(drawnBox().left, 400);
}

TEST_F(PluginFixture, WithoutSettingsTheRegionHookDoesNothing) {
  ASSERT_EQ(GetWorldPluginData(ID_LUMENARA), nullptr);
  BaseDocument* document = BaseDocument::Alloc();
  host::setActiveDocument(document);
  const std::unique_ptr<NodeData> owned(lmRegionHook::Alloc());
  auto* hook = static_cast<lmRegionHook*>(owned.get());
  BaseDraw* view = document->GetActiveBaseDraw();
  host::Overlay overlay;
  BaseContainer cursor;
  {
    const host::OverlayScope scope(*view, overlay);
    EXPECT_TRUE(hook->Draw(nullptr, document, view, nullptr, nullptr, SCENEHOOKDRAW_FOREGROUND_PASS));
  }
  EXPECT_TRUE(overlay.empty());
  EXPECT_FALSE(hook->GetCursorInfo(nullptr, document, view, 0, 0, cursor));
  EXPECT_EQ(cursor.GetCount(), 0);
  hook->GetRegion(view, document);
  // 1280 by 720: half of its height, times the aspect that stands for a missing one.
  EXPECT_EQ(hook->GetEdge(1 + 480, 100), 1);
  EXPECT_EQ(hook->GetEdge(1000, 2 + 360), 3);
  host::setActiveDocument(nullptr);
}

// ---- Edges and corners

TEST_F(RegionTest, AnEdgeIsHitWithinLessThanThreePixels) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  ASSERT_EQ(drawnBox(), (Box{200, 150, 600, 449}));
  for (const LONG off : {-2, 0, 2}) {
    EXPECT_EQ(hook->GetEdge(200 + off, 300), 0) << off;
    EXPECT_EQ(hook->GetEdge(600 + off, 300), 1) << off;
    EXPECT_EQ(hook->GetEdge(400, 150 + off), 2) << off;
    EXPECT_EQ(hook->GetEdge(400, 449 + off), 3) << off;
  }
  for (const LONG off : {-3, 3}) {
    EXPECT_EQ(hook->GetEdge(200 + off, 300), -1) << off;
    EXPECT_EQ(hook->GetEdge(600 + off, 300), -1) << off;
    EXPECT_EQ(hook->GetEdge(400, 150 + off), -1) << off;
    EXPECT_EQ(hook->GetEdge(400, 449 + off), -1) << off;
  }
  EXPECT_EQ(hook->GetEdge(400, 300), -1) << "inside";
  EXPECT_EQ(hook->GetEdge(700, 500), -1) << "outside";
}

TEST_F(RegionTest, AnEdgesLineCountsThroughTheWholeView) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  drawn();
  EXPECT_EQ(hook->GetEdge(200, 3), 0);
  EXPECT_EQ(hook->GetEdge(600, 590), 1);
  EXPECT_EQ(hook->GetEdge(20, 150), 2);
  EXPECT_EQ(hook->GetEdge(790, 449), 3);
  EXPECT_EQ(hook->GetEdge(200, 150), 0) << "the left edge is asked first";
  EXPECT_EQ(hook->GetEdge(600, 449), 1);
}

TEST_F(RegionTest, CornersReachThreeOutwardAndEightInward) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  drawn();
  EXPECT_EQ(hook->GetCorner(198, 148), 0);
  EXPECT_EQ(hook->GetCorner(202, 157), 0);
  EXPECT_EQ(hook->GetCorner(202, 158), -1);
  EXPECT_EQ(hook->GetCorner(207, 152), 0);
  EXPECT_EQ(hook->GetCorner(208, 152), -1);
  EXPECT_EQ(hook->GetCorner(197, 150), -1);
  EXPECT_EQ(hook->GetCorner(602, 152), 1);
  EXPECT_EQ(hook->GetCorner(593, 148), 1);
  EXPECT_EQ(hook->GetCorner(592, 148), -1);
  EXPECT_EQ(hook->GetCorner(198, 442), 2);
  EXPECT_EQ(hook->GetCorner(198, 441), -1);
  EXPECT_EQ(hook->GetCorner(598, 451), 3);
  EXPECT_EQ(hook->GetCorner(598, 452), -1);
  EXPECT_EQ(hook->GetCorner(205, 155), -1) << "near the corner, on no edge";
  EXPECT_EQ(hook->GetCorner(200, 300), -1) << "on an edge, at no corner";
}

TEST_F(RegionTest, ThePointerIsTheMoveCursorOnEdges) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  EXPECT_EQ(cursorAt(200, 300), 18);
  EXPECT_EQ(cursorAt(202.9, 300), 18) << "places are cut to whole pixels";
  EXPECT_EQ(cursorAt(203, 300), 0);
  EXPECT_EQ(cursorAt(400, 449), 18);
  EXPECT_EQ(cursorAt(400, 300), 0);
  setRegion(0.3, 0.25, 0.5);
  EXPECT_EQ(cursorAt(200, 300), 0) << "the record is read anew";
  EXPECT_EQ(cursorAt(240, 300), 18);
}

// The cursor's code decides, so that the host need not take the hook's word for it.
TEST_F(RegionTest, OnAnEdgeTheAnswerIsTheBaseClasss) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  BaseContainer cursor;
  EXPECT_FALSE(hook->GetCursorInfo(nullptr, document, draw(), 200, 300, cursor));
  EXPECT_EQ(cursor.GetLong(RESULT_CURSOR), 18);
  EXPECT_FALSE(hook->GetCursorInfo(nullptr, document, draw(), 400, 300, cursor));

  const host::DragPump pump = [](host::DragEvent& event) { return event = release(210, 300), true; };
  host::DragLoop loop(pump, this, true);
  struct Window final : EditorWindow {
    explicit Window(host::DragLoop* drag) : EditorWindow(drag) {}
  } window(&loop);
  BaseContainer message(BFM_INPUT);
  message.SetLong(BFM_INPUT_DEVICE, BFM_INPUT_MOUSE);
  message.SetLong(BFM_INPUT_CHANNEL, BFM_INPUT_MOUSELEFT);
  message.SetReal(BFM_INPUT_X, 200);
  message.SetReal(BFM_INPUT_Y, 300);
  EXPECT_FALSE(hook->MouseInput(nullptr, document, draw(), &window, message));
  EXPECT_TRUE(loop.started());
}

// ---- The allocator

TEST_F(RegionTest, TheAllocatorReadsTheActiveDocument) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.5, 0.125);
  hooks.follow(nullptr);
  hooks.follow(document); // a new hook
  // No box yet: its edges are the view's corner. The drag writes what the allocator has read.
  EXPECT_FALSE(press(3, 100, {moveTo(23, 100), release(23, 100)}));
  EXPECT_TRUE(press(2, 100, {moveTo(22, 100), release(22, 100)}));
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_X), (799 * 0.25 + 20) / 799);
  EXPECT_EQ(region().GetReal(LM_REGION_Y), 0.5);
  EXPECT_EQ(region().GetReal(LM_REGION_SIZE), 0.125);
}

TEST_F(RegionTest, WithoutADocumentTheAllocatorTakesTheDefaults) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.5, 0.125);
  host::setActiveDocument(nullptr);
  document = nullptr;
  hooks.follow(nullptr);
  const std::unique_ptr<NodeData> made(lmRegionHook::Alloc());
  ASSERT_NE(made, nullptr);
  auto* other = static_cast<lmRegionHook*>(made.get());
  EXPECT_EQ(other->GetEdge(2, 100), 0);
  EXPECT_EQ(other->GetEdge(3, 100), -1);
}

// ---- Against a model of its own

/// The box of a view, by the rules one after the other.
Box modelBox(double w, double h, double aspect, double size, double x, double y, LONG from, LONG to,
             LONG orientation) {
  const bool wide = w / h > aspect, same = w / h == aspect;
  double bw = std::floor(w * size), bh = std::floor(h * size);
  if (wide) bw = std::floor(bh * aspect);
  if (!wide && !same) bh = std::floor(bw / aspect);
  double l = std::floor(w * x), t = std::floor(h * y);
  const double bounds[3][4] = {{1, 2, w, h},
                               {static_cast<double>(from), 2, static_cast<double>(to), h},
                               {1, static_cast<double>(from), w, static_cast<double>(to)}};
  const auto& b = bounds[orientation];
  l = std::max(l, b[0]);
  t = std::max(t, b[1]);
  if (l + bw >= b[2]) l = b[2] - bw;
  if (t + bh >= b[3]) t = b[3] - bh;
  return {static_cast<LONG>(l), static_cast<LONG>(t), static_cast<LONG>(l + bw), static_cast<LONG>(t + bh)};
}

TEST_F(RegionTest, AgreesWithTheModelEverywhere) {
  const unsigned seed = ::testing::UnitTest::GetInstance()->random_seed();
  std::mt19937 random(seed);
  const auto whole = [&](LONG a, LONG b) { return std::uniform_int_distribution<LONG>(a, b)(random); };
  const auto real = [&](Real a, Real b) { return std::uniform_real_distribution<Real>(a, b)(random); };
  int orientations[3] = {};
  for (int i = 0; i < 4000; ++i) {
    const LONG w = whole(1, 2000), h = whole(1, 2000);
    setView(w, h);
    if (whole(0, 2) == 0) {
      setFormat(w, h);
    } else {
      setFormat(whole(1, 3000), whole(1, 3000));
    }
    const Real aspect = whole(0, 5) ? real(0.1, 8) : static_cast<Real>(w) / h;
    const Real size = whole(0, 5) ? real(0.1, 1.0) : static_cast<Real>(whole(0, 3));
    const Real x = real(-1.5, 1.5), y = real(-1.5, 1.5);
    setAspect(aspect);
    setRegion(x, y, size);
    LONG from = 0, to = 0, orientation = 0;
    draw()->GetSafeFrame(&from, &to, &orientation);
    ++orientations[orientation];
    ASSERT_EQ(drawnBox(), modelBox(w, h, aspect, size, x, y, from, to, orientation))
        << "seed " << seed << ", round " << i << ": view " << w << " x " << h << ", aspect " << aspect
        << ", size " << size << ", place " << x << ", " << y << ", bars " << orientation << " " << from << " "
        << to;
  }
  for (const int count : orientations)
    EXPECT_GT(count, 100);
}

TEST_F(RegionTest, DamagedRecordsAndViewsWithoutAreaDoNoHarm) {
  const Real infinity = std::numeric_limits<Real>::infinity(), nothing = std::nan("");
  const Real values[] = {0, -1, 1e-300, 1e300, -1e300, infinity, -infinity, nothing, 0.5, 1e9};
  const LONG sides[] = {0, 1, 2, 800, 32768};
  for (const LONG w : sides) {
    for (const LONG h : sides) {
      setViewAndFormat(w, h);
      for (const Real aspect : values) {
        setAspect(aspect);
        for (const Real size : values) {
          setRegion(size, aspect, size);
          drawn();
          cursorAt(aspect, size);
          press(w / 2, h / 2, {moveTo(w, h), release(0, 0)});
        }
      }
    }
  }
  store(LM_ASPECT, 1.5);
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  EXPECT_EQ(drawnBox(), (Box{200, 150, 600, 416})) << "and works afterwards";
}

} // namespace
