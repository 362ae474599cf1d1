// Scene hooks: their order, their drags, the pointer, and what they draw.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <deque>
#include <map>
#include <stdexcept>

#include "overlay.h"
#include "plugin_registry.h"
#include "view_kit.h"

namespace {

using host::DragEvent;
using host::MouseButton;

// What hooks do and what they saw; one script for all, by the hook's ID.
struct Script {
  std::vector<std::string> record;
  std::map<LONG, std::function<Bool(BaseDraw*, EditorWindow*, const BaseContainer&)>> mouse;
  std::map<LONG, std::function<Bool(Real, Real, BaseContainer&)>> cursor;
  std::map<LONG, std::function<Bool(BaseDraw*)>> draw;
  int alive = 0;
};
Script* script = nullptr;

class Hook final : public SceneHookData {
 public:
  Hook() { ++script->alive; }
  ~Hook() override { --script->alive; }

  Bool MouseInput(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, EditorWindow* win,
                  const BaseContainer& msg) override {
    note("mouse", node, doc, bd);
    const auto found = script->mouse.find(node->GetType());
    return found != script->mouse.end() ? found->second(bd, win, msg)
                                        : SceneHookData::MouseInput(node, doc, bd, win, msg);
  }
  Bool GetCursorInfo(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, Real x, Real y,
                     BaseContainer& bc) override {
    note("cursor", node, doc, bd);
    const auto found = script->cursor.find(node->GetType());
    return found != script->cursor.end() ? found->second(x, y, bc)
                                         : SceneHookData::GetCursorInfo(node, doc, bd, x, y, bc);
  }
  Bool Draw(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, BaseDrawHelp* bh, BaseThread* bt,
            SCENEHOOKDRAW flags) override {
    if (flags != SCENEHOOKDRAW_FOREGROUND_PASS || !bh->IsActiveView() || bh->GetDocument() != doc)
      script->record.push_back("a wrong pass");
    const auto found = script->draw.find(node->GetType());
    return found != script->draw.end() ? found->second(bd)
                                       : SceneHookData::Draw(node, doc, bd, bh, bt, flags);
  }

 private:
  static void note(const char* what, BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd) {
    const bool right =
        node->GetDocument() == doc && doc == GetActiveDocument() && bd == doc->GetActiveBaseDraw();
    script->record.push_back(std::string(what) + " " + std::to_string(node->GetType()) +
                             (right ? "" : " with wrong arguments"));
  }
};

NodeData* makeHook() {
  return new Hook;
}
NodeData* makeNothing() {
  return nullptr;
}

class HookTest : public ViewTest {
 public:
  HookTest() { script = &data; }
  ~HookTest() override {
    view.reset();
    script = nullptr;
  }

  /// A view without a surround.
  host::EditorView& open(int width, int height, double ratio = 1) {
    setFormat(width, height);
    return ViewTest::open(width, height, ratio);
  }
  bool add(LONG id, LONG priority) {
    return RegisterSceneHookPlugin(id, String("hook ") + std::to_string(id).c_str(), 0, makeHook, priority,
                                   0);
  }
  void script1(std::vector<DragEvent> events) {
    services.pumpDrag =
        [this, left = std::deque<DragEvent>(events.begin(), events.end())](DragEvent& event) mutable {
          if (whilePumping) whilePumping();
          if (left.empty()) return false;
          event = left.front();
          left.pop_front();
          return true;
        };
  }
  static DragEvent at(DragEvent::Kind kind, double x = 0, double y = 0) {
    DragEvent event;
    event.kind = kind, event.x = x, event.y = y;
    return event;
  }

