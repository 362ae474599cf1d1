// The frame buffer: layers, values of pixels, picking, the live film, files, clipboard.
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMimeData>
#include <QScrollBar>
#include <QTreeWidget>
#include <limits>

#include "c4d_render.h"
#include "film.h"
#include "filmstrip.h"
#include "frame_buffer.h"
#include "frame_probe.h"
#include "layer_choice.h"
#include "layer_rows.h"
#include "layer_table.h"
#include "manager_kit.h"
#include "picture_canvas.h"
#include "picture_saver.h"
#include "picture_source.h"
#include "pixel_panel.h"
#include "plugin_registry.h"
#include "thread_context.h"

using namespace host;

namespace {

class FrameLookingTest : public ManagerTest {
 public:
  FrameLookingTest() {
    frame = std::make_unique<FrameBuffer>(*session);
    frame->resize(1200, 640);
    frame->show();
    frame->activateWindow();
    settle();
  }
  ~FrameLookingTest() override { frame.reset(); }

  /// A film with a depth that grows to the right, object numbers and a colour that is grey.
  static std::shared_ptr<Film> makeFilm(int width = 40, int height = 30) {
    auto film = std::make_shared<Film>(width, height);
    const FilmLayerPtr depth = film->addLayer("depth", "Z"), object = film->addLayer("object_id", "V");
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        const float rgba[4] = {0.5f, 0.5f, 0.5f, 1}, far = static_cast<float>(x),
                    number = x < 20 ? 1.0f : 2.0f;
        film->setColor(x, y, rgba);
        depth->set(film->pixelAt(x, y), &far);
        object->set(film->pixelAt(x, y), &number);
      }
    film->setNote("object_id/names", R"({"1":"body","2":"lost"})");
    return film;
  }
  void showFilm(const std::shared_ptr<Film>& film, const char* name = "film") {
    const SharedBitmap bitmap = makeBitmap(film->width(), film->height());
    setFilm(*bitmap, film);
    session->pictures().open(bitmap, name);
    settle();
  }
  QColor seen(int x, int y) {
    EXPECT_TRUE(waitFor([this] { return !frame->picture().isMaking(); }, 20000));
    return frame->canvas().shownColor({x, y});
  }
  QPoint pointOf(int x, int y) {
    const QRectF place = frame->canvas().pictureRect();
    const double size = frame->canvas().zoom();
    return (place.topLeft() + QPointF((x + 0.5) * size, (y + 0.5) * size)).toPoint();
  }
  QAction* action(const char* name) { return frame->findChild<QAction*>(QLatin1String(name)); }
  QString status(const char* name) { return frame->findChild<QLabel*>(QLatin1String(name))->text(); }

  std::unique_ptr<FrameBuffer> frame;
};

TEST_F(FrameLookingTest, LayersAreChosenInTheListAndByKeys) {
  showFilm(makeFilm());
  LayerChoice& layers = frame->layers();
  EXPECT_EQ(layers.text(), "Picture");
  EXPECT_EQ(seen(39, 5), QColor(188, 188, 188));
  layers.choose("depth");
  EXPECT_EQ(seen(0, 5), QColor(0, 0, 0));
  EXPECT_EQ(seen(39, 5), QColor(255, 255, 255));
  QTest::keyClick(&frame->canvas(), Qt::Key_Right);
  EXPECT_EQ(layers.shown(), "object_id");
  const QColor one = seen(3, 3), two = seen(30, 3);
  EXPECT_NE(one, two);
  QTest::keyClick(&frame->canvas(), Qt::Key_Right);
  EXPECT_EQ(layers.shown(), "") << "round and round";
  QTest::keyClick(&frame->canvas(), Qt::Key_Left);
  EXPECT_EQ(layers.shown(), "object_id");

  // A picture without the layer shows itself; the next one with it shows the layer again.
  const PictureList::Id first = session->pictures().current();
  showFilm(std::make_shared<Film>(40, 30), "plain");
  EXPECT_EQ(layers.shown(), "");
  EXPECT_FALSE(layers.isEnabled());
  EXPECT_EQ(seen(3, 3), QColor(0, 0, 0));
  session->pictures().choose(first);
  settle();
  EXPECT_EQ(seen(3, 3), one);
  keepPicture(*frame, QStringLiteral("frame-layer"));
}

