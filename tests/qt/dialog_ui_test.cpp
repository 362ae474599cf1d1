// Boxes, popups, choosers, modal dialogs and placements.
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>
#include <atomic>
#include <functional>
#include <thread>

#include "c4d_bitmap.h"
#include "dialog_window.h"
#include "gadget_dialog.h"
#include "message_box.h"
#include "movie_options.h"
#include "movie_options_dialog.h"
#include "number_field.h"
#include "placements.h"
#include "preferences.h"
#include "qt_fixture.h"

namespace {

using Calls = std::vector<std::string>;
using host::DialogPlacement;
using host::mainLoop;

class DialogUi : public QtFixture {
 public:
  DialogUi() { startDesktop(); }

  static QPushButton& answer(QWidget& box, int index) {
    return *box.findChild<QPushButton*>(QStringLiteral("answer-%1").arg(index));
  }
  static QString sentence(QWidget& box) { return box.findChild<QLabel*>("sentence")->text(); }
  static BaseContainer entries(const std::vector<std::pair<LONG, const char*>>& list) {
    BaseContainer container;
    for (const auto& [id, text] : list)
      container.SetString(id, text);
    return container;
  }
};

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
  TestDialog listener; // closed, and still told
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

TEST_F(DialogUi, TimersStartedWithoutAWordRun) {
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

// ---- Placements

TEST_F(DialogUi, DialogsComeBackWhereTheyWere) {
  TestDialog dialog;
  dialog.layout = [&] { dialog.AddButton(1, 0, 0, 0, "Go"); };
  ASSERT_TRUE(dialog.Open(DLG_TYPE_ASYNC, 500, 40, 50, 320, 200, 3));
  settle();
  host::DialogWindow* window = desktop->windowOf(dialog);
  EXPECT_EQ(window->pos(), QPoint(40, 50));
  EXPECT_EQ(window->size(), QSize(320, 200));
  window->move(60, 70);
  window->resize(400, 250);
  EXPECT_TRUE(waitFor([] { return host::storedPlacement(500, 3)->placement.x == 60; }));
  EXPECT_TRUE(desktop->openAtLastEnd().empty()); // it is open now
  desktop->keepOpenDialogs();
  dialog.Close();

  startDesktop();
  EXPECT_EQ(desktop->openAtLastEnd(), (std::vector<std::pair<LONG, LONG>>{{500, 3}}));
  ASSERT_TRUE(dialog.RestoreLayout(500, 3, nullptr));
  EXPECT_EQ(desktop->windowOf(dialog)->pos(), QPoint(60, 70));
  EXPECT_EQ(desktop->windowOf(dialog)->size(), QSize(400, 250));
  EXPECT_FALSE(TestDialog().RestoreLayout(500, 4, nullptr));

  dialog.Close(); // by the user: next time it stays closed, but knows its place
  EXPECT_FALSE(dialog.RestoreLayout(500, 3, nullptr));
  ASSERT_TRUE(dialog.Open(DLG_TYPE_ASYNC, 500, -1, -1, 0, 0, 3));
  EXPECT_EQ(desktop->windowOf(dialog)->size(), QSize(400, 250));
  dialog.Close();
}

TEST_F(DialogUi, KilledProgramKnowsWhatWasOpen) {
  TestDialog dialog;
  dialog.layout = [&] { dialog.AddButton(1, 0, 0, 0, "Go"); };
  ASSERT_TRUE(dialog.Open(DLG_TYPE_ASYNC, 501));
  const host::Preferences onDisk(host::preferences()->file()); // as another start would read it
  const BaseContainer* stored = onDisk.getNamed("dialogs");
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(stored->GetCount(), 1);
  dialog.Close();
}

TEST_F(DialogUi, PlacesOffTheScreenAreBroughtBack) {
  TestDialog dialog;
  dialog.layout = [&] { dialog.AddButton(1, 0, 0, 0, "Go"); };
  ASSERT_TRUE(dialog.Open(DLG_TYPE_ASYNC, 502, 90000, 90000, 200, 100));
  const QRect screen = QGuiApplication::primaryScreen()->geometry();
  EXPECT_TRUE(screen.intersects(desktop->windowOf(dialog)->geometry()));
  dialog.Close();
}

TEST_F(DialogUi, DamagedPlacementsAreHarmless) {
  BaseContainer all, one;
  all.SetString(1, "no container");
  one.SetLong(1, 503);
  one.SetLong(6, -5);
  one.SetLong(7, 2000000000);
  one.SetBool(8, TRUE);
  one.SetString(9, "no bytes");
  all.SetContainer(2, one);
  host::preferences()->setNamed("dialogs", all);
  TestDialog dialog;
  dialog.layout = [&] { dialog.AddButton(1, 0, 0, 0, "Go"); };
  EXPECT_TRUE(dialog.RestoreLayout(503, 0, nullptr));
  EXPECT_LE(desktop->windowOf(dialog)->height(), 32767);
  dialog.Close();
}

// A main window as the desktop has one.
class DockHost : public host::DialogHost {
 public:
  QWidget* place(host::DialogWindow& window, const DialogPlacement&, const QByteArray& state) override {
    lastState = state;
    dock = new host::DialogDock(window, &main);
    main.addDockWidget(Qt::RightDockWidgetArea, dock);
    dock->show();
    return dock;
  }
  void remove(host::DialogWindow&) override {
    dock->hide();
    dock->deleteLater();
  }
  QByteArray stateOf(const host::DialogWindow&) const override { return "right"; }

  QMainWindow main;
  QPointer<host::DialogDock> dock;
  QByteArray lastState;
};

TEST_F(DialogUi, DialogsDock) {
  DockHost docks;
  docks.main.resize(900, 600);
  docks.main.show();
  desktop->setDialogHost(&docks);
  TestDialog dialog;
  dialog.layout = [&] {
    dialog.SetTitle("Docked");
    dialog.AddButton(1, BFH_SCALEFIT, 0, 0, "Go");
  };
  ASSERT_TRUE(dialog.Open(DLG_TYPE_ASYNC, 504));
  settle();
  EXPECT_EQ(docks.dock->windowTitle(), "Docked");
  EXPECT_EQ(docks.dock->objectName(), "dialog-504-0");
  EXPECT_EQ(docks.lastState, "");
  dialog.SetTitle("Other");
  EXPECT_EQ(docks.dock->windowTitle(), "Other");
  QTest::keyClick(desktop->windowOf(dialog), '+');
  EXPECT_EQ(dialog.takeCalls(), Calls{"key +"});
  dialog.refuses = true;
  docks.dock->close();
  EXPECT_TRUE(docks.dock->isVisible());
  dialog.refuses = false;
  docks.dock->close();
  EXPECT_FALSE(dialog.IsOpen());
  settle();
  EXPECT_TRUE(docks.dock.isNull());
  ASSERT_TRUE(dialog.Open(DLG_TYPE_ASYNC, 504));
  EXPECT_EQ(docks.lastState, "right");
  dialog.Close();
  settle();
  desktop->setDialogHost(nullptr);
}

// ---- Choosing files, opening things

TEST_F(DialogUi, FileIsChosenAndItsFolderRemembered) {
  const QString folderName = QString::fromStdString((folder / "pictures").GetString().GetUTF8());
  ASSERT_TRUE(QDir().mkpath(folderName));
  whenModal([&](QWidget& modal) {
    auto& chooser = dynamic_cast<QFileDialog&>(modal);
    EXPECT_EQ(chooser.windowTitle(), "Pick");
    EXPECT_EQ(chooser.acceptMode(), QFileDialog::AcceptSave);
    chooser.setDirectory(folderName);
    chooser.findChild<QLineEdit*>()->setText("movie");
    QMetaObject::invokeMethod(&chooser, "accept");
  });
  host::FileRequest request{FILESELECTTYPE_ANYTHING, FILESELECT_SAVE, "Pick", "mov", Filename()};
  Filename chosen;
  ASSERT_TRUE(desktop->selectFile(request, chosen));
  EXPECT_EQ(chosen, folder / "pictures" + Filename("movie.mov"));
  whenModal([&](QWidget& modal) {
    auto& chooser = dynamic_cast<QFileDialog&>(modal);
    EXPECT_EQ(QFileInfo(chooser.directory().path()), QFileInfo(folderName));
    chooser.reject();
  });
  EXPECT_FALSE(desktop->selectFile(request, chosen));
  EXPECT_EQ(chosen.GetFileString(), String("movie.mov")); // as it was
}

TEST_F(DialogUi, ChooserBeginsAtTheGivenFile) {
  const Filename start = folder.makeFolder("start") + Filename("scene.glb");
  whenModal([&](QWidget& modal) {
    auto& chooser = dynamic_cast<QFileDialog&>(modal);
    EXPECT_EQ(chooser.directory().dirName(), "start");
    EXPECT_EQ(chooser.findChild<QLineEdit*>()->text(), "scene.glb");
    chooser.reject();
  });
  Filename chosen;
  EXPECT_FALSE(desktop->selectFile({FILESELECTTYPE_SCENES, FILESELECT_SAVE, "", String(), start}, chosen));
}

TEST_F(DialogUi, FilesAndAddressesAreOpenedBySomeoneElse) {
  QStringList opened;
  desktop->setOpenUrl([&](const QString& url) {
    opened << url;
    return true;
  });
  EXPECT_TRUE(desktop->openFile(Filename("https://example.org/a"))); // an address in a file name
  EXPECT_FALSE(desktop->openFile(Filename("/no/such/file")));
  EXPECT_TRUE(desktop->openFile(folder.makeFolder("a b")));
  EXPECT_TRUE(desktop->openAddress("http://example.org"));
  EXPECT_FALSE(desktop->openAddress("javascript:alert(1)"));
  ASSERT_EQ(opened.size(), 3);
  EXPECT_EQ(opened[0], "https://example.org/a");
  EXPECT_TRUE(opened[1].startsWith("file:///"));
  EXPECT_TRUE(QFileInfo(QUrl(opened[1]).toLocalFile()).isDir());
}

TEST_F(DialogUi, WithoutALauncherTheFileOrAddressIsNamed) {
  desktop->setOpenUrl([](const QString&) { return false; });
  QStringList said;
  const auto read = [&](QWidget& box) {
    QString all;
    for (const QLabel* label : box.findChildren<QLabel*>()) {
      all += label->text() + QLatin1Char('\n');
      EXPECT_TRUE(label->text().isEmpty() || label->textInteractionFlags() & Qt::TextSelectableByMouse);
    }
    said << all;
    box.close();
  };
  const Filename place = folder.makeFolder("a b");
  whenModal(read);
  EXPECT_FALSE(desktop->openFile(place));
  whenModal(read);
  EXPECT_FALSE(desktop->openAddress("https://example.org/a"));
  ASSERT_EQ(said.size(), 2) << "one box each";
  EXPECT_TRUE(said[0].contains("No program was found")) << said[0].toStdString();
  EXPECT_TRUE(said[0].contains(QString::fromStdString(place.GetString().GetUTF8()))) << said[0].toStdString();
  EXPECT_TRUE(said[1].contains("https://example.org/a")) << said[1].toStdString();
}

TEST_F(DialogUi, PicturesAndViewsGoToTheDesktop) {
  EXPECT_FALSE(desktop->drawViews(1)); // nobody there
  LONG flags = 0, width = 0;
  desktop->setDrawViews([&](LONG asked) {
    flags = asked;
    return true;
  });
  desktop->setShowBitmap([&](const BaseBitmap& bitmap) {
    width = bitmap.GetBw();
    return true;
  });
  EXPECT_TRUE(desktop->drawViews(266498));
  EXPECT_EQ(flags, 266498);
  AutoAlloc<BaseBitmap> bitmap;
  bitmap->Init(7, 5, 24);
  EXPECT_TRUE(desktop->showBitmap(*bitmap));
  EXPECT_EQ(width, 7);
}

// ---- Movie options

TEST_F(DialogUi, MovieOptionsAreEdited) {
  BaseContainer choices;
  choices.SetLong(10015, 4); // someone else's
  const std::vector<host::MovieCodecInfo> codecs = host::movieCodecs(FILTER_MOVIE);
  ASSERT_FALSE(codecs.empty());
  whenModal([&](QWidget& dialog) {
    auto* codec = dialog.findChild<QComboBox*>("codec");
    ASSERT_EQ(codec->count(), static_cast<int>(codecs.size()));
    codec->setCurrentIndex(codec->count() - 1);
    dialog.findChild<host::SliderField*>("quality")->setValue(55);
    dialog.findChild<QCheckBox*>("own-bit-rate")->setChecked(true);
    dialog.findChild<host::NumberField*>("bit-rate")->setValue(12000);
    dynamic_cast<QDialog&>(dialog).accept();
  });
  ASSERT_TRUE(desktop->editMovieOptions(FILTER_MOVIE, choices));
  const host::MovieOptions read = host::readMovieOptions(&choices);
  EXPECT_EQ(read.codec, codecs.back().id);
  EXPECT_EQ(read.quality, 55);
  EXPECT_EQ(read.bitRate, 12000);
  EXPECT_EQ(read.keyDistance, 0);
  EXPECT_EQ(choices.GetLong(10015), 4);
}

TEST_F(DialogUi, CancelledMovieOptionsStay) {
  BaseContainer choices;
  choices.SetLong(host::movieQualityKey, 33);
  const BaseContainer before = choices;
  whenModal([](QWidget& dialog) {
    EXPECT_EQ(dialog.findChild<host::SliderField*>("quality")->value(), 33);
    dynamic_cast<QDialog&>(dialog).reject();
  });
  EXPECT_FALSE(desktop->editMovieOptions(FILTER_MOVIE, choices));
  EXPECT_EQ(choices, before);
}

TEST_F(DialogUi, ChoicesWithoutEffectAreDisabled) {
  for (const LONG format : {FILTER_MOVIE, FILTER_AVI}) {
    host::MovieOptionsDialog dialog(format, {});
    auto* codec = dialog.findChild<QComboBox*>("codec");
    const std::vector<host::MovieCodecInfo> codecs = host::movieCodecs(format);
    dialog.findChild<QCheckBox*>("own-key-distance")->setChecked(true);
    for (int i = 0; i < codec->count(); ++i) {
      codec->setCurrentIndex(i);
      const host::MovieCodecInfo& info = codecs[static_cast<std::size_t>(i)];
      EXPECT_EQ(dialog.findChild<QWidget*>("quality")->isEnabled(), info.quality) << info.name;
      EXPECT_EQ(dialog.findChild<QWidget*>("own-bit-rate")->isEnabled(), info.bitRate) << info.name;
      EXPECT_EQ(dialog.findChild<QWidget*>("key-distance")->isEnabled(), info.keyDistance) << info.name;
      EXPECT_EQ(dialog.findChild<QWidget*>("alpha")->isEnabled(), info.alpha) << info.name;
    }
  }
  EXPECT_FALSE(host::MovieOptionsDialog(1100, {}).findChild<QWidget*>("codec") == nullptr);
}

} // namespace