  Script data;
  std::function<void()> whilePumping;
};

TEST_F(HookTest, AreCalledInTheOrderOfPriorityThenRegistration) {
  EXPECT_TRUE(add(11, 5));
  EXPECT_TRUE(add(12, -3));
  EXPECT_TRUE(add(13, 5));
  EXPECT_TRUE(add(14, 0));
  EXPECT_FALSE(add(14, 0)) << "taken";
  EXPECT_FALSE(add(0, 0));
  EXPECT_FALSE(RegisterSceneHookPlugin(15, "none", 0, nullptr, 0, 0));
  open(100, 80);
  EXPECT_EQ(data.alive, 0) << "made when the view looks at the document";
  view->mousePress(mouse(10, 10));
  EXPECT_EQ(data.record, (std::vector<std::string>{"mouse 12", "mouse 14", "mouse 11", "mouse 13"}));
  EXPECT_EQ(data.alive, 4);
  data.record.clear();
  data.mouse[14] = [](BaseDraw*, EditorWindow*, const BaseContainer&) { return TRUE; };
  EXPECT_TRUE(view->mousePress(altMouse(10, 10)));
  EXPECT_EQ(data.record, (std::vector<std::string>{"mouse 12", "mouse 14"}));
  EXPECT_FALSE(view->isNavigating()) << "a hook took it";
}

TEST_F(HookTest, GetTheInputAsItWas) {
  add(21, 0);
  BaseContainer got;
  data.mouse[21] = [&](BaseDraw*, EditorWindow*, const BaseContainer& msg) {
    got = msg;
    return TRUE;
  };
  open(100, 80);
  host::ViewMouse press = mouse(12.5, 33, MouseButton::right);
  press.keys.shift = press.keys.alt = true;
  press.doubleClick = true;
  view->mousePress(press);
  EXPECT_EQ(got.GetLong(BFM_INPUT_DEVICE), BFM_INPUT_MOUSE);
  EXPECT_EQ(got.GetLong(BFM_INPUT_CHANNEL), BFM_INPUT_MOUSERIGHT);
  EXPECT_EQ(got.GetReal(BFM_INPUT_X), 12.5);
  EXPECT_EQ(got.GetReal(BFM_INPUT_Y), 33);
  EXPECT_EQ(got.GetLong(BFM_INPUT_X), 12);
  EXPECT_EQ(got.GetLong(BFM_INPUT_QUALIFIER), QSHIFT | QALT);
  EXPECT_EQ(got.GetLong(BFM_INPUT_DOUBLECLICK), 1);
  view->mouseRelease(press);
  view->mousePress(mouse(1, 2, MouseButton::middle));
  EXPECT_EQ(got.GetLong(BFM_INPUT_CHANNEL), BFM_INPUT_MOUSEMIDDLE);
  view->mouseRelease(mouse(1, 2, MouseButton::middle));
  const Matrix before = cameraMatrix();
  EXPECT_TRUE(view->wheel(50, 40, -2, {}));
  EXPECT_EQ(got.GetLong(BFM_INPUT_CHANNEL), BFM_INPUT_MOUSEWHEEL);
  EXPECT_EQ(got.GetLong(BFM_INPUT_VALUE), -240);
  EXPECT_EQ(cameraMatrix(), before) << "the hook took the wheel";
}

// A hook that drags as hooks do: a loop, movement summed up.
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

TEST_F(HookTest, WhileTheViewIsDrawnItSaysSo) {
  add(35, 0);
  addBox("box", {0, 0, 0}, 5);
  std::atomic<int> now{0}, all{0};
  services.drawing = [&] {
    ++now, ++all;
    return std::shared_ptr<void>(&now, [](std::atomic<int>* count) { --*count; });
  };
  int inHook = 0;
  data.draw[35] = [&](BaseDraw*) {
    inHook = std::max(inHook, now.load());
    return TRUE;
  };
  open(100, 80);
  EXPECT_EQ(now, 0);
  ASSERT_TRUE(view->finishPicture());
  EXPECT_GE(inHook, 1);
  EXPECT_GE(all, 2) << "the picture in the background, and the hooks";
  runAll();
  ASSERT_TRUE(view->finishPicture());
  EXPECT_EQ(now, 0) << "and it ends";
  inHook = 0;
  view->repaintNow();
  EXPECT_GE(inHook, 1);
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
    script1({at(DragEvent::Kind::move, -7, 400)}); // a drag goes on in the surround
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

TEST_F(HookTest, TheFirstThatAsksDecidesThePointer) {
  add(41, 0);
  add(42, 1);
  add(43, 2);
  open(100, 80);
  EXPECT_EQ(view->cursorAt(5, 5), MOUSE_NORMAL);
  EXPECT_EQ(data.record, (std::vector<std::string>{"cursor 41", "cursor 42", "cursor 43"}));
  data.cursor[42] = [](Real x, Real y, BaseContainer& bc) {
    EXPECT_EQ(x, 7.5);
    EXPECT_EQ(y, 9);
    bc.SetLong(RESULT_CURSOR, 18);
    return FALSE;
  };
  data.cursor[43] = [](Real, Real, BaseContainer& bc) {
    bc.SetLong(RESULT_CURSOR, 5);
    return TRUE;
  };
  EXPECT_EQ(view->cursorAt(7.5, 9), 18);
}

TEST_F(HookTest, HaveOneInstanceADocument) {
  add(51, 0);
  open(100, 80);
  runAll();
  EXPECT_EQ(data.alive, 1);
  BaseDocument* clone = document->GetClone(COPYFLAGS_0);
  runAll();
  EXPECT_EQ(data.alive, 1) << "a clone has none";
  BaseDocument::Free(clone);
  newDocument();
  setFormat(100, 80);
  view->mousePress(mouse(1, 1));
  EXPECT_EQ(data.alive, 1) << "the old document's has gone";
  EXPECT_EQ(data.record, std::vector<std::string>{"mouse 51"});
  host::setActiveDocument(nullptr);
  view->repaintSoon();
  runAll();
  EXPECT_EQ(data.alive, 0);
  EXPECT_FALSE(view->mousePress(mouse(1, 1)));
}

TEST_F(HookTest, ThatCannotBeMadeAreLeftOutAndThoseThatThrowAreReported) {
  RegisterSceneHookPlugin(61, "nothing", 0, makeNothing, -1, 0);
  add(62, 0);
  add(63, 1);
  data.mouse[62] = [](BaseDraw*, EditorWindow* win, const BaseContainer&) -> Bool {
    win->MouseDragStart(KEY_MLEFT, 0, 0, MOUSEDRAGFLAGS_0);
    throw std::runtime_error("broken");
  };
  data.draw[62] = [](BaseDraw*) -> Bool { throw 5; };
  open(100, 80);
  console.clear();
  EXPECT_TRUE(view->mousePress(mouse(1, 1)));
  EXPECT_FALSE(host::mainLoop().inModal());
  ASSERT_EQ(console.size(), 1u);
  EXPECT_EQ(console[0], "The scene hook \"hook 62\" stopped with an error: broken");
  view->repaintNow();
  EXPECT_EQ(console.back(), "The scene hook \"hook 62\" stopped with an unknown error.");
}

TEST_F(HookTest, GoBeforeTheProgramEnds) {
  add(71, 0);
  open(100, 80);
  ASSERT_TRUE(view->finishPicture());
  EXPECT_EQ(data.alive, 1);
  stopHost();
  EXPECT_EQ(data.alive, 0);
  EXPECT_FALSE(view->mousePress(mouse(1, 1)));
  EXPECT_FALSE(view->finishPicture(10));
  view->repaintNow();
}

// --- drawing ---

void drawFrame(BaseDraw* bd, LONG left, LONG top, LONG right, LONG bottom, const Vector& pen) {
  bd->SetPen(pen);
  bd->DrawLine2D(Vector(left, top, 0), Vector(left, bottom, 0));
  bd->DrawLine2D(Vector(right, top, 0), Vector(right, bottom, 0));
  bd->DrawLine2D(Vector(left, top, 0), Vector(right, top, 0));
  bd->DrawLine2D(Vector(left, bottom, 0), Vector(right, bottom, 0));
}

TEST_F(HookTest, LinesAreExactToThePixelAtEveryRatio) {
  add(81, 0);
  const Vector pen(1, 0.5, 0);
  constexpr std::uint32_t shown = 0xffff8000;
  for (const double ratio : {1.0, 1.25, 1.5, 2.0}) {
    SCOPED_TRACE(ratio);
    data.draw[81] = nullptr;
    data.draw.clear();
    open(90, 70, ratio);
    ASSERT_TRUE(view->finishPicture());
    const host::ViewImage plain = view->image();
    data.draw[81] = [&](BaseDraw* bd) {
      bd->SetMatrix_Screen();
      drawFrame(bd, 10, 20, 60, 50, pen);
      bd->DrawPoint2D({0, 0, 0});
      bd->DrawPoint2D({89.9, 69.2, 5});
      return TRUE;
    };
    presented = 0;
    EXPECT_TRUE(view->drawViews(0x40502));
    EXPECT_GE(presented, 1) << "before it returns";
    const host::ViewImage& image = view->image();
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x) {
        // The logical pixel whose block holds this device pixel.
        int lx = 0, ly = 0;
        while (std::floor((lx + 1) * ratio) <= x)
          ++lx;
        while (std::floor((ly + 1) * ratio) <= y)
          ++ly;
        const bool vertical = (lx == 10 || lx == 60) && ly >= 20 && ly <= 50;
        const bool horizontal = (ly == 20 || ly == 50) && lx >= 10 && lx <= 60;
        const bool point = (lx == 0 && ly == 0) || (lx == 89 && ly == 69);
        ASSERT_EQ(image.at(x, y), vertical || horizontal || point ? shown : plain.at(x, y)) << x << ", " << y;
      }
    data.draw.clear();
    view->repaintNow();
    EXPECT_EQ(view->image().pixels, plain.pixels) << "the old lines are gone";
  }
}

TEST_F(HookTest, WhatTheyDrawFollowsTheDocumentWithoutANewPicture) {
  add(87, 0);
  LONG place = 10;
  data.draw[87] = [&](BaseDraw* bd) {
    bd->SetMatrix_Screen();
    bd->SetPen(Vector(1, 0.5, 0));
    bd->DrawPoint2D({static_cast<Real>(place), 20, 0});
    return TRUE;
  };
  open(90, 70);
  ASSERT_TRUE(view->finishPicture());
  runAll();
  const std::uint32_t ground = view->image().at(30, 20);
  ASSERT_EQ(view->image().at(10, 20), 0xffff8000u);

  place = 30; // as a value of the document's container that undo brings back
  presented = 0;
  EventAdd();
  runAll();
  EXPECT_EQ(view->image().at(30, 20), 0xffff8000u);
  EXPECT_EQ(view->image().at(10, 20), ground);
  EXPECT_GE(presented, 1);

  presented = 0;
  EventAdd();
  runAll();
  EXPECT_EQ(presented, 0) << "nothing is different";
}

TEST_F(HookTest, WhatIsDrawnOutsideAPassIsNotSeen) {
  add(82, 0);
  open(60, 50);
  ASSERT_TRUE(view->finishPicture());
  const host::ViewImage plain = view->image();
  draw().SetMatrix_Screen();
  draw().DrawLine2D({0, 0, 0}, {50, 40, 0});
  view->repaintNow();
  EXPECT_EQ(view->image().pixels, plain.pixels);
  data.draw[82] = [](BaseDraw* bd) {
    bd->SetPen({1, 1, 1});
    bd->DrawLine2D({0, 0, 0}, {50, 40, 0}); // in no space
    return TRUE;
  };
  view->repaintNow();
  EXPECT_EQ(view->image().pixels, plain.pixels);
}

TEST_F(HookTest, RedrawFlagsThatMeanNothingHereAreRefused) {
  open(60, 50);
  EXPECT_TRUE(view->drawViews(266498));
  EXPECT_FALSE(view->drawViews(0));
  EXPECT_FALSE(view->drawViews(1));
}

TEST_F(HookTest, AHookThatRedrawsWhileItDrawsDoesNotLoop) {
  add(83, 0);
  int draws = 0;
  data.draw[83] = [&](BaseDraw*) {
    if (++draws < 100) view->drawViews(0x40502);
    return TRUE;
  };
  open(60, 50);
  view->repaintNow();
  EXPECT_EQ(draws, 1);
}

host::ViewImage blank(int width, int height) {
  host::ViewImage image{width, height, {}};
  image.pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0xff000000);
  return image;
}

