// Keys in the timeline: the button, marks dragged by the mouse, their menu, the commands.
#include <QContextMenuEvent>
#include <QMenu>
#include <QToolButton>

#include "key_edits.h"
#include "main_kit.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "timeline_widget.h"

namespace {

using namespace host;
using Frames = std::set<long>;

class KeyMarksTest : public StudioTest {
 protected:
  KeyMarksTest() {
    startStudio();
    openScene(smallScene());
    ruler = window().findChild<TimeRuler*>();
    const Identity first = objectRows(document()).front().identity;
    {
      const DocumentEdit edit(document());
      selectObjects(document(), std::array{first});
    }
    session().hub().tellSelection();
    settle();
    old = frames();
  }
  ~KeyMarksTest() override { stopStudio(); }

  Frames frames() { return keyFrames(document(), selectedObjects(document())); }
  // Frames with keys that the scene did not bring.
  Frames added() {
    Frames all = frames();
    for (const long frame : old)
      all.erase(frame);
    return all;
  }
  QPoint mark(long frame) {
    return {static_cast<int>(std::lround(ruler->xOf(static_cast<double>(frame)))), 21};
  }
  void goTo(long frame) {
    session().playback().goTo(static_cast<LONG>(frame));
    settle();
  }

  TimeRuler* ruler = nullptr;
  Frames old;
};

TEST_F(KeyMarksTest, TheButtonAndTheCommandsSetKeys) {
  auto* button = window().findChild<QToolButton*>("key-set");
  ASSERT_NE(button, nullptr);
  goTo(3);
  QTest::mouseClick(button, Qt::LeftButton);
  goTo(9);
  choose("key.set");
  EXPECT_EQ(added(), (Frames{3, 9}));
  choose("key.previous");
  EXPECT_EQ(session().playback().frame(), 3);
  choose("key.next");
  EXPECT_EQ(session().playback().frame(), 9);
  choose("key.delete");
  EXPECT_EQ(added(), (Frames{3}));
  choose("edit.undo");
  EXPECT_EQ(added(), (Frames{3, 9}));
  choose("edit.select-none");
  settle();
  EXPECT_FALSE(button->isEnabled());
  EXPECT_FALSE(action("key.set")->isEnabled());
}

TEST_F(KeyMarksTest, AMarkIsDraggedInOneStep) {
  goTo(4);
  choose("key.set");
  goTo(0);
  const std::size_t steps = session().edits().stepCount();
  QTest::mousePress(ruler, Qt::LeftButton, Qt::NoModifier, mark(4));
  for (const long frame : {6L, 9L, 12L})
    QTest::mouseMove(ruler, mark(frame));
  EXPECT_EQ(added(), (Frames{12})) << "while it is dragged";
  QTest::mouseRelease(ruler, Qt::LeftButton, Qt::NoModifier, mark(12));
  EXPECT_EQ(added(), (Frames{12}));
  EXPECT_EQ(session().playback().frame(), 0) << "the time stays";
  EXPECT_EQ(session().edits().stepCount(), steps + 1);
  choose("edit.undo");
  EXPECT_EQ(added(), (Frames{4}));
  QTest::mouseClick(ruler, Qt::LeftButton, Qt::NoModifier, mark(4));
  EXPECT_EQ(session().edits().stepCount(), steps + 1) << "a click changes nothing";
}

TEST_F(KeyMarksTest, MarksAreDrawnForTheSelectionOnly) {
  goTo(8);
  choose("key.set");
  goTo(0);
  const QPoint at = mark(8) * 1;
  const QColor with = ruler->grab().toImage().pixelColor(at);
  choose("edit.select-none");
  settle();
  const QColor without = ruler->grab().toImage().pixelColor(at);
  EXPECT_GT(with.lightness(), without.lightness() + 60) << "a light mark in the dark theme";
}

TEST_F(KeyMarksTest, TheMenuSetsTheInterpolation) {
  goTo(2);
  choose("key.set");
  QContextMenuEvent event(QContextMenuEvent::Mouse, mark(2), ruler->mapToGlobal(mark(2)));
  QApplication::sendEvent(ruler, &event);
  auto* menu = ruler->findChild<QMenu*>("menu-keys");
  ASSERT_NE(menu, nullptr);
  menu->findChild<QAction*>("keys-smooth")->trigger();
  const Identities selected = selectedObjects(document());
  EXPECT_EQ(interpolationOf(document(), selected), Interpolation::cubic);
  menu->findChild<QAction*>("keys-delete")->trigger();
  EXPECT_FALSE(frames().contains(2));
  menu->close();
}

} // namespace