TEST_F(FrameLookingTest, TheLayerLooksLikeAChoice) {
  showFilm(makeFilm());
  const QImage shot = frame->layers().grab().toImage();
  const int right = shot.width() * 7 / 8;
  const QColor ground = shot.pixelColor(shot.width() * 3 / 4, shot.height() / 2);
  int arrow = 0, atLeft = 0;
  for (int y = 4; y < shot.height() - 4; ++y) {
    for (int x = right; x < shot.width() - 4; ++x)
      arrow += std::abs(shot.pixelColor(x, y).lightness() - ground.lightness()) > 60;
    for (int x = 4; x < shot.width() / 3; ++x)
      atLeft += std::abs(shot.pixelColor(x, y).lightness() - ground.lightness()) > 60;
  }
  EXPECT_GT(arrow, 5) << "an arrow at the right";
  EXPECT_GT(atLeft, 20) << "the name at the left";
}

TEST_F(FrameLookingTest, ManyLayersHaveASearch) {
  const std::shared_ptr<Film> film = makeFilm();
  frame->layers().openList();
  showFilm(film);
  frame->layers().openList();
  EXPECT_FALSE(frame->layers().search().isVisible());
  QTest::keyClick(&frame->layers().list(), Qt::Key_Escape);
  for (int i = 0; i < 200; ++i)
    film->addLayer("aov.number" + std::to_string(i), "V");
  showFilm(film, "again");
  frame->layers().openList();
  settle();
  ASSERT_TRUE(frame->layers().search().isVisible());
  QTest::keyClicks(&frame->layers().search(), QStringLiteral("ber19"));
  int visible = 0;
  for (int row = 0; row < frame->layers().list().count(); ++row)
    visible += !frame->layers().list().item(row)->isHidden();
  EXPECT_EQ(visible, 12) << "a heading, 19 and 190 to 199";
  QTest::keyClick(&frame->layers().search(), Qt::Key_Down);
  QTest::keyClick(&frame->layers().search(), Qt::Key_Return);
  EXPECT_EQ(frame->layers().shown(), "aov.number190");
}

TEST_F(FrameLookingTest, FaultsAreMarkedAndCounted) {
  const std::shared_ptr<Film> film = makeFilm();
  const float bad[4] = {std::numeric_limits<float>::quiet_NaN(), 0, 0, 1};
  const float far[4] = {std::numeric_limits<float>::infinity(), 0, 0, 1};
  film->setColor(2, 3, bad);
  film->setColor(4, 3, far);
  film->setColor(5, 3, far);
  showFilm(film);
  EXPECT_EQ(seen(2, 3), QColor(255, 0, 255));
  EXPECT_EQ(seen(5, 3), QColor(0, 255, 255));
  EXPECT_EQ(status("pictureFaults"), "1 NaN, 2 infinite");
  frame->layers().choose("depth");
  seen(2, 3);
  EXPECT_EQ(status("pictureFaults"), "");
}

TEST_F(FrameLookingTest, ThePanelHasTheValuesOfEveryLayer) {
  showFilm(makeFilm());
  PixelPanel& panel = frame->probe().panel();
  EXPECT_FALSE(panel.isVisible());
  QTest::keyClick(&frame->canvas(), Qt::Key_P);
  settle();
  ASSERT_TRUE(panel.isVisible());
  QTest::mouseMove(&frame->canvas(), pointOf(7, 9));
  settle();
  EXPECT_EQ(panel.rowText(""), "0.5  0.5  0.5  1");
  EXPECT_EQ(panel.rowText("depth"), "7");
  EXPECT_EQ(panel.rowText("object_id"), "1  body");
  // Three components of five digits are read whole, in the narrowest panel too.
  const QTreeWidget& tree = panel.tree();
  const int wide = tree.fontMetrics().horizontalAdvance("0.012345  0.012345  0.012345");
  EXPECT_GE(tree.columnWidth(1), wide);
  EXPECT_FALSE(tree.horizontalScrollBar()->isVisible());
  keepPicture(*frame, QStringLiteral("frame-probe"));

  // Shift and drag: the mean of a rectangle.
  QTest::mousePress(&frame->canvas(), Qt::LeftButton, Qt::ShiftModifier, pointOf(10, 4));
  QTest::mouseMove(&frame->canvas(), pointOf(13, 6));
  QTest::mouseRelease(&frame->canvas(), Qt::LeftButton, Qt::ShiftModifier, pointOf(13, 6));
  settle();
  EXPECT_EQ(frame->canvas().marked(), QRect(10, 4, 4, 3));
  EXPECT_EQ(panel.rowText("depth"), "11.5 | 10 | 13");
  for (const int column : {1, 2})
    EXPECT_GE(tree.columnWidth(column), wide);
  keepPicture(*frame, QStringLiteral("frame-average"));
  QTest::keyClick(&frame->canvas(), Qt::Key_Escape);
  EXPECT_TRUE(frame->canvas().marked().isEmpty());
  QTest::mouseMove(&frame->canvas(), pointOf(8, 9));
  settle();
  EXPECT_EQ(panel.rowText("depth"), "8");
}

