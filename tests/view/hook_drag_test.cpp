// Drags of scene hooks, and hooks in a view with a surround.
#include <algorithm>
#include <cmath>

#include "hook_kit.h"

namespace {

using host::DragEvent;
using host::MouseButton;

// A drag like that of a real hook: a loop that sums the movement.
struct Dragged {
  Real x = 0, y = 0;
  int steps = 0, moves = 0;
  MOUSEDRAGRESULT last = MOUSEDRAGRESULT_CONTINUE, end = MOUSEDRAGRESULT_CONTINUE;
};

Bool drag(Dragged& result, EditorWindow* win, const BaseContainer& msg) {
  win->MouseDragStart(KEY_MLEFT, msg.GetReal(BFM_INPUT_X), msg.GetReal(BFM_INPUT_Y), MOUSEDRAGFLAGS_0);
  Real dx = 99, dy = 99;
  BaseContainer channels;
  while (result.steps < 100 &&
         (result.last = win->MouseDrag(&dx, &dy, &channels)) == MOUSEDRAGRESULT_CONTINUE) {
    ++result.steps;
    if (dx == 0 && dy == 0) continue;
    ++result.moves;
    result.x += dx, result.y += dy;
  }
  result.end = win->MouseDragEnd();
  return FALSE; // as the base class
}

TEST_F(HookTest, ADragSumsUpToTheWayOfThePointer) {
  add(31, 0);
  addBox("box", {0, 0, 0}, 5);
  Dragged dragged;
  data.mouse[31] = [&](BaseDraw*, EditorWindow* win, const BaseContainer& msg) {
    return drag(dragged, win, msg);
  };
  using Kind = DragEvent::Kind;
  script1({at(Kind::none), at(Kind::move, 30, 22), at(Kind::move, 30, 22), at(Kind::none),
           at(Kind::move, 35.5, 10), at(Kind::release, 40, 12)});
  open(100, 80);
  view->finishPicture();
  EXPECT_TRUE(view->mousePress(mouse(20, 20))) << "a drag is a use, whatever the hook answers";
  EXPECT_EQ(dragged.steps, 6) << "the release's movement counts";
  EXPECT_EQ(dragged.moves, 3);
  EXPECT_EQ(dragged.x, 20);
  EXPECT_EQ(dragged.y, -8);
  EXPECT_EQ(dragged.last, MOUSEDRAGRESULT_FINISHED);
  EXPECT_EQ(dragged.end, MOUSEDRAGRESULT_FINISHED);
  EXPECT_FALSE(view->isNavigating());
  EXPECT_FALSE(host::mainLoop().inModal());
  EXPECT_FALSE(view->mouseRelease(mouse(20, 20))) << "nothing is left of the press";
  EXPECT_FALSE(document->GetFirstObject()->GetBit(BIT_ACTIVE)) << "and nothing was picked";
}

TEST_F(HookTest, EscapeEndsADragAndTheLateReleaseIsNoClick) {
  add(32, 0);
  addBox("box", {0, 0, 0}, 5);
  Dragged dragged;
  data.mouse[32] = [&](BaseDraw*, EditorWindow* win, const BaseContainer& msg) {
    return drag(dragged, win, msg);
  };
  script1({at(DragEvent::Kind::move, 30, 20), at(DragEvent::Kind::escape)});
  open(100, 80);
  view->mousePress(mouse(20, 20));
  EXPECT_EQ(dragged.x, 10);
  EXPECT_EQ(dragged.last, MOUSEDRAGRESULT_ESCAPE);
  EXPECT_EQ(dragged.end, MOUSEDRAGRESULT_ESCAPE);
  view->finishPicture();
  EXPECT_TRUE(view->mouseRelease(mouse(20, 20)));
  EXPECT_FALSE(document->GetFirstObject()->GetBit(BIT_ACTIVE));
}

TEST_F(HookTest, WithoutAMouseADragEndsAtOnce) {
  add(33, 0);
  Dragged dragged;
  data.mouse[33] = [&](BaseDraw*, EditorWindow* win, const BaseContainer& msg) {
    return drag(dragged, win, msg);
  };
  open(100, 80);
  view->mousePress(mouse(20, 20)); // no pump
  EXPECT_EQ(dragged.steps, 0);
  EXPECT_EQ(dragged.last, MOUSEDRAGRESULT_FINISHED);
  script1({});
  dragged = {};
  open(100, 80);
  view->mousePress(mouse(20, 20));
  EXPECT_EQ(dragged.last, MOUSEDRAGRESULT_FINISHED);
}

TEST_F(HookTest, ADragNeedsTheButtonThatIsHeld) {
  add(36, 0);
  LONG button = KEY_MLEFT;
  MOUSEDRAGRESULT last = MOUSEDRAGRESULT_CONTINUE;
  data.mouse[36] = [&](BaseDraw*, EditorWindow* win, const BaseContainer& msg) {
    win->MouseDragStart(button, msg.GetReal(BFM_INPUT_X), msg.GetReal(BFM_INPUT_Y), MOUSEDRAGFLAGS_0);
    last = win->MouseDrag(nullptr, nullptr, nullptr);
    win->MouseDragEnd();
    return FALSE;
  };
  const auto drags = [&](LONG code, MouseButton held) {
    button = code;
    script1({at(DragEvent::Kind::move, 30, 20), at(DragEvent::Kind::release, 30, 20)});
    open(100, 80);
    view->mousePress(mouse(20, 20, held));
    return last == MOUSEDRAGRESULT_CONTINUE;
  };
  EXPECT_TRUE(drags(KEY_MLEFT, MouseButton::left));
  EXPECT_FALSE(drags(0, MouseButton::left));
  EXPECT_FALSE(drags(KEY_MLEFT + 1, MouseButton::left));
  EXPECT_FALSE(drags(KEY_MLEFT, MouseButton::right));
}

TEST_F(HookTest, DuringADragPaintingGoesOnAndTheRestWaits) {
  add(34, 0);
  int normal = 0, painting = 0, tested = 0;
  data.mouse[34] = [&](BaseDraw*, EditorWindow* win, const BaseContainer& msg) {
    win->MouseDragStart(KEY_MLEFT, msg.GetReal(BFM_INPUT_X), msg.GetReal(BFM_INPUT_Y), MOUSEDRAGFLAGS_0);
    win->MouseDrag(nullptr, nullptr, nullptr);
    return FALSE; // without an end
  };
  whilePumping = [&] {
    ++tested;
    EXPECT_TRUE(host::mainLoop().inModal());
    EXPECT_TRUE(view->inDrag());
    EXPECT_FALSE(view->mousePress(mouse(1, 1)));
    EXPECT_FALSE(view->wheel(1, 1, 1, {}));
    host::mainLoop().post([&] { ++normal; });
    host::mainLoop().post([&] { ++painting; }, host::Urgency::painting);
    runAll();
    EXPECT_EQ(normal, 0);
    EXPECT_EQ(painting, 1);
  };
  script1({at(DragEvent::Kind::release, 20, 20)});
  open(100, 80);
  view->mousePress(mouse(20, 20));
  EXPECT_EQ(tested, 1);
  EXPECT_FALSE(host::mainLoop().inModal()) << "it ends with the call";
  EXPECT_FALSE(view->inDrag());
  runAll();
  EXPECT_EQ(normal, 1);
}

// ---- In a view with a surround

class SurroundTest : public HookTest {
 public:
  /// A frame of 100 by 80 in the middle of a view.
  void openBarred(int width, int height, double ratio = 1) {
    setFormat(100, 80);
    ViewTest::open(width, height, ratio);
    LONG frame[4] = {};
    draw().GetFrame(&frame[0], &frame[1], &frame[2], &frame[3]);
    EXPECT_EQ(frame[2] - frame[0], 100);
    EXPECT_EQ(frame[3] - frame[1], 80);
    left = frame[0], top = frame[1];
  }
  LONG left = 0, top = 0;
};

TEST_F(SurroundTest, PlacesCountFromTheFramesCorner) {
  add(91, 0);
  BaseContainer got, channels;
  Real dx = 0, dy = 0;
  data.mouse[91] = [&](BaseDraw*, EditorWindow* win, const BaseContainer& msg) {
    got = msg;
    if (msg.GetLong(BFM_INPUT_CHANNEL) != BFM_INPUT_MOUSELEFT) return TRUE;
    win->MouseDragStart(KEY_MLEFT, msg.GetReal(BFM_INPUT_X), msg.GetReal(BFM_INPUT_Y), MOUSEDRAGFLAGS_0);
    win->MouseDrag(&dx, &dy, &channels);
    win->MouseDragEnd();
    return TRUE;
  };
  Real x = -1, y = -1;
  data.cursor[91] = [&](Real px, Real py, BaseContainer& bc) {
    x = px, y = py;
    bc.SetLong(RESULT_CURSOR, MOUSE_MOVE);
    return FALSE;
  };
  for (const auto& [width, height] : {std::pair{300, 80}, {100, 230}}) {
    SCOPED_TRACE(width);
    script1({at(DragEvent::Kind::move, -7, 400)}); // a drag continues in the surround
    openBarred(width, height);
    view->mousePress(mouse(left + 12.5, top + 33));
    EXPECT_EQ(got.GetReal(BFM_INPUT_X), 12.5);
    EXPECT_EQ(got.GetReal(BFM_INPUT_Y), 33);
    EXPECT_EQ(channels.GetReal(BFM_INPUT_X), -7 - left);
    EXPECT_EQ(channels.GetReal(BFM_INPUT_Y), 400 - top);
    EXPECT_EQ(dx, -7 - left - 12.5);
    EXPECT_EQ(dy, 400 - top - 33);
    view->wheel(left + 1, top + 2, 1, {});
    EXPECT_EQ(got.GetReal(BFM_INPUT_X), 1);
    EXPECT_EQ(got.GetReal(BFM_INPUT_Y), 2);
    EXPECT_EQ(view->cursorAt(left + 99.5, top + 79.5), MOUSE_MOVE);
    EXPECT_EQ(x, 99.5);
    EXPECT_EQ(y, 79.5);
  }
}

TEST_F(SurroundTest, BelongsToNoHook) {
  add(92, 0);
  data.cursor[92] = [](Real, Real, BaseContainer& bc) {
    bc.SetLong(RESULT_CURSOR, MOUSE_MOVE);
    return FALSE;
  };
  openBarred(300, 80);
  view->finishPicture();
  data.record.clear();
  for (const double x : {0.0, left - 0.5, left + 100.0, 299.0}) {
    EXPECT_EQ(view->cursorAt(x, 40), MOUSE_NORMAL) << x;
    view->mousePress(mouse(x, 40));
    view->mouseRelease(mouse(x, 40));
    view->wheel(x, 40, 1, {});
  }
  EXPECT_TRUE(data.record.empty());
  const Matrix before = cameraMatrix();
  EXPECT_TRUE(view->mousePress(altMouse(3, 3))) << "the view itself is moved from there too";
  view->mouseMove(altMouse(30, 3));
  EXPECT_NE(cameraMatrix(), before);
}

TEST_F(SurroundTest, DrawingStaysInTheFrameAtEveryRatio) {
  add(93, 0);
  constexpr std::uint32_t shown = 0xffff8000;
  for (const double ratio : {1.0, 1.25, 1.5, 2.0})
    for (const auto& [width, height] : {std::pair{300, 80}, {100, 230}}) {
      SCOPED_TRACE(testing::Message() << ratio << ", " << width);
      data.draw.clear();
      openBarred(width, height, ratio);
      ASSERT_TRUE(view->finishPicture());
      const host::ViewImage plain = view->image();
      data.draw[93] = [&](BaseDraw* bd) {
        bd->SetMatrix_Screen();
        bd->SetPen(Vector(1, 0.5, 0));
        bd->DrawLine2D({-1000, 10, 0}, {1000, 10, 0});
        bd->DrawLine2D({20, 1000, 0}, {20, -1000, 0});
        for (const LONG outside : {-1, 100})
          bd->DrawLine2D(Vector(outside, -1000, 0), Vector(outside, 1000, 0));
        for (const LONG outside : {-1, 80})
          bd->DrawLine2D(Vector(-1000, outside, 0), Vector(1000, outside, 0));
        return TRUE;
      };
      view->repaintNow();
      const host::ViewImage& image = view->image();
      const auto pixels = [&](LONG logical) { return static_cast<int>(std::lround(logical * ratio)); };
      const auto covers = [&](LONG line, int at) {
        return std::floor(line * ratio) <= at && at < std::floor((line + 1) * ratio);
      };
      for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
          const bool inside =
              x >= pixels(left) && x < pixels(left + 100) && y >= pixels(top) && y < pixels(top + 80);
          if (!inside) {
            ASSERT_EQ(image.at(x, y), plain.at(x, y)) << x << ", " << y;
          } else if (covers(left + 20, x) || covers(top + 10, y)) {
            ASSERT_EQ(image.at(x, y), shown) << x << ", " << y;
          } else if (x > pixels(left) + 2 && x < pixels(left + 100) - 3 && y > pixels(top) + 2 &&
                     y < pixels(top + 80) - 3) {
            ASSERT_EQ(image.at(x, y), plain.at(x, y)) << x << ", " << y;
          }
        }
    }
}

} // namespace
