// Places of dialogs, file choosers, the launcher of files and addresses, movie options.
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>

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
using host::DialogPlacement;

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

TEST_F(DialogUi, KilledProgramKnowsItsOpenDialogs) {
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

TEST_F(DialogUi, ChooserOffersTheFormatsThatAreReadOrWritten) {
  const auto picturesIn = [&](FILESELECT mode) {
    QString filter;
    whenModal([&](QWidget& modal) {
      auto& chooser = dynamic_cast<QFileDialog&>(modal);
      filter = chooser.nameFilters().value(0);
      chooser.reject();
    });
    const host::FileRequest request{FILESELECTTYPE_IMAGES, mode, "", String(), Filename()};
    Filename chosen;
    EXPECT_FALSE(desktop->selectFile(request, chosen));
    return filter;
  };
  const QString read = picturesIn(FILESELECT_LOAD), written = picturesIn(FILESELECT_SAVE);
  EXPECT_TRUE(read.contains("*.tga") && read.contains("*.gif") && !read.contains("*.b3d"));
  EXPECT_TRUE(written.contains("*.b3d") && written.contains("*.webp") && !written.contains("*.tga"));
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
