// The frame buffer: list, values, saving, a render that runs.
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressBar>
#include <QTimer>
#include <QToolButton>

#include "c4d_render.h"
#include "film.h"
#include "filmstrip.h"
#include "frame_buffer.h"
#include "frame_commands.h"
#include "manager_kit.h"
#include "picture_canvas.h"
#include "picture_source.h"

using namespace host;

namespace {

class FrameBufferTest : public ManagerTest {
 public:
  FrameBufferTest() {
    frame = std::make_unique<FrameBuffer>(*session);
    frame->resize(900, 600);
    frame->show();
    frame->activateWindow();
    settle();
  }
  ~FrameBufferTest() override { frame.reset(); }

  std::unique_ptr<FrameBuffer> frame;

  static SharedBitmap picture(int width, int height, int red) {
    SharedBitmap bitmap = makeBitmap(width, height);
    bitmap->Clear(red, 20, 30);
    return bitmap;
  }
  int rows() { return frame->list().model().rowCount(); }
  QString row(int index) {
    return frame->list().model().data(frame->list().model().index(index), Qt::DisplayRole).toString();
  }
  QString label(const char* name) { return frame->findChild<QLabel*>(QLatin1String(name))->text(); }
  void chooseRow(int index) {
    frame->list().list().selectionModel()->setCurrentIndex(frame->list().model().index(index),
                                                           QItemSelectionModel::ClearAndSelect);
  }
  void hover(int x, int y) {
    const QRectF place = frame->canvas().pictureRect();
    const double size = frame->canvas().zoom();
    QTest::mouseMove(&frame->canvas(),
                     (place.topLeft() + QPointF((x + 0.5) * size, (y + 0.5) * size)).toPoint());
    settle();
  }
};

TEST_F(FrameBufferTest, TheListFollowsTheSession) {
  EXPECT_EQ(rows(), 0);
  keepPicture(*frame, QStringLiteral("pictures-empty"));
  session->pictures().show(*picture(40, 30, 1), "one");
  session->pictures().show(*picture(80, 20, 2), "two");
  ASSERT_EQ(rows(), 2);
  EXPECT_TRUE(row(0).startsWith(QStringLiteral("two\n80 x 20\n"))) << "newest first";
  EXPECT_EQ(frame->list().list().currentIndex().row(), 0);
  EXPECT_EQ(frame->picture().bitmap()->GetBw(), 80);
  chooseRow(1);
  EXPECT_EQ(frame->picture().bitmap()->GetBw(), 40);
  EXPECT_EQ(session->pictures().current(), session->pictures().pictures()[0].id);
  EXPECT_TRUE(frame->windowTitle().contains(QStringLiteral("one")));
  frame->removeCurrent();
  ASSERT_EQ(rows(), 1);
  EXPECT_EQ(frame->picture().bitmap()->GetBw(), 80);
  frame->removeCurrent();
  EXPECT_FALSE(frame->picture().bitmap());
}

// Shift is still held when a render that Shift+R began comes into the list.
TEST_F(FrameBufferTest, AHeldKeyDoesNotExtendTheChoice) {
  session->pictures().show(*picture(40, 30, 1), "one");
  for (const auto& [key, modifier] :
       {std::pair(Qt::Key_Shift, Qt::ShiftModifier), std::pair(Qt::Key_Control, Qt::ControlModifier)}) {
    QTest::keyPress(&frame->canvas(), key, modifier);
    ASSERT_EQ(QGuiApplication::keyboardModifiers(), Qt::KeyboardModifiers(modifier));
    session->pictures().show(*picture(80, 20, 2), "two");
    const QItemSelectionModel& selection = *frame->list().list().selectionModel();
    ASSERT_EQ(selection.selectedIndexes().size(), 1);
    EXPECT_EQ(selection.currentIndex().row(), 0);
    EXPECT_TRUE(selection.isSelected(frame->list().model().index(0)));
    QTest::keyRelease(&frame->canvas(), key);
    frame->removeCurrent();
    EXPECT_EQ(rows(), 1);
  }
}

TEST_F(FrameBufferTest, KeysReachThePictureWhenItOpens) {
  frame->list().search().setFocus();
  frame->present();
  settle();
  EXPECT_EQ(frame->focusWidget(), &frame->canvas());
  QTest::keyClick(frame.get(), Qt::Key_F, Qt::ControlModifier);
  EXPECT_EQ(frame->focusWidget(), &frame->list().search());
}

TEST_F(FrameBufferTest, ANewSceneShowsNoPictureOfTheOldOne) {
  session->pictures().show(*picture(40, 30, 200), "old.glb");
  settle();
  ASSERT_NE(frame->picture().bitmap(), nullptr);
  session->hub().replace(scene(), Replacement::reloaded);
  settle();
  EXPECT_NE(frame->picture().bitmap(), nullptr) << "the same scene";
  for (const Replacement why : {Replacement::opened, Replacement::created}) {
    session->hub().replace(scene(), why);
    settle();
    EXPECT_EQ(frame->picture().bitmap(), nullptr);
    EXPECT_EQ(frame->windowTitle(), "Frame Buffer");
    EXPECT_EQ(frame->list().list().currentIndex().row(), -1);
    ASSERT_EQ(rows(), 1) << "it stays listed, with its scene's name";
    EXPECT_TRUE(row(0).startsWith("old.glb"));
    chooseRow(0);
    settle();
    EXPECT_NE(frame->picture().bitmap(), nullptr) << "and can be looked at";
  }
  session->hub().replace(scene(), Replacement::opened);
  session->pictures().show(*picture(40, 30, 90), "new.glb");
  settle();
  EXPECT_EQ(frame->windowTitle(), "new.glb - Frame Buffer");
}

TEST_F(FrameBufferTest, ValuesUnderThePointer) {
  const SharedBitmap bitmap = picture(40, 30, 1);
  bitmap->SetPixel(7, 9, 255, 128, 3);
  session->pictures().show(*bitmap, "plain");
  settle();
  hover(7, 9);
  EXPECT_EQ(label("pixelPlace").simplified(), QStringLiteral("x 7 y 9"));
  EXPECT_EQ(label("pixelValues").simplified(), QStringLiteral("R 255 G 128 B 3"));
  EXPECT_EQ(label("pixelFloats"), QString()) << "no film";

  auto film = std::make_shared<Film>(40, 30);
  const float light[4] = {1.5f, 0.25f, 0.125f, 1};
  film->setColor(2, 3, light);
  setFilm(*bitmap, film);
  session->pictures().show(*bitmap, "rendered");
  settle();
  hover(2, 3);
  EXPECT_EQ(label("pixelFloats").simplified(), QStringLiteral("1.5000 0.2500 0.1250"));
}

TEST_F(FrameBufferTest, SavesEveryKind) {
  session->pictures().show(*picture(16, 8, 200), "one");
  for (const char* suffix : {"png", "tif", "jpg", "exr"}) {
    const Filename file = folder / (std::string("saved.") + suffix).c_str();
    frame->save(file);
    EXPECT_TRUE(waitFor([&] { return label("renderProgress") == "Saved " + toQt(file.GetFileString()); }));
    const SharedBitmap read(BaseBitmap::Alloc(), BitmapDeleter());
    ASSERT_EQ(read->Init(file), IMAGERESULT_OK) << suffix;
    EXPECT_EQ(read->GetBw(), 16);
    UWORD r = 0, g = 0, b = 0;
    read->GetPixel(5, 5, &r, &g, &b);
    EXPECT_NEAR(r, 200, 2) << suffix;
    EXPECT_NEAR(g, 20, 3) << suffix;
  }
}

TEST_F(FrameBufferTest, AFailedSaveIsOneBox) {
  session->pictures().show(*picture(16, 8, 200), "one");
  for (const char* name : {"saved.xyz", "no such folder/saved.png"}) {
    QString shown;
    whenModal([&](QWidget& window) {
      for (const QLabel* part : window.findChildren<QLabel*>())
        shown += part->text() + QLatin1Char(' ');
      QTest::keyClick(&window, Qt::Key_Escape);
    });
    frame->save(folder / name);
    EXPECT_TRUE(waitFor([&] { return !shown.isEmpty(); })) << name;
    EXPECT_TRUE(shown.contains(QString::fromUtf8(name).section('/', -1))) << shown.toStdString();
    EXPECT_TRUE(waitFor([&] { return !QApplication::activeModalWidget(); }));
    EXPECT_FALSE(session->pictureSaver().isBusy());
  }
}

TEST_F(FrameBufferTest, ALongSaveShowsABarAndTheWindowGoesOn) {
  const SharedBitmap large = makeBitmap(3200, 2400);
  std::uint32_t state = 1;
  for (LONG y = 0; y < 2400; ++y)
    for (LONG x = 0; x < 3200; ++x) {
      state = state * 1664525 + 1013904223;
      large->SetPixel(x, y, static_cast<LONG>(state >> 24), static_cast<LONG>(state >> 16 & 255), 7);
    }
  session->pictures().show(*large, "large");
  settle();
  auto* bar = frame->findChild<QProgressBar*>();
  int beats = 0;
  QTimer heart;
  QObject::connect(&heart, &QTimer::timeout, [&] { ++beats; });
  heart.start(10);
  frame->save(folder / "large.png");
  EXPECT_FALSE(bar->isVisible()) << "not at once";
  bool barSeen = false;
  ASSERT_TRUE(waitFor(
      [&] {
        barSeen = barSeen || (bar->isVisible() && label("renderProgress") == "Saving large.png");
        return !session->pictureSaver().isBusy();
      },
      60000));
  EXPECT_TRUE(barSeen);
  EXPECT_GT(beats, 10) << "events went on meanwhile";
  EXPECT_FALSE(bar->isVisible());
  EXPECT_EQ(label("renderProgress"), QStringLiteral("Saved large.png"));
}

TEST_F(FrameBufferTest, SaveAsAsksForAFile) {
  session->pictures().show(*picture(16, 8, 200), "a/b: c");
  QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  const QString target = toQt(folder / "chosen.png");
  whenModal([&](QWidget& window) {
    auto& chooser = dynamic_cast<QFileDialog&>(window);
    EXPECT_EQ(chooser.nameFilters().size(), 5);
    EXPECT_TRUE(chooser.selectedFiles().value(0).endsWith(QStringLiteral("a_b_ c.png")))
        << chooser.selectedFiles().value(0).toStdString();
    chooser.selectFile(target);
    QMetaObject::invokeMethod(&chooser, "accept");
  });
  frame->saveAs();
  EXPECT_TRUE(waitFor([&] { return QFile::exists(target); }));
}

TEST_F(FrameBufferTest, TheProposedNameIsNotTheScenes) {
  session->pictures().show(*picture(16, 8, 200), "room.v2.glb");
  session->pictures().show(*picture(16, 8, 200), "room.v2.glb");
  QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  QString proposed;
  whenModal([&](QWidget& window) {
    proposed = QFileInfo(dynamic_cast<QFileDialog&>(window).selectedFiles().value(0)).fileName();
    QMetaObject::invokeMethod(&window, "reject");
  });
  frame->saveAs();
  EXPECT_EQ(proposed, QStringLiteral("room_v2 2.png"));
}

TEST_F(FrameBufferTest, FollowsARenderAndStopsIt) {
  edits().apply("Settings", [](BaseDocument& in) {
    setRenderValue(in, RDATA_XRES, GeData(LONG{160}));
    setRenderValue(in, RDATA_YRES, GeData(LONG{120}));
    setRenderValue(in, RDATA_MAXSAMPLES, GeData(LONG{1 << 20}));
    setRenderValue(in, RDATA_NOISETHRESHOLD, GeData(0.0));
  });
  auto* stop = frame->findChild<QToolButton*>(QStringLiteral("renderStop"));
  EXPECT_FALSE(stop->isVisible());
  ASSERT_TRUE(session->renders().renderPicture()) << session->renders().state().error;
  ASSERT_TRUE(waitFor([&] { return rows() == 1 && stop->isVisible(); }, 20000));
  EXPECT_EQ(frame->picture().bitmap(), session->renders().state().bitmap);
  EXPECT_TRUE(row(0).contains(QStringLiteral("rendering")));
  EXPECT_TRUE(waitFor([&] { return !label("renderProgress").isEmpty(); }, 5000));
  keepPicture(*frame, QStringLiteral("pictures-rendering"));
  stop->click();
  ASSERT_TRUE(waitFor([&] { return !session->renders().isRunning() && !stop->isVisible(); }, 10000));
  EXPECT_FALSE(row(0).contains(QStringLiteral("rendering")));
  EXPECT_EQ(rows(), 1);
}

TEST_F(FrameBufferTest, FullScreenIsThePictureAlone) {
  session->pictures().show(*picture(40, 30, 1), "one");
  settle();
  QTest::keyClick(frame.get(), Qt::Key_F11);
  settle();
  EXPECT_TRUE(frame->isFullScreen());
  EXPECT_FALSE(frame->list().isVisible());
  QTest::keyClick(frame.get(), Qt::Key_Escape);
  settle();
  EXPECT_FALSE(frame->isFullScreen());
  EXPECT_TRUE(frame->list().isVisible());
}

TEST_F(FrameBufferTest, AKeyClosesIt) {
  ASSERT_TRUE(frame->isVisible());
  QTest::keyClick(frame.get(), Qt::Key_W, Qt::ControlModifier);
  EXPECT_FALSE(frame->isVisible());
}

TEST_F(FrameBufferTest, AKeyShowsTheNoisyAndTheDenoisedPicture) {
  auto* action = frame->findChild<QAction*>(QStringLiteral("denoise"));
  ASSERT_NE(action, nullptr);
  session->pictures().show(*picture(40, 30, 1), "plain");
  settle();
  EXPECT_FALSE(action->isEnabled());

  const SharedBitmap bitmap = makeBitmap(40, 30);
  const auto film = std::make_shared<Film>(40, 30);
  const FilmLayerPtr clean = film->addLayer(film_layers::denoised, "RGB");
  const float noisy[4] = {1, 1, 1, 1}, dark[3] = {0, 0, 0};
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 40; ++x) {
      film->setColor(x, y, noisy);
      clean->set(film->pixelAt(x, y), dark);
      bitmap->SetPixel(x, y, 0, 0, 0);
    }
  setFilm(*bitmap, film);
  session->pictures().show(*bitmap, "denoised");
  settle();
  EXPECT_TRUE(action->isEnabled());
  EXPECT_TRUE(action->isChecked());
  const auto red = [&] {
    UWORD r, g, b;
    frame->picture().bitmap()->GetPixel(7, 8, &r, &g, &b);
    return r;
  };
  EXPECT_EQ(red(), 0);
  QTest::keyClick(frame.get(), Qt::Key_D);
  EXPECT_EQ(red(), 255);
  EXPECT_FALSE(action->isChecked());
  QTest::keyClick(frame.get(), Qt::Key_D);
  EXPECT_EQ(red(), 0);
  EXPECT_TRUE(action->isChecked());
}