TEST_F(FrameLookingTest, AClickSelectsTheObjectAndAltItsMaterial) {
  const std::shared_ptr<Film> film = makeFilm();
  film->setNodes("object_id", {id("body"), 12345678});
  const FilmLayerPtr materials = film->addLayer("material_id", "V");
  const float number = 1;
  materials->set(film->pixelAt(5, 5), &number);
  film->setNodes("material_id", {material("blue")});
  showFilm(film);
  QTest::mouseClick(&frame->canvas(), Qt::LeftButton, {}, pointOf(5, 5));
  settle();
  EXPECT_EQ(selected(), std::vector<std::string>{"body"});
  EXPECT_EQ(status("renderProgress"), "Selected the object \"body\".");
  QTest::mouseClick(&frame->canvas(), Qt::LeftButton, Qt::AltModifier, pointOf(5, 5));
  settle();
  for (const MaterialRow& row : materialRows(document()))
    EXPECT_EQ(row.selected, row.name == "blue") << row.name.GetUTF8();
  QTest::mouseClick(&frame->canvas(), Qt::LeftButton, {}, pointOf(30, 5));
  settle();
  EXPECT_EQ(selected(), std::vector<std::string>{"body"}) << "the other one is not in this scene";
  EXPECT_TRUE(status("renderProgress").contains(QStringLiteral("no longer open")));
  // A drag moves the picture and selects nothing.
  select({id("arm")});
  const QPointF before = frame->canvas().origin();
  QTest::mousePress(&frame->canvas(), Qt::LeftButton, {}, pointOf(5, 5));
  QTest::mouseMove(&frame->canvas(), pointOf(5, 5) + QPoint(40, 30));
  QTest::mouseRelease(&frame->canvas(), Qt::LeftButton, {}, pointOf(5, 5) + QPoint(1, 1));
  settle();
  EXPECT_EQ(selected(), std::vector<std::string>{"arm"});
  EXPECT_EQ(frame->canvas().origin(), before + QPointF(40, 30));
}

// Qt tells of a press that soon follows another at the same place as of a double click.
TEST_F(FrameLookingTest, BothClicksOfADoubleClickPick) {
  const std::shared_ptr<Film> film = makeFilm();
  film->setNodes("object_id", {id("body"), 12345678});
  const FilmLayerPtr materials = film->addLayer("material_id", "V");
  const float number = 1;
  materials->set(film->pixelAt(5, 5), &number);
  film->setNodes("material_id", {material("blue")});
  showFilm(film);
  PictureCanvas& canvas = frame->canvas();
  std::vector<QPoint> clicked;
  QObject::connect(&canvas, &PictureCanvas::clicked, &canvas,
                   [&](const QPoint& pixel) { clicked.push_back(pixel); });
  const double fitting = canvas.zoom();
  const QPointF at = pointOf(5, 5);
  const auto pressAgain = [&](Qt::KeyboardModifiers keys) {
    QMouseEvent press(QEvent::MouseButtonDblClick, at, canvas.mapToGlobal(at), Qt::LeftButton, Qt::LeftButton,
                      keys);
    QApplication::sendEvent(&canvas, &press);
  };
  const auto release = [&](Qt::KeyboardModifiers keys) {
    QTest::mouseRelease(&canvas, Qt::LeftButton, keys, at.toPoint());
    settle();
  };
  QTest::mouseClick(&canvas, Qt::LeftButton, {}, at.toPoint());
  pressAgain(Qt::AltModifier);
  release(Qt::AltModifier);
  for (const MaterialRow& row : materialRows(document()))
    EXPECT_EQ(row.selected, row.name == "blue") << row.name.GetUTF8();
  EXPECT_EQ(canvas.zoom(), fitting) << "a click with a key does not zoom";

  clicked.clear();
  select({id("arm")});
  QTest::mouseClick(&canvas, Qt::LeftButton, {}, at.toPoint());
  pressAgain({});
  EXPECT_EQ(canvas.zoom(), fitting) << "until the release";
  release({});
  EXPECT_EQ(clicked, (std::vector<QPoint>{{5, 5}, {5, 5}}));
  EXPECT_EQ(selected(), std::vector<std::string>{"body"});
  EXPECT_EQ(canvas.zoom(), 1);
  EXPECT_EQ(canvas.pixelAt(at), QPoint(5, 5));
  pressAgain({});
  release({});
  EXPECT_TRUE(canvas.isFitted());
}

