// Boxes, popups and modal dialogs.
#include <QAction>
#include <QElapsedTimer>
#include <QMenu>
#include <QPlainTextEdit>
#include <QTimer>
#include <QToolButton>
#include <atomic>
#include <functional>
#include <thread>

#include "c4d_bitmap.h"
#include "dialog_ui_kit.h"
#include "dialog_window.h"
#include "gadget_dialog.h"
#include "message_box.h"
#include "movie_options.h"
#include "movie_options_dialog.h"
#include "number_field.h"
#include "placements.h"
#include "preferences.h"

namespace {

using Calls = std::vector<std::string>;
using host::mainLoop;

// ---- Boxes

TEST_F(DialogUi, SentenceComesFirst) {
  const host::BoxText two = host::splitBoxText("It failed. The disk is full.\nMake room.");
  EXPECT_EQ(two.sentence, "It failed.");
  EXPECT_EQ(two.reason, "The disk is full.\nMake room.");
  EXPECT_EQ(host::splitBoxText("One line\nmore").sentence, "One line");
  EXPECT_EQ(host::splitBoxText("Lumenara v1.2").sentence, "Lumenara v1.2");
  EXPECT_EQ(host::splitBoxText("a.b.c is missing").reason, "");
  EXPECT_EQ(host::splitBoxText("").sentence, "");
}

TEST_F(DialogUi, MessageWaitsForTheUser) {
  QString shown;
  whenModal([&](QWidget& box) {
    shown = sentence(box);
    EXPECT_TRUE(mainLoop().inModal());
    QTest::mouseClick(&answer(box, 0), Qt::LeftButton);
  });
  desktop->message("Done. All of it.");
  EXPECT_EQ(shown, "Done.");
  EXPECT_FALSE(mainLoop().inModal());
}

TEST_F(DialogUi, QuestionsAreAnswered) {
  whenModal([](QWidget& box) { QTest::mouseClick(&answer(box, 0), Qt::LeftButton); });
  EXPECT_TRUE(desktop->question("Really?"));
  whenModal([](QWidget& box) { QTest::mouseClick(&answer(box, 1), Qt::LeftButton); });
  EXPECT_FALSE(desktop->question("Really?"));
  whenModal([](QWidget& box) { QTest::keyClick(&box, Qt::Key_Escape); });
  EXPECT_FALSE(desktop->question("Really?"));
  whenModal([](QWidget& box) { QTest::keyClick(&box, Qt::Key_Return); });
  EXPECT_TRUE(desktop->question("Really?"));
  whenModal([](QWidget& box) { box.close(); });
  EXPECT_FALSE(desktop->question("Really?"));
}

TEST_F(DialogUi, ChoiceGivesTheButton) {
  whenModal([](QWidget& box) { QTest::mouseClick(&answer(box, 1), Qt::LeftButton); });
  EXPECT_EQ(host::askChoice(nullptr, {"Save?", "", "", ""}, {"Save", "Discard", "Cancel"}), 1);
  whenModal([](QWidget& box) { QTest::keyClick(&box, Qt::Key_Escape); });
  EXPECT_EQ(host::askChoice(nullptr, {"Save?", "", "", ""}, {"Save", "Discard", "Cancel"}), 2);
}

TEST_F(DialogUi, EnterGivesTheSafeAnswer) {
  whenModal([](QWidget& box) { QTest::keyClick(&box, Qt::Key_Return); });
  EXPECT_EQ(host::askChoice(nullptr, {"Load?", "", "", ""}, {"Load", "Keep"}, 1), 1);
  whenModal([](QWidget& box) {
    EXPECT_TRUE(answer(box, 1).isDefault());
    EXPECT_FALSE(answer(box, 0).isDefault());
    QTest::mouseClick(&answer(box, 0), Qt::LeftButton);
  });
  EXPECT_EQ(host::askChoice(nullptr, {"Load?", "", "", ""}, {"Load", "Keep"}, 1), 0);
}

TEST_F(DialogUi, DetailsAreFolded) {
  whenModal([](QWidget& box) {
    auto* details = box.findChild<QPlainTextEdit*>();
    ASSERT_NE(details, nullptr);
    EXPECT_FALSE(details->isVisible());
    QTest::mouseClick(box.findChild<QToolButton*>("details"), Qt::LeftButton);
    EXPECT_TRUE(details->isVisible());
    EXPECT_EQ(details->toPlainText(), "line 3");
    QTest::mouseClick(&answer(box, 0), Qt::LeftButton);
  });
  host::showError(nullptr, {"It failed.", "Because.", "Do this.", "line 3"});
}

// ---- The main loop while a box is open

TEST_F(DialogUi, PaintingGoesOnWhileABoxIsOpenTheRestWaits) {
  TestDialog listener; // closed, and still notified
  int painted = 0, ordinary = 0, paintingTimer = 0, ordinaryTimer = 0;
  const auto one = mainLoop().addTimer(
      5, [&] { ++paintingTimer; }, host::Urgency::painting);
  const auto two = mainLoop().addTimer(5, [&] { ++ordinaryTimer; });
  whenModal([&](QWidget& box) {
    mainLoop().post([&] { ++painted; }, host::Urgency::painting);
    mainLoop().post([&] { ++ordinary; });
    mainLoop().postSceneChanged();
    EXPECT_TRUE(waitFor([&] { return painted == 1 && paintingTimer >= 2; }));
    const int before = ordinaryTimer;
    QTest::qWait(30);
    EXPECT_EQ(ordinary, 0);
    EXPECT_EQ(ordinaryTimer, before);
    EXPECT_TRUE(listener.calls.empty());
    QTest::mouseClick(&answer(box, 0), Qt::LeftButton);
  });
  desktop->message("Wait.");
  EXPECT_TRUE(waitFor([&] { return ordinary == 1 && !listener.calls.empty(); }));
  EXPECT_EQ(listener.calls, Calls{"core " + std::to_string(EVMSG_CHANGE)});
  mainLoop().removeTimer(one);
  mainLoop().removeTimer(two);
}

TEST_F(DialogUi, EventsOfOtherThreadsWakeQt) {
  std::atomic<int> ran{0};
  std::thread poster([&] {
    for (int i = 0; i < 100; ++i)
      mainLoop().post([&] { ++ran; });
  });
  EXPECT_TRUE(waitFor([&] { return ran == 100; }));
  poster.join();
}

TEST_F(DialogUi, TasksThatPostThemselvesLeaveRoomForInput) {
  bool stop = false;
  int rounds = 0, input = 0;
  std::function<void()> again = [&] {
    ++rounds;
    if (!stop) mainLoop().post(again);
  };
  mainLoop().post(again);
  QTimer::singleShot(0, qApp, [&] { ++input; });
  EXPECT_TRUE(waitFor([&] { return input == 1 && rounds > 50; }));
  stop = true;
  settle();
}

TEST_F(DialogUi, TimersStartedWithoutNotificationRun) {
  int count = 0;
  QTimer::singleShot(1, qApp,
                     [&] { mainLoop().addTimer(3, [&] { ++count; }); }); // as a button's command does
  EXPECT_TRUE(waitFor([&] { return count >= 3; }));
}

TEST_F(DialogUi, ThreadsCallsAreServedByQtsLoop) {
  bool ran = false;
  std::atomic<bool> done{false};
  std::thread caller([&] {
    mainLoop().call([&] { ran = true; }, host::CallKind::work);
    done = true;
  });
  EXPECT_TRUE(waitFor([&] { return done.load(); }));
  caller.join();
  EXPECT_TRUE(ran);
}

// ---- Popups

TEST_F(DialogUi, PopupGivesTheChosenEntry) {
  whenPopup([](QWidget& popup) {
    const QList<QAction*> actions = popup.actions();
    ASSERT_EQ(actions.size(), 5);
    EXPECT_EQ(actions[0]->text(), "First");
    EXPECT_TRUE(actions[1]->isChecked());
    EXPECT_EQ(actions[1]->text(), "Marked");
    EXPECT_TRUE(actions[2]->isSeparator());
    EXPECT_FALSE(actions[3]->isEnabled());
    auto& menu = dynamic_cast<QMenu&>(popup);
    QTest::mouseClick(&menu, Qt::LeftButton, {}, menu.actionGeometry(actions[4]).center());
  });
  const BaseContainer list =
      entries({{5, "First"}, {6, "Marked&c&"}, {0, ""}, {7, "Grey&d&"}, {8, "R && D"}});
  EXPECT_EQ(ShowPopupMenu(nullptr, 20, 20, list), 8);
}

TEST_F(DialogUi, PopupShowsEveryAmpersand) {
  whenPopup([](QWidget& popup) {
    const char* const shown[] = {"R&D.glb", "&First", "A && B", "Both&", "A &c& B"};
    const QList<QAction*> actions = popup.actions();
    ASSERT_EQ(actions.size(), 5);
    for (int i = 0; i < 5; ++i) {
      QString text = actions[i]->text();
      EXPECT_TRUE(QKeySequence::mnemonic(text).isEmpty()) << text.toStdString();
      EXPECT_EQ(text.replace(QLatin1String("&&"), QLatin1String("&")), shown[i]);
      EXPECT_EQ(actions[i]->isChecked(), i == 4);
    }
    QTest::keyClick(&popup, Qt::Key_D); // no letter of a name chooses it
    EXPECT_TRUE(popup.isVisible());
    QTest::keyClick(&popup, Qt::Key_Escape);
  });
  const BaseContainer list =
      entries({{5, "R&D.glb"}, {6, "&First"}, {7, "A && B"}, {8, "Both&"}, {9, "A &c& B&c&"}});
  EXPECT_EQ(desktop->popup(list, 20, 20), 0);
}

TEST_F(DialogUi, PopupIsLeftWithoutAChoice) {
  whenPopup([](QWidget& popup) { QTest::keyClick(&popup, Qt::Key_Escape); });
  EXPECT_EQ(desktop->popup(entries({{5, "First"}}), 0x7fffffff, 0x7fffffff), 0);
  EXPECT_EQ(desktop->popup(BaseContainer(), 0, 0), 0); // nothing to show
}

TEST_F(DialogUi, PopupOfNineHundredOpensQuicklyAndScrolls) {
  BaseContainer list;
  for (LONG i = 1; i <= 900; ++i)
    list.SetString(i, "Picture " + LongToString(i));
  QElapsedTimer time;
  qint64 took = 0;
  whenPopup([&](QWidget& popup) {
    took = time.elapsed();
    EXPECT_EQ(popup.actions().size(), 900);
    EXPECT_LT(popup.width(), 500); // one column
    EXPECT_LE(popup.height(), QGuiApplication::primaryScreen()->geometry().height());
    QTest::keyClick(&popup, Qt::Key_End);
    QTest::keyClick(&popup, Qt::Key_Return);
  });
  time.start();
  EXPECT_EQ(desktop->popup(list, 10, 10), 900);
  EXPECT_LT(took, 1500); // an order of magnitude above what it takes
}

// ---- Modal dialogs

class DialogModal : public DialogUi {
 public:
  DialogModal() {
    dialog.layout = [this] {
      dialog.SetTitle("Modal");
      dialog.AddEditNumber(100, BFH_LEFT);
      dialog.AddDlgGroup(DLG_OK | DLG_CANCEL);
    };
  }
  QWidget* gadget(LONG id) { return desktop->windowOf(dialog)->gadgetWidget(id); }
  TestModal dialog;
};

TEST_F(DialogModal, OkGivesTrue) {
  whenModal([&](QWidget& frame) {
    EXPECT_EQ(frame.windowTitle(), "Modal");
    QTest::mouseClick(gadget(IDC_OK), Qt::LeftButton);
  });
  EXPECT_TRUE(dialog.Open());
  EXPECT_EQ(dialog.calls, (Calls{"command 1", "ask", "destroy"}));
  EXPECT_FALSE(dialog.IsOpen());
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(DialogModal, CancelEscapeAndCloseGiveFalse) {
  whenModal([&](QWidget&) { QTest::mouseClick(gadget(IDC_CANCEL), Qt::LeftButton); });
  EXPECT_FALSE(dialog.Open());
  whenModal([&](QWidget& frame) { QTest::keyClick(&frame, Qt::Key_Escape); });
  EXPECT_FALSE(dialog.Open());
  whenModal([&](QWidget& frame) { frame.close(); });
  EXPECT_FALSE(dialog.Open());
}

TEST_F(DialogModal, EnterIsOk) {
  whenModal([&](QWidget& frame) { QTest::keyClick(&frame, Qt::Key_Return); });
  EXPECT_TRUE(dialog.Open());
}

TEST_F(DialogModal, EnterInAFieldCommitsFirst) {
  whenModal([&](QWidget&) {
    QTest::mouseClick(gadget(100), Qt::LeftButton);
    QTest::keyClicks(gadget(100), "7");
    QTest::keyClick(gadget(100), Qt::Key_Return);
    EXPECT_TRUE(dialog.IsOpen());
    EXPECT_EQ(dialog.calls, Calls{"command 100"});
    QTest::keyClick(gadget(100), Qt::Key_Return);
    EXPECT_FALSE(dialog.IsOpen());
  });
  EXPECT_TRUE(dialog.Open());
  LONG value = 0;
  EXPECT_TRUE(dialog.GetLong(100, value));
  EXPECT_EQ(value, 7);
}

TEST_F(DialogModal, MayRefuse) {
  dialog.refuses = true;
  whenModal([&](QWidget&) {
    QTest::mouseClick(gadget(IDC_OK), Qt::LeftButton);
    EXPECT_TRUE(dialog.IsOpen());
    dialog.refuses = false;
    QTest::mouseClick(gadget(IDC_CANCEL), Qt::LeftButton);
  });
  EXPECT_FALSE(dialog.Open());
}

TEST_F(DialogModal, OwnTimerGoesOnTheOthersWait) {
  TestDialog other;
  ASSERT_TRUE(other.Open(DLG_TYPE_ASYNC, 90));
  other.SetTimer(5);
  dialog.SetTimer(5);
  whenModal([&](QWidget&) {
    other.takeCalls();
    EXPECT_TRUE(waitFor([&] { return dialog.calls.size() >= 3; }));
    EXPECT_TRUE(other.calls.empty());
    QTest::mouseClick(gadget(IDC_OK), Qt::LeftButton);
  });
  dialog.Open();
  EXPECT_TRUE(waitFor([&] { return !other.calls.empty(); }));
  other.Close();
}

TEST_F(DialogModal, BoxAboveAModalDialog) {
  bool answered = false;
  dialog.command = [&](LONG id) {
    if (id != 100) return;
    whenModal([](QWidget& box) { QTest::mouseClick(&answer(box, 0), Qt::LeftButton); });
    answered = desktop->question("Sure?");
  };
  whenModal([&](QWidget&) {
    QTest::keyClick(gadget(100), Qt::Key_Up);
    EXPECT_TRUE(answered);
    QTest::mouseClick(gadget(IDC_OK), Qt::LeftButton);
  });
  EXPECT_TRUE(dialog.Open());
}

} // namespace
