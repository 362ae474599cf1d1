// The editor view's widget and the timeline: mouse, keys, drags of hooks, tools, the host's render.
#include <cmath>

#include <QWheelEvent>

#include "c4d_render.h"
#include "c4d_view.h"
#include "editor_view_widget.h"
#include "gizmo.h"
#include "main_kit.h"
#include "number_field.h"
#include "plugin_registry.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "theme.h"
#include "timeline_widget.h"

namespace {

using host::Identity;

class ChangeCounter final : public host::CoreListener {
 public:
  ChangeCounter() { host::mainLoop().add(this); }
  ~ChangeCounter() { host::mainLoop().remove(this); }
  void coreMessage(LONG id, const BaseContainer& /*message*/) override {
    count += id == EVMSG_CHANGE ? 1 : 0;
  }
  int count = 0;
};

// The record and the behaviour of a test's hook.
struct HookScript {
  bool drags = false, drawing = false;
  int moves = 0;
  double dx = 0;
  MOUSEDRAGRESULT last = MOUSEDRAGRESULT_CONTINUE;
};
HookScript* script = nullptr;

class DragHook final : public SceneHookData {
 public:
  Bool MouseInput(BaseSceneHook* /*node*/, BaseDocument* /*doc*/, BaseDraw* /*bd*/, EditorWindow* win,
                  const BaseContainer& msg) override {
    if (!script || !script->drags || msg.GetLong(BFM_INPUT_CHANNEL) != BFM_INPUT_MOUSELEFT) return FALSE;
    win->MouseDragStart(KEY_MLEFT, msg.GetReal(BFM_INPUT_X), msg.GetReal(BFM_INPUT_Y), MOUSEDRAGFLAGS_0);
    Real dx = 0, dy = 0;
    BaseContainer channels;
    while ((script->last = win->MouseDrag(&dx, &dy, &channels)) == MOUSEDRAGRESULT_CONTINUE)
      ++script->moves, script->dx += dx;
    win->MouseDragEnd();
    return TRUE;
  }
  Bool Draw(BaseSceneHook* /*node*/, BaseDocument* /*doc*/, BaseDraw* /*bd*/, BaseDrawHelp* /*bh*/,
            BaseThread* /*bt*/, SCENEHOOKDRAW /*flags*/) override {
    if (script && CheckIsRunning(CHECKISRUNNING_VIEWDRAWING)) script->drawing = true;
    return TRUE;
  }
  Bool GetCursorInfo(BaseSceneHook* /*node*/, BaseDocument* /*doc*/, BaseDraw* /*bd*/, Real x, Real /*y*/,
                     BaseContainer& bc) override {
    if (!script || !script->drags || x > 50) return FALSE;
    bc.SetLong(RESULT_CURSOR, MOUSE_MOVE);
    return TRUE;
  }
};
NodeData* makeDragHook() {
  return new DragHook;
}

class MainView : public StudioTest {
 protected:
  MainView() {
    script = &hook;
    startStudio();
    RegisterSceneHookPlugin(999100, "drag", 0, makeDragHook, 0, 0);
  }
  ~MainView() override {
    stopStudio();
    script = nullptr;
  }

  host::EditorViewWidget& view() { return window().viewWidget(); }
  QPoint middle() { return view().rect().center(); }
  Matrix camera() { return view().view().camera()->GetMg(); }
  void openAndPaint() {
    openScene(smallScene());
    view().view().frameAll();
    ASSERT_TRUE(view().view().finishPicture(20000));
    settle();
  }
  // A place in the view where there is an object, and that object.
  QPoint objectSpot(Identity* found) {
    for (int y = 20; y < view().height(); y += 12)
      for (int x = 20; x < view().width(); x += 12)
        if (const BaseObject* object = view().view().objectAt(x, y)) {
          *found = object->GetIdentity();
          return {x, y};
        }
    return {};
  }
  void wheel(int notches) {
    QWheelEvent event(middle(), view().mapToGlobal(middle()), {}, {0, notches * 120}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&view(), &event);
    settle();
  }

