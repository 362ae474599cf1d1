// The region's box dragged in the editor view.
#include <gtest/gtest.h>

#include "region_fixture.h"

namespace {

using RegionDragTest = RegionFixture;

TEST_F(RegionDragTest, ADragMovesTheBoxAndKeepsItInTheDocument) {
  setViewAndFormat(801, 601); // 800 and 600 to drag over
  store(LM_ASPECT, static_cast<Real>(801) / 601);
  setRegion(0.25, 0.25, 0.5);
  const Box before = drawnBox();
  // The document's hook has no box before the first cursor query.
  cursorAt(0, 0);
  EXPECT_TRUE(press(before.left, 300, {moveTo(before.left + 80, 300), release(before.left + 80, 300)}));
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_X), before.left / 801.0 + 80.0 / 800);
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_Y), before.top / 601.0);
  EXPECT_EQ(region().GetReal(LM_REGION_SIZE), 0.5);
  EXPECT_EQ(region().GetCount(), 3);
  EXPECT_EQ(drawnBox().left, before.left + 80);
}

TEST_F(RegionDragTest, ADragCountsByTheViewLessOnePixel) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  cursorAt(0, 0);
  press(200, 300, {moveTo(210, 330), release(210, 330)});
  // The hook derives its position from the pixels of its box.
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_X), (799 * (200.0 / 800) + 10) / 799);
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_Y), (599 * (150.0 / 600) + 30) / 599);
}

TEST_F(RegionDragTest, EachStepGoesOnFromThePlaceThatTheSafeFrameLeft) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  cursorAt(0, 0);
  press(200, 300, {moveTo(-1800, 300), release(-1800, 300)});
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_X), (799 * 0.25 - 2000) / 799) << "as dragged";
  EXPECT_EQ(drawnBox().left, 1) << "pinned";

  setRegion(0.25, 0.25, 0.5);
  cursorAt(0, 0);
  press(200, 300, {moveTo(-1800, 300), moveTo(-1750, 300), release(-1750, 300)});
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_X), (799 * (1.0 / 800) + 50) / 799) << "from the pinned place";
}

TEST_F(RegionDragTest, EveryEdgeAndItsExtensionStartsADrag) {
  setViewAndFormat(800, 600);
  const Real presses[][2] = {{200, 300}, {600, 300}, {400, 150}, {400, 449},
                             {200, 10},  {600, 590}, {10, 150},  {790, 449}};
  for (const auto& [x, y] : presses) {
    setRegion(0.25, 0.25, 0.5);
    cursorAt(0, 0);
    EXPECT_TRUE(press(x, y, {moveTo(x + 20, y + 10), release(x + 20, y + 10)})) << x << ", " << y;
    EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_X), (799 * 0.25 + 20) / 799) << x << ", " << y;
    EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_Y), (599 * 0.25 + 10) / 599) << x << ", " << y;
  }
}

TEST_F(RegionDragTest, APressElsewhereIsForOthers) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  cursorAt(0, 0);
  EXPECT_FALSE(press(400, 300, {moveTo(450, 300)})) << "inside";
  EXPECT_FALSE(press(700, 500, {moveTo(750, 500)})) << "outside";
  EXPECT_FALSE(press(203, 300, {moveTo(250, 300)})) << "three pixels away";
  EXPECT_TRUE(press(202, 300, {release(202, 300)})) << "two";
  EXPECT_FALSE(press(200, 300, {moveTo(250, 300)}, BFM_INPUT_MOUSERIGHT));
  EXPECT_FALSE(press(200, 300, {moveTo(250, 300)}, BFM_INPUT_MOUSEMIDDLE));
  EXPECT_FALSE(press(200, 300, {moveTo(250, 300)}, BFM_INPUT_MOUSEWHEEL));
  EXPECT_EQ(region().GetReal(LM_REGION_X), 0.25);
  EXPECT_EQ(pumped, 1) << "the release of the one drag";
}

TEST_F(RegionDragTest, ADragReplacesTheRecordAndForgetsTheCamera) {
  setViewAndFormat(800, 600);
  BaseObject* camera = BaseObject::Alloc(Ocamera);
  document->InsertObject(camera, nullptr, nullptr);
  BaseContainer record;
  record.SetReal(LM_REGION_X, 0.25);
  record.SetReal(LM_REGION_Y, 0.25);
  record.SetLink(LM_REGION_CAMERA, camera);
  document->GetDataInstance()->SetContainer(LM_REGION, record);
  cursorAt(0, 0);

  press(200, 300, {release(200, 300)});
  EXPECT_EQ(region().GetType(LM_REGION_CAMERA), DA_ALIASLINK) << "nothing was moved";
  press(200, 300, {moveTo(210, 300), release(210, 300)});
  EXPECT_EQ(region().GetCount(), 3);
  EXPECT_EQ(region().GetIndexId(0), LM_REGION_X);
  EXPECT_EQ(region().GetIndexId(1), LM_REGION_Y);
  EXPECT_EQ(region().GetIndexId(2), LM_REGION_SIZE);
}

TEST_F(RegionDragTest, EveryStepWithMovementRedrawsAndSoDoesTheEnd) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  cursorAt(0, 0);
  ui.drawnViews.clear();
  press(200, 300,
        {moveTo(210, 300), moveTo(210, 300), host::DragEvent{}, moveTo(220, 301), release(220, 301)});
  EXPECT_EQ(ui.drawnViews, (std::vector<LONG>{0x40502, 0x40502, 0x40502}));
  EXPECT_TRUE(document->GetChanged());
}

TEST_F(RegionDragTest, ADragHasEndedWhenTheViewsAreDrawnForTheLastTime) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  cursorAt(0, 0);
  std::vector<bool> dragging;
  ui.whenViewsAreDrawn = [&] { dragging.push_back(hooks.inDrag()); };
  press(200, 300, {moveTo(210, 300), moveTo(220, 300), release(220, 300)});
  EXPECT_EQ(dragging, (std::vector<bool>{true, true, false}));
}

TEST_F(RegionDragTest, ADragWithAutomaticRefreshTellsTheViewer) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  MessageLog log;
  cursorAt(0, 0);
  press(200, 300, {moveTo(210, 300), release(210, 300)});
  runAll();
  EXPECT_TRUE(log.messages.empty());
  store(LM_AUTO_REFRESH, 1);
  cursorAt(0, 0);
  press(210, 300, {release(210, 300)});
  runAll();
  ASSERT_EQ(log.messages.size(), 1u);
  EXPECT_EQ(log.messages[0], (Message{1021444, 0, 0}));
  cursorAt(0, 0);
  press(400, 300, {release(400, 300)});
  runAll();
  EXPECT_EQ(log.messages.size(), 1u) << "no edge, no drag";
}

TEST_F(RegionDragTest, ADragThatIsTakenBackKeepsItsSteps) {
  setViewAndFormat(800, 600);
  setRegion(0.25, 0.25, 0.5);
  cursorAt(0, 0);
  host::DragEvent escape;
  escape.kind = host::DragEvent::Kind::escape;
  press(200, 300, {moveTo(210, 300), escape});
  EXPECT_DOUBLE_EQ(region().GetReal(LM_REGION_X), (799 * 0.25 + 10) / 799);
}

} // namespace