TEST(Overlay, DiagonalsHaveOnePixelAStepAndBothEnds) {
  for (const auto& [x1, y1] : {std::pair{9, 4}, {4, 9}, {-9, 4}, {9, -4}, {-4, -9}, {9, 9}, {0, 0}}) {
    host::ViewImage image = blank(40, 40);
    std::vector<host::PaintedPixel> painted;
    host::drawOverlay({{20, 20, 20 + x1, 20 + y1, 0xffffffff, 0}}, {}, image, painted);
    EXPECT_EQ(painted.size(), static_cast<std::size_t>(std::max(std::abs(x1), std::abs(y1)) + 1));
    EXPECT_EQ(image.at(20, 20), 0xffffffffu);
    EXPECT_EQ(image.at(20 + x1, 20 + y1), 0xffffffffu);
    for (int y = 0; y < 40; ++y)
      for (int x = 0; x < 40; ++x)
        if (image.at(x, y) == 0xffffffffu) {
          // Within half a pixel of the true line.
          const double cross = static_cast<double>((x - 20) * y1 - (y - 20) * x1);
          EXPECT_LE(std::abs(cross), std::max(std::abs(x1), std::abs(y1)) / 2.0 + 1e-9);
        }
    host::eraseOverlay(image, painted);
    EXPECT_EQ(image.pixels, blank(40, 40).pixels);
    EXPECT_TRUE(painted.empty());
  }
}