TEST_F(FrameLookingTest, PickFocusSetsTheCameraOfThePicture) {
  session->edits().apply("Camera", [](BaseDocument& d) {
    auto mesh = std::make_shared<Mesh>();
    mesh->positions = {{-2, -2, 0}, {2, -2, 0}, {0, 2, 0}};
    mesh->triangles = {{0, 1, 2}};
    mesh->groups = {{0, 1}};
    mesh->low = {-2, -2, 0}, mesh->high = {2, 2, 0};
    stateOf(d.SearchObject("body"))->mesh = mesh;
    newObject(d, Osky);
    d.GetRenderBaseDraw()->SetSceneCamera(d.SearchObject("camera"));
    setRenderValue(d, RDATA_XRES, GeData(LONG(40)));
    setRenderValue(d, RDATA_YRES, GeData(LONG(30)));
    setRenderValue(d, RDATA_MAXSAMPLES, GeData(LONG(4)));
  });
  ASSERT_TRUE(session->renders().renderPicture());
  session->renders().finish();
  settle();
  const std::shared_ptr<Film> film = filmOf(*frame->picture().bitmap());
  ASSERT_TRUE(film);
  QPoint solid(-1, -1);
  for (int i = 0; i < 40 * 30; ++i) {
    float rgba[4];
    film->getColor(i % 40, i / 40, rgba);
    if (rgba[3] > 0.999f) solid = {i % 40, i / 40};
  }
  ASSERT_GE(solid.x(), 0) << film->width() << " x " << film->height();
  const auto focus = [this] {
    GeData value;
    document().SearchObject("camera")->GetParameter(param::cameraFocusDistance, value);
    return value.GetReal();
  };
  const Real before = focus();
  const std::vector<std::string> chosen = selected();
  QTest::keyClick(&frame->canvas(), Qt::Key_F);
  EXPECT_TRUE(action("focus")->isChecked());
  EXPECT_EQ(frame->canvas().cursor().shape(), Qt::CrossCursor);
  QTest::mouseClick(&frame->canvas(), Qt::LeftButton, {}, pointOf(0, 0));
  settle();
  EXPECT_TRUE(action("focus")->isChecked()) << "the sky is no aim: another try";
  EXPECT_EQ(frame->canvas().cursor().shape(), Qt::CrossCursor);
  EXPECT_EQ(focus(), before);
  QTest::mouseClick(&frame->canvas(), Qt::LeftButton, {}, pointOf(solid.x(), solid.y()));
  settle();
  EXPECT_FALSE(action("focus")->isChecked());
  EXPECT_EQ(frame->canvas().cursor().shape(), Qt::ArrowCursor);
  EXPECT_NE(focus(), before);
  EXPECT_GT(focus(), 0.1);
  EXPECT_EQ(selected(), chosen) << "the click selects nothing";
  session->edits().undo();
  EXPECT_EQ(focus(), before) << "one step";
}

TEST_F(FrameLookingTest, MoreSamplesGoOnWithThePicture) {
  EXPECT_FALSE(action("more-samples")->isEnabled());
  showFilm(makeFilm());
  EXPECT_FALSE(action("more-samples")->isEnabled()) << "of a file";
  session->edits().apply("Size", [](BaseDocument& d) {
    setRenderValue(d, RDATA_XRES, GeData(LONG(40)));
    setRenderValue(d, RDATA_YRES, GeData(LONG(30)));
    setRenderValue(d, RDATA_MAXSAMPLES, GeData(LONG(2)));
  });
  ASSERT_TRUE(session->renders().renderPicture());
  EXPECT_FALSE(action("more-samples")->isEnabled()) << "it is not finished";
  session->renders().finish();
  settle();
  EXPECT_TRUE(action("more-samples")->isEnabled());
  const SharedBitmap first = frame->picture().bitmap();
  QTest::keyClick(&frame->canvas(), Qt::Key_M, Qt::ShiftModifier);
  session->renders().finish();
  settle();
  EXPECT_NE(frame->picture().bitmap(), first);
  const PictureOrigin origin = filmOf(*frame->picture().bitmap())->origin();
  EXPECT_NE(std::find(origin.begin(), origin.end(), std::pair<std::string, std::string>("Samples", "4")),
            origin.end());
}