  HookScript hook;
};

TEST_F(MainView, WheelMovesTheCameraAndNotifiesPlugins) {
  openAndPaint();
  ChangeCounter changes;
  const Matrix before = camera();
  wheel(2);
  EXPECT_NE(before.off.z, camera().off.z);
  EXPECT_GT(changes.count, 0);
  EXPECT_FALSE(session().edits().canUndo());
}

// F, then a click on a surface: the focus distance of the camera, as one step.
TEST_F(MainView, PickFocusTakesTheDistanceUnderTheClick) {
  openAndPaint();
  choose("edit.select-none");
  EXPECT_EQ(view().view().camera()->GetDocument() != nullptr && action("tool.focus")->isEnabled(), false)
      << "the view's own camera has no lens to focus";
  choose("add.camera");
  ASSERT_TRUE(view().view().finishPicture(20000));
  const Identity camera = host::selectedObjects(document()).front();
  Identity object = 0;
  const QPoint spot = objectSpot(&object);
  ASSERT_TRUE(object);
  const auto point = view().view().pointAt(spot.x(), spot.y());
  ASSERT_TRUE(point);
  const Matrix eye = view().view().camera()->GetMg();
  const auto distance = [&] {
    return host::attributeValue(document(), camera, host::AttributeId::cameraFocusDistance).GetReal();
  };
  choose("tool.focus");
  EXPECT_TRUE(action("tool.focus")->isChecked());
  QTest::mouseClick(&view(), Qt::LeftButton, {}, QPoint(1, 1));
  EXPECT_EQ(distance(), 5) << "nothing is there: the tool waits";
  EXPECT_EQ(view().tool(), host::ViewTool::focus);
  QTest::mouseClick(&view(), Qt::LeftButton, {}, spot);
  settle();
  EXPECT_NEAR(distance(), Dot(eye.off - *point, eye.v3), 1e-3 * distance());
  EXPECT_NE(distance(), 5);
  EXPECT_EQ(view().tool(), host::ViewTool::select);
  EXPECT_EQ(host::selectedObjects(document()), host::Identities{camera}) << "the click selects nothing";
  choose("edit.undo");
  EXPECT_EQ(distance(), 5);
}

TEST_F(MainView, AltAndTheLeftButtonOrbit) {
  openAndPaint();
  const Matrix before = camera();
  QTest::mousePress(&view(), Qt::LeftButton, Qt::AltModifier, middle());
  QTest::mouseMove(&view(), middle() + QPoint(40, 0));
  EXPECT_TRUE(view().view().isNavigating());
  QTest::mouseRelease(&view(), Qt::LeftButton, Qt::AltModifier, middle() + QPoint(40, 0));
  EXPECT_FALSE(view().view().isNavigating());
  EXPECT_GT(std::abs(camera().v1.x - before.v1.x) + std::abs(camera().v1.z - before.v1.z), 1e-3);
}

TEST_F(MainView, AHeldDigitNavigatesToo) {
  openAndPaint();
  window().activateWindow();
  view().setFocus();
  const Matrix before = camera();
  QTest::keyPress(&view(), Qt::Key_2);
  QTest::mousePress(&view(), Qt::LeftButton, Qt::NoModifier, middle());
  QTest::mouseMove(&view(), middle() + QPoint(30, 10));
  QTest::mouseRelease(&view(), Qt::LeftButton, Qt::NoModifier, middle() + QPoint(30, 10));
  QTest::keyRelease(&view(), Qt::Key_2);
  EXPECT_NE(camera().off.x, before.off.x);
  EXPECT_DOUBLE_EQ(camera().v1.x, before.v1.x); // a pan does not turn
}

TEST_F(MainView, EscapeTakesANavigationBack) {
  openAndPaint();
  view().setFocus();
  const Matrix before = camera();
  QTest::mousePress(&view(), Qt::LeftButton, Qt::AltModifier, middle());
  QTest::mouseMove(&view(), middle() + QPoint(60, 20));
  QTest::keyClick(&view(), Qt::Key_Escape);
  EXPECT_FALSE(view().view().isNavigating());
  EXPECT_NEAR(camera().off.x, before.off.x, 1e-9);
  QTest::mouseRelease(&view(), Qt::LeftButton, Qt::AltModifier, middle());
}

TEST_F(MainView, AClickSelects) {
  openAndPaint();
  choose("edit.select-none");
  Identity object = 0;
  const QPoint spot = objectSpot(&object);
  ASSERT_NE(object, 0u);
  QTest::mouseClick(&view(), Qt::LeftButton, Qt::NoModifier, spot);
  settle();
  EXPECT_EQ(host::selectedObjects(document()), std::vector<Identity>{object});
  QTest::mouseClick(&view(), Qt::LeftButton, Qt::ShiftModifier, spot);
  settle();
  EXPECT_TRUE(host::selectedObjects(document()).empty());
}

TEST_F(MainView, TheSelectToolDrawsABox) {
  openAndPaint();
  choose("edit.select-none");
  const auto drag = [&](QPoint from, QPoint to, Qt::KeyboardModifiers keys, bool letGo = true) {
    QTest::mousePress(&view(), Qt::LeftButton, keys, from);
    QTest::mouseMove(&view(), (from + to) / 2);
    QTest::mouseMove(&view(), to);
    if (letGo) QTest::mouseRelease(&view(), Qt::LeftButton, keys, to);
    settle();
  };
  const auto in = [&](QPoint from, QPoint to) {
    std::vector<Identity> found;
    for (const BaseObject* object : view().view().objectsIn(from.x(), from.y(), to.x(), to.y()))
      found.push_back(object->GetIdentity());
    return found;
  };
  const QPoint corner(view().width() - 2, view().height() - 2), upper(corner.x(), middle().y());
  const auto all = in({1, 1}, corner), some = in({1, 1}, upper);
  ASSERT_GT(all.size(), some.size());
  ASSERT_FALSE(some.empty());
  const std::size_t steps = session().edits().stepCount();

  drag({1, 1}, upper, Qt::NoModifier);
  EXPECT_EQ(host::selectedObjects(document()), some);
  drag(corner, {1, middle().y()}, Qt::ShiftModifier);
  EXPECT_EQ(host::selectedObjects(document()), all) << "Shift adds";
  drag({1, 1}, upper, Qt::NoModifier);
  EXPECT_EQ(host::selectedObjects(document()), some) << "without it they are all there is";
  drag({1, 1}, {2, 3}, Qt::NoModifier);
  EXPECT_EQ(session().edits().stepCount(), steps) << "a selection is not a step";

  drag({1, 1}, corner, Qt::NoModifier, false);
  const QImage shown = view().grab().toImage();
  const QColor edge = shown.pixelColor(middle().x(), 1);
  EXPECT_EQ(edge, host::tokens().accent) << edge.name().toStdString();
  const auto before = host::selectedObjects(document());
  QTest::keyClick(&view(), Qt::Key_Escape);
  QTest::mouseRelease(&view(), Qt::LeftButton, Qt::NoModifier, corner);
  settle();
  EXPECT_EQ(host::selectedObjects(document()), before) << "Escape takes it back";
  EXPECT_NE(view().grab().toImage().pixelColor(middle().x(), 1), host::tokens().accent);

  choose("tool.move");
  drag({1, 1}, corner, Qt::NoModifier);
  EXPECT_NE(host::selectedObjects(document()), all) << "other tools draw none";
}

TEST_F(MainView, TheMoveToolMovesInOneStep) {
  openAndPaint();
  Identity object = 0;
  const QPoint spot = objectSpot(&object);
  ASSERT_NE(object, 0u);
  QTest::mouseClick(&view(), Qt::LeftButton, Qt::NoModifier, spot);
  settle();
  choose("tool.move");
  const std::size_t steps = session().edits().stepCount();
  const Matrix before = host::findObject(document(), object)->GetMg();
  ChangeCounter changes;
  QTest::mousePress(&view(), Qt::LeftButton, Qt::NoModifier, spot);
  for (int i = 1; i <= 5; ++i) {
    QTest::mouseMove(&view(), spot + QPoint(8 * i, 0));
    settle();
  }
  EXPECT_TRUE(session().edits().isContinuous());
  QTest::mouseRelease(&view(), Qt::LeftButton, Qt::NoModifier, spot + QPoint(40, 0));
  settle();
  EXPECT_EQ(session().edits().stepCount(), steps + 1);
  EXPECT_GE(changes.count, 4);
  const Matrix after = host::findObject(document(), object)->GetMg();
  EXPECT_GT(std::abs(after.off.x - before.off.x) + std::abs(after.off.z - before.off.z), 1e-4);
  choose("edit.undo");
  EXPECT_NEAR(host::findObject(document(), object)->GetMg().off.x, before.off.x, 1e-12);
}

TEST_F(MainView, HandlesMoveAlongTheirAxisInOneStep) {
  openAndPaint();
  Identity object = 0;
  const QPoint spot = objectSpot(&object);
  QTest::mouseClick(&view(), Qt::LeftButton, Qt::NoModifier, spot);
  settle();
  const QImage without = view().grab().toImage();
  choose("tool.move");
  const std::size_t steps = session().edits().stepCount();
  const Matrix before = host::findObject(document(), object)->GetMg();
  // A point of the x axis' line, away from other handles.
  host::Gizmo gizmo;
  gizmo.place = before.off;
  const host::ViewCamera camera = host::viewCameraOf(*document().GetActiveBaseDraw());
  const auto handles = host::gizmoHandles(gizmo, camera);
  const auto line = std::find_if(handles.begin(), handles.end(), [](const auto& one) {
    return one.part == host::GizmoPart::x && !one.filled;
  });
  ASSERT_NE(line, handles.end());
  const auto at = [&](double t) {
    const host::GizmoPoint a = line->line[0], b = line->line[1];
    return QPoint(static_cast<int>(std::lround(a.x + (b.x - a.x) * t)),
                  static_cast<int>(std::lround(a.y + (b.y - a.y) * t)));
  };
  ASSERT_EQ(host::gizmoPartAt(handles, at(0.8).x(), at(0.8).y()), host::GizmoPart::x);
  const QColor free = view().grab().toImage().pixelColor(at(0.8)), plain = without.pixelColor(at(0.8));
  EXPECT_NE(free, plain);
  EXPECT_GT(free.red(), free.green() + 40) << free.name().toStdString();
  QTest::mouseMove(&view(), at(0.8));
  settle();
  EXPECT_EQ(view().grab().toImage().pixelColor(at(0.8)), host::tokens().accent) << "under the pointer";

  QTest::mousePress(&view(), Qt::LeftButton, Qt::NoModifier, at(0.8));
  QTest::mouseMove(&view(), at(1.2));
  QTest::mouseMove(&view(), at(1.6));
  EXPECT_TRUE(session().edits().isContinuous());
  QTest::mouseRelease(&view(), Qt::LeftButton, Qt::NoModifier, at(1.6));
  settle();
  EXPECT_EQ(session().edits().stepCount(), steps + 1);
  const Matrix after = host::findObject(document(), object)->GetMg();
  EXPECT_GT(after.off.x, before.off.x + 1e-4);
  EXPECT_NEAR(after.off.y, before.off.y, 1e-12);
  EXPECT_NEAR(after.off.z, before.off.z, 1e-12);
  EXPECT_EQ(host::selectedObjects(document()), host::Identities{object}) << "the selection stays";
  choose("edit.undo");
  settle();

  // With Ctrl in steps of a centimetre.
  choose("tool.step-1cm");
  QTest::mousePress(&view(), Qt::LeftButton, Qt::NoModifier, at(0.8));
  QTest::mouseMove(&view(), at(1.2));
  QMouseEvent last(QEvent::MouseMove, QPointF(at(1.5)), view().mapToGlobal(QPointF(at(1.5))), Qt::NoButton,
                   Qt::LeftButton, Qt::ControlModifier);
  QApplication::sendEvent(&view(), &last);
  QTest::mouseRelease(&view(), Qt::LeftButton, Qt::ControlModifier, at(1.5));
  settle();
  const double moved = (host::findObject(document(), object)->GetMg().off.x - before.off.x) * 100;
  EXPECT_NEAR(moved, std::round(moved), 1e-6);
  EXPECT_GE(moved, 1);
}

TEST_F(MainView, EscapeTakesAToolBack) {
  openAndPaint();
  Identity object = 0;
  const QPoint spot = objectSpot(&object);
  QTest::mouseClick(&view(), Qt::LeftButton, Qt::NoModifier, spot);
  choose("tool.turn");
  const std::size_t steps = session().edits().stepCount();
  const Matrix before = host::findObject(document(), object)->GetMg();
  QTest::mousePress(&view(), Qt::LeftButton, Qt::NoModifier, spot);
  QTest::mouseMove(&view(), spot + QPoint(50, 0));
  EXPECT_NE(host::findObject(document(), object)->GetMg().v1.x, before.v1.x);
  QTest::keyClick(&view(), Qt::Key_Escape);
  QTest::mouseRelease(&view(), Qt::LeftButton, Qt::NoModifier, spot);
  EXPECT_EQ(session().edits().stepCount(), steps);
  EXPECT_DOUBLE_EQ(host::findObject(document(), object)->GetMg().v1.x, before.v1.x);
}

TEST_F(MainView, AHookFollowsTheMouseInANestedLoop) {
  openAndPaint();
  hook.drags = true;
  const QPoint inFrame = view().frameRect().topLeft() + QPoint(10, 10);
  EXPECT_EQ(view().view().cursorAt(inFrame.x(), inFrame.y()), MOUSE_MOVE);
  bool inside = false, commandsRan = false;
  QTimer::singleShot(20, [&] { QTest::mouseMove(&view(), middle() + QPoint(25, 0)); });
  QTimer::singleShot(60, [&] {
    inside = view().view().inDrag();
    QTest::keyClick(&view(), Qt::Key_N, Qt::ControlModifier); // must not reach File > New
    commandsRan = session().files().title() != String("small.gltf");
  });
  QTimer::singleShot(
      100, [&] { QTest::mouseRelease(&view(), Qt::LeftButton, Qt::NoModifier, middle() + QPoint(25, 0)); });
  QTest::mousePress(&view(), Qt::LeftButton, Qt::NoModifier, middle());
  EXPECT_TRUE(inside);
  EXPECT_FALSE(commandsRan);
  EXPECT_EQ(hook.last, MOUSEDRAGRESULT_FINISHED);
  EXPECT_DOUBLE_EQ(hook.dx, 25);
  EXPECT_GT(hook.moves, 2); // the hook's loop turns while nothing happens
  EXPECT_FALSE(view().view().inDrag());
}

TEST_F(MainView, PluginsMayAskWhetherTheViewIsDrawn) {
  openAndPaint();
  EXPECT_TRUE(hook.drawing);
  EXPECT_TRUE(waitFor([] { return !CheckIsRunning(CHECKISRUNNING_VIEWDRAWING); }))
      << "not when it has come to rest";
}

TEST_F(MainView, EscapeEndsAHooksDrag) {
  openAndPaint();
  hook.drags = true;
  view().setFocus();
  QTimer::singleShot(30, [&] { QTest::keyClick(&view(), Qt::Key_Escape); });
  QTest::mousePress(&view(), Qt::LeftButton, Qt::NoModifier, middle());
  EXPECT_EQ(hook.last, MOUSEDRAGRESULT_ESCAPE);
  QTest::mouseRelease(&view(), Qt::LeftButton, Qt::NoModifier, middle());
}

TEST_F(MainView, AHiddenViewEndsAHooksDrag) {
  openAndPaint();
  hook.drags = true;
  QTimer::singleShot(30, [&] { window().hide(); });
  QTest::mousePress(&view(), Qt::LeftButton, Qt::NoModifier, middle());
  EXPECT_NE(hook.last, MOUSEDRAGRESULT_CONTINUE);
  EXPECT_FALSE(view().view().inDrag());
}

TEST_F(MainView, RenderViewLiesOverThePictureUntilSomethingChanges) {
  openAndPaint();
  session().edits().apply(
      "Samples", [](BaseDocument& document) { host::setRenderValue(document, 7100, GeData(LONG(1))); });
  settle();
  choose("render.view");
  ASSERT_TRUE(waitFor([&] { return !session().renders().isRunning(); }, 60000));
  settle();
  EXPECT_TRUE(view().showsRender());
  const QImage shown = view().grab().toImage();
  EXPECT_EQ(shown.size(), view().size());
  wheel(1);
  EXPECT_FALSE(view().showsRender());
}

TEST_F(MainView, TimelineShowsAndSetsTheTime) {
  openScene(smallScene());
  auto* ruler = window().findChild<host::TimeRuler*>();
  ASSERT_NE(ruler, nullptr);
  const LONG last = session().playback().lastFrame();
  ASSERT_GT(last, 0);
  EXPECT_EQ(ruler->frameAt(ruler->xOf(1)), 1);
  QTest::mousePress(ruler, Qt::LeftButton, Qt::NoModifier,
                    QPoint(static_cast<int>(std::lround(ruler->xOf(last))), 6));
  EXPECT_EQ(session().playback().frame(), last);
  QTest::mouseMove(ruler, QPoint(-500, 6));
  EXPECT_EQ(session().playback().frame(), ruler->frameAt(-500));
  QTest::mouseRelease(ruler, Qt::LeftButton, Qt::NoModifier, QPoint(-500, 6));
  auto* frame = window().findChild<host::NumberField*>("time-frame");
  window().activateWindow();
  frame->setFocus();
  QTest::keyClicks(frame, "12+1");
  QTest::keyClick(frame, Qt::Key_Return);
  settle();
  EXPECT_EQ(session().playback().frame(), 13);
  choose("time.next");
  EXPECT_EQ(session().playback().frame(), 14);
  choose("time.last");
  EXPECT_EQ(session().playback().frame(), session().playback().lastFrame());
  choose("time.first");
  EXPECT_EQ(session().playback().frame(), session().playback().firstFrame());
  EXPECT_FALSE(session().edits().canUndo()); // the time is not an edit
}

TEST_F(MainView, PlayRunsAndStops) {
  openScene(smallScene());
  choose("time.first");
  const LONG first = session().playback().frame();
  choose("time.play");
  EXPECT_TRUE(session().playback().isPlaying());
  EXPECT_TRUE(waitFor([&] { return session().playback().frame() != first; }, 3000));
  choose("time.play");
  EXPECT_FALSE(session().playback().isPlaying());
}

TEST_F(MainView, RangeAndRateAreEdits) {
  openScene(smallScene());
  const LONG fps = document().GetFps();
  auto* field = window().findChild<host::NumberField*>("time-fps");
  emit field->valueChanged(fps + 5);
  settle();
  EXPECT_EQ(document().GetFps(), fps + 5);
  choose("edit.undo");
  EXPECT_EQ(document().GetFps(), fps);
}

TEST_F(MainView, LabelsOfTheRulerStandApart) {
  EXPECT_EQ(host::labelStep(60, 48), 1);
  EXPECT_EQ(host::labelStep(30, 48), 2);
  EXPECT_EQ(host::labelStep(10, 48), 5);
  EXPECT_EQ(host::labelStep(4.8, 48), 10);
  EXPECT_EQ(host::labelStep(0.01, 48), 5000);
  EXPECT_EQ(host::labelStep(0, 48), 1);
}

} // namespace