TEST(Overlay, FarAwayLinesCostNothingAndCrossTheSamePixels) {
  host::ViewImage image = blank(30, 20), expected = blank(30, 20);
  std::vector<host::PaintedPixel> painted;
  const LONG far = 1 << 30;
  host::drawOverlay({{-far, 7, far, 7, 0xff112233, 0}, {3, far, 3, -far, 0xff445566, 0}}, {}, image, painted);
  host::drawOverlay({{0, 7, 29, 7, 0xff112233, 0}, {3, 0, 3, 19, 0xff445566, 0}}, {}, expected, painted);
  EXPECT_EQ(image.pixels, expected.pixels);
  host::ViewImage untouched = blank(30, 20);
  host::drawOverlay({{-far, -5, far, -5, 1, 0}, {40, 0, far, far, 2, 0}, {0, 20, 29, 20, 3, 0}}, {},
                    untouched, painted);
  EXPECT_EQ(untouched.pixels, blank(30, 20).pixels);
}

TEST(Overlay, SmallerOffsetsLieInFront) {
  host::ViewImage image = blank(5, 5);
  std::vector<host::PaintedPixel> painted;
  host::drawOverlay({{2, 2, 2, 2, 0xff000001, 0},
                     {2, 2, 2, 2, 0xff000002, 9},
                     {3, 3, 3, 3, 0xff000003, 0},
                     {3, 3, 3, 3, 0xff000004, 0}},
                    {}, image, painted);
  EXPECT_EQ(image.at(2, 2), 0xff000001u);
  EXPECT_EQ(image.at(3, 3), 0xff000004u) << "of equal ones the later";
  host::eraseOverlay(image, painted);
  EXPECT_EQ(image.pixels, blank(5, 5).pixels);
}

} // namespace