TEST_F(FrameLookingTest, TheViewersFilmIsLiveAndCleanOfStamps) {
  PluginUnit unit;
  const SharedBitmap viewer = makeBitmap(40, 30);
  {
    const ContextScope scope({nullptr, &unit, nullptr});
    BaseContainer settings = document().GetActiveRenderData()->GetData();
    settings.SetLong(RDATA_MAXSAMPLES, 1);
    ASSERT_EQ(
        RenderDocument(&document(), settings, nullptr, nullptr, viewer.get(), RENDERFLAGS_EXTERNAL, nullptr),
        RENDERRESULT_OK);
  }
  settle();
  FilmstripModel& rows = frame->list().model();
  ASSERT_EQ(rows.rowCount(), 2) << "the viewer's film, and the render that is kept";
  EXPECT_EQ(rows.data(rows.index(0), Qt::EditRole).toString(), QStringLiteral("Viewer"));
  EXPECT_TRUE(frame->windowTitle().contains(QStringLiteral("Viewer")));
  const QColor clean = seen(11, 11);
  viewer->Clear(1, 2, 3); // a banner over all
  frame->picture().refresh();
  EXPECT_EQ(seen(11, 11), clean);
  viewer->Init(80, 60, 24); // the viewer was resized
  frame->picture().refresh();
  EXPECT_EQ(seen(11, 11), clean);
  EXPECT_EQ(frame->picture().size(), QSize(40, 30));
}

TEST_F(FrameLookingTest, TheGridShowsPixelsWhenLarge) {
  showFilm(makeFilm());
  PictureCanvas& canvas = frame->canvas();
  canvas.setZoom(PictureCanvas::gridZoom);
  const auto colours = [&] {
    const QImage shot = canvas.grab().toImage();
    QSet<QRgb> found;
    for (int x = shot.width() / 2 - 40; x < shot.width() / 2 + 40; ++x)
      found.insert(shot.pixel(x, shot.height() / 2 + 5));
    return found.size();
  };
  EXPECT_GT(colours(), 1);
  keepPicture(*frame, QStringLiteral("frame-grid"));
  action("pixel-grid")->trigger();
  EXPECT_EQ(colours(), 1);
  action("pixel-grid")->trigger();
  canvas.setZoom(PictureCanvas::gridZoom / 2);
  EXPECT_EQ(colours(), 1) << "not when pixels are small";
}

TEST_F(FrameLookingTest, TheClipboardGetsWhatIsOnScreen) {
  showFilm(makeFilm());
  frame->layers().choose("depth");
  seen(0, 0);
  action("copy")->trigger();
  const QImage copied = QGuiApplication::clipboard()->image();
  ASSERT_EQ(copied.size(), QSize(40, 30));
  EXPECT_EQ(copied.pixelColor(39, 5), QColor(255, 255, 255));
  EXPECT_EQ(copied.pixelColor(0, 5), QColor(0, 0, 0));
}

TEST_F(FrameLookingTest, FilesAreDroppedIn) {
  const SharedBitmap bitmap = makeBitmap(40, 30);
  setFilm(*bitmap, makeFilm());
  ASSERT_TRUE(savePicture(*bitmap, folder / "dropped.exr", nullptr));
  QMimeData data;
  data.setUrls({QUrl::fromLocalFile(toQt(folder / "dropped.exr"))});
  QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(frame.get(), &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(frame.get(), &drop);
  ASSERT_TRUE(waitFor([&] { return frame->list().model().rowCount() == 1; }, 20000));
  settle();
  frame->layers().choose("depth");
  EXPECT_EQ(seen(39, 5), QColor(255, 255, 255));
  QString shown;
  whenModal([&](QWidget& box) {
    for (const QLabel* label : box.findChildren<QLabel*>())
      shown += label->text();
    box.close();
  });
  frame->openPictures({QStringLiteral("/no/such/picture.exr")});
  EXPECT_TRUE(waitFor([&] { return !shown.isEmpty(); }));
  EXPECT_TRUE(shown.contains(QStringLiteral("picture.exr"))) << shown.toStdString();
}

} // namespace