TEST_F(FrameBufferTest, KeysZoom) {
  session->pictures().show(*picture(40, 30, 1), "one");
  settle();
  QTest::keyClick(frame.get(), Qt::Key_1);
  EXPECT_EQ(frame->canvas().zoom(), 1);
  QTest::keyClick(frame.get(), Qt::Key_Plus);
  EXPECT_EQ(frame->canvas().zoom(), 2);
  QTest::keyClick(frame.get(), Qt::Key_Minus);
  QTest::keyClick(frame.get(), Qt::Key_Minus);
  EXPECT_EQ(frame->canvas().zoom(), 0.5);
  EXPECT_EQ(frame->findChild<QToolButton*>(QStringLiteral("zoomButton"))->text(), QStringLiteral("50 %"));
  QTest::keyClick(frame.get(), Qt::Key_H);
  EXPECT_TRUE(frame->canvas().isFitted());
}

TEST_F(FrameBufferTest, EveryActionIsInAMenuAndItsTipSaysTheKey) {
  QSet<const QAction*> listed;
  for (const QAction* menu : frame->menuBar()->actions()) {
    EXPECT_EQ(menu->isVisible(), !menu->menu()->isEmpty()) << menu->text().toStdString();
    for (const QAction* action : menu->menu()->actions())
      listed.insert(action);
  }
  QSet<QString> keys;
  for (const QAction* action : frame->actions()) {
    EXPECT_TRUE(listed.contains(action)) << action->text().toStdString();
    for (const QKeySequence& key : action->shortcuts()) {
      EXPECT_FALSE(keys.contains(key.toString())) << key.toString().toStdString() << " twice";
      keys.insert(key.toString());
    }
    if (action->shortcuts().isEmpty()) continue;
    const QString key = action->shortcuts().first().toString(QKeySequence::NativeText);
    EXPECT_TRUE(action->toolTip().endsWith(QStringLiteral("(%1)").arg(key)))
        << action->toolTip().toStdString();
  }
}

