// Scene hooks: their order, their input, the pointer, and their lifetime.
#include <atomic>
#include <stdexcept>

#include "hook_kit.h"

namespace {

using host::DragEvent;
using host::MouseButton;

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

} // namespace