TEST_F(FrameBufferTest, PanelsDockAtTheRightAndHaveAKey) {
  auto* panel = new QLabel(QStringLiteral("panel"));
  const QAction* toggle =
      frame->addPanel(panel, "test", QStringLiteral("Test Panel"), QKeySequence(Qt::Key_F9));
  settle();
  EXPECT_FALSE(panel->isVisible());
  QTest::keyClick(frame.get(), Qt::Key_F9);
  settle();
  ASSERT_TRUE(panel->isVisible());
  EXPECT_TRUE(toggle->isChecked());
  EXPECT_TRUE(frame->commands().menu(FrameMenu::panels).actions().contains(toggle));
  EXPECT_GE(panel->mapTo(frame.get(), QPoint()).x(),
            frame->canvas().mapTo(frame.get(), QPoint(frame->canvas().width(), 0)).x());
  frame->setFullScreen(true);
  settle();
  EXPECT_FALSE(panel->isVisible());
  EXPECT_FALSE(frame->menuBar()->isVisible());
  frame->setFullScreen(false);
  settle();
  EXPECT_TRUE(panel->isVisible());
  QTest::keyClick(frame.get(), Qt::Key_F9);
  settle();
  EXPECT_FALSE(panel->isVisible());
  frame->setFullScreen(true);
  frame->setFullScreen(false);
  settle();
  EXPECT_FALSE(panel->isVisible()) << "hidden before the full screen";
}

TEST_F(FrameBufferTest, Looks) {
  const SharedBitmap bitmap = makeBitmap(320, 180);
  for (int y = 0; y < 180; ++y)
    for (int x = 0; x < 320; ++x)
      bitmap->SetPixel(x, y, x * 255 / 320, y * 255 / 180, 90);
  session->pictures().show(*bitmap, "Lumenara");
  session->pictures().show(*picture(640, 480, 130), "Render 1");
  session->pictures().choose(session->pictures().pictures()[0].id);
  settle();
  hover(160, 90);
  keepPicture(*frame, QStringLiteral("pictures"));
  const QRect entry = frame->list().list().visualRect(frame->list().model().index(1));
  EXPECT_TRUE(frame->list().list().viewport()->rect().contains(entry)) << "nothing is cut off";
  EXPECT_GT(frame->canvas().width(), 2 * frame->list().width()) << "the picture has most of the room";
}

} // namespace
