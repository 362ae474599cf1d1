// Pictures compared in the frame buffer.
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QMimeData>
#include <QRegularExpression>

#include "compare_panel.h"
#include "film.h"
#include "frame_buffer.h"
#include "manager_kit.h"
#include "number_field.h"
#include "picture_canvas.h"
#include "picture_source.h"

using namespace host;

namespace {

const QColor red(200, 20, 30), blue(10, 20, 250);

class ComparePanelTest : public ManagerTest {
 public:
  ComparePanelTest() {
    frame = std::make_unique<FrameBuffer>(*session);
    panel = new ComparePanel(*session, *frame);
    frame->addPanel(panel, "compare", QStringLiteral("Compare"))->trigger();
    frame->resize(1000, 700);
    frame->show();
    a = add(red, 160, 120, "red");
    b = add(blue, 160, 120, "blue");
    panel->use(0, a);
    panel->use(1, b);
    panel->setOn(true);
    settle();
  }
  ~ComparePanelTest() override { frame.reset(); }

  PictureList::Id add(const QColor& color, int width, int height, const char* name) {
    const SharedBitmap bitmap = makeBitmap(width, height);
    bitmap->Clear(color.red(), color.green(), color.blue());
    return session->pictures().show(*bitmap, name);
  }
  QColor at(int x, int y) { return frame->canvas().shownColor({x, y}); }
  QColor onScreen(double x, double y) {
    const QRectF place = frame->canvas().pictureRect();
    return frame->canvas().grab().toImage().pixelColor(
        (place.topLeft() + QPointF(x * place.width(), y * place.height())).toPoint());
  }
  void dragLine(QPointF from, QPointF to, Qt::KeyboardModifiers keys = Qt::NoModifier) {
    QWidget& canvas = frame->canvas();
    const QRectF place = frame->canvas().pictureRect();
    const auto point = [&](QPointF at) {
      return place.topLeft() + QPointF(at.x() * place.width(), at.y() * place.height());
    };
    const auto send = [&](QEvent::Type type, QPointF at, Qt::MouseButtons held) {
      QMouseEvent event(type, point(at), canvas.mapToGlobal(point(at)), Qt::LeftButton, held, keys);
      QApplication::sendEvent(&canvas, &event);
    };
    send(QEvent::MouseButtonPress, from, Qt::LeftButton);
    send(QEvent::MouseMove, to, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, to, Qt::NoButton);
    settle();
  }

  std::unique_ptr<FrameBuffer> frame;
  ComparePanel* panel = nullptr;
  PictureList::Id a = 0, b = 0;
};

} // namespace

TEST_F(ComparePanelTest, TheLineIsDraggedAndTurned) {
  EXPECT_EQ(at(79, 60), red);
  EXPECT_EQ(at(80, 60), blue);
  EXPECT_EQ(onScreen(0.25, 0.5), red);
  EXPECT_EQ(onScreen(0.75, 0.5), blue);
  dragLine({0.5, 0.5}, {0.25, 0.5});
  EXPECT_EQ(at(38, 60), red);
  EXPECT_EQ(at(42, 60), blue);
  EXPECT_EQ(onScreen(0.35, 0.5), blue);
  EXPECT_EQ(onScreen(0.15, 0.5), red);
  dragLine({0.25, 0.5}, {0.5, 0.5});
  dragLine({0.5, 0.5}, {0.9, 0.5}, Qt::ShiftModifier);
  EXPECT_NEAR(std::abs(panel->source().line().angle), 90, 0.5) << "the line goes through the pointer";
  EXPECT_NE(at(80, 10), at(80, 110));
  EXPECT_EQ(at(10, 10), at(150, 10));
  keepPicture(*frame, QStringLiteral("compare-wipe"));
  dragLine({0.9, 0.5}, {0.87, 0.71}, Qt::ShiftModifier);
  const QString angle = panel->findChild<SliderField*>(QStringLiteral("compareAngle"))->field().text();
  EXPECT_TRUE(QRegularExpression("^-?\\d+(\\.\\d)?\u00b0$").match(angle).hasMatch()) << angle.toStdString();
  const QPointF place = frame->canvas().origin();
  dragLine({0.2, 0.1}, {0.3, 0.2});
  EXPECT_NE(frame->canvas().origin(), place) << "elsewhere the picture is moved";
}

TEST_F(ComparePanelTest, ToggleAndBlinkChangeBetweenBoth) {
  panel->setMode(CompareMode::toggle);
  EXPECT_EQ(at(10, 10), red);
  panel->toggle();
  EXPECT_EQ(at(10, 10), blue);
  EXPECT_EQ(onScreen(0.3, 0.3), blue);
  panel->toggle();
  EXPECT_EQ(onScreen(0.3, 0.3), red);
  frame->findChild<QCheckBox*>("compareBlink")->setChecked(true);
  EXPECT_TRUE(waitFor([&] { return at(10, 10) == blue; }));
  EXPECT_TRUE(waitFor([&] { return at(10, 10) == red; }));
}

TEST_F(ComparePanelTest, DifferencesAndMetrics) {
  panel->setMode(CompareMode::difference);
  EXPECT_EQ(at(10, 10), QColor(190, 0, 220));
  emit frame->findChild<SliderField*>("compareGain")->valueChanged(1.25);
  EXPECT_EQ(at(10, 10), QColor(238, 0, 255));
  ASSERT_TRUE(waitFor([&] { return !panel->isMeasuring(); }));
  const QString values = frame->findChild<QLabel*>("compareValues")->text();
  // Of display values: the root of (190^2 + 220^2) / 3 in parts of 255.
  EXPECT_TRUE(values.contains(QStringLiteral("RMSE  0.6582"))) << values.toStdString();
  panel->setMode(CompareMode::heat);
  EXPECT_NE(at(10, 10), red);
  keepPicture(*frame, QStringLiteral("compare-heat"));
  panel->use(1, a);
  ASSERT_TRUE(waitFor([&] { return !panel->isMeasuring(); }));
  EXPECT_EQ(at(10, 10), QColor(0, 0, 0)) << "no error";
}

TEST_F(ComparePanelTest, FourSideBySide) {
  panel->setMode(CompareMode::sideBySide);
  EXPECT_EQ(panel->source().size(), QSize(328, 120));
  EXPECT_EQ(at(10, 10), red);
  EXPECT_EQ(at(170, 10), blue);
  panel->use(2, b);
  panel->use(3, a);
  EXPECT_EQ(panel->source().size(), QSize(328, 248));
  EXPECT_EQ(at(10, 130), blue);
  EXPECT_EQ(at(170, 130), red);
  keepPicture(*frame, QStringLiteral("compare-grid"));
}

TEST_F(ComparePanelTest, OtherSizesAreFittedAndSaid) {
  const PictureList::Id small = add(blue, 40, 30, "small");
  panel->use(1, small);
  ASSERT_TRUE(waitFor([&] { return !panel->source().isFitting(); }));
  EXPECT_EQ(panel->source().image(1).size(), QSize(160, 120));
  EXPECT_EQ(at(150, 100), blue);
  EXPECT_EQ(frame->findChild<QLabel*>("compareNote")->text(),
            "B has 40 x 30 pixels and is fitted into A's 160 x 120.");
  panel->use(1, b);
  EXPECT_TRUE(frame->findChild<QLabel*>("compareNote")->text().isEmpty());
}

// The image before stays while the next one is fitted, and the pixels are those of the fitting itself.
TEST_F(ComparePanelTest, FittingIsDoneInTheBackground) {
  QImage ramp(50, 40, QImage::Format_ARGB32);
  for (int y = 0; y < 40; ++y)
    for (int x = 0; x < 50; ++x)
      ramp.setPixel(x, y, qRgb(5 * x, 6 * y, 90));
  panel->source().setImage(1, ramp);
  EXPECT_TRUE(panel->source().isFitting());
  EXPECT_EQ(at(150, 100), blue);
  ASSERT_TRUE(waitFor([&] { return !panel->source().isFitting(); }));
  const PixelView from{reinterpret_cast<const std::uint32_t*>(ramp.constBits()), 50, 40, 50};
  const PicturePixels wanted = fitted(from, 160, 120);
  const QImage& made = panel->source().image(1);
  for (int y = 0; y < 120; ++y)
    for (int x = 0; x < 160; ++x)
      ASSERT_EQ(made.pixel(x, y), wanted.view().row(y)[x]) << x << ", " << y;
}

TEST_F(ComparePanelTest, MixAndLensShowAsInTheSinglePicture) {
  auto film = std::make_shared<Film>(160, 120);
  const FilmLayerPtr key = film->addLayer("lightgroup_key", "RGB");
  for (int y = 0; y < 120; ++y)
    for (int x = 0; x < 160; ++x) {
      const float rgba[4] = {0.5f, 0.5f, 0.5f, 1};
      film->setColor(x, y, rgba);
      key->set(film->pixelAt(x, y), rgba);
    }
  const SharedBitmap bitmap = makeBitmap(160, 120);
  setFilm(*bitmap, film);
  drawFilm(*bitmap);
  const PictureList::Id id = session->pictures().open(bitmap, "film");
  panel->use(0, id);
  ASSERT_TRUE(waitFor([&] { return at(5, 5).red() == 188; }));
  DeskLook desk;
  desk.lens.vignette = true;
  desk.lens.amount = 1;
  panel->setDesk(desk);
  frame->setDesk(desk);
  ASSERT_TRUE(waitFor([&] { return at(5, 5).red() < 150; }));
  ASSERT_TRUE(waitFor([&] { return !frame->picture().isMaking(); }));
  for (const int x : {0, 5, 40, 79})
    EXPECT_EQ(at(x, 5), frame->picture().colorAt({x, 5})) << x;
  panel->setDesk({});
  ASSERT_TRUE(waitFor([&] { return at(5, 5).red() == 188; }));
}

// Light of 0.5 and 0.25 from one lamp: a fader makes the difference four times as large, or nothing.
TEST_F(ComparePanelTest, MetricsMeasureTheLightWithMixAndLens) {
  const auto filmOfLight = [&](float light, const char* name) {
    auto film = std::make_shared<Film>(160, 120);
    const FilmLayerPtr key = film->addLayer("lightgroup_key", "RGB");
    const float rgba[4] = {light, light, light, 1};
    for (int y = 0; y < 120; ++y)
      for (int x = 0; x < 160; ++x) {
        film->setColor(x, y, rgba);
        key->set(film->pixelAt(x, y), rgba);
      }
    const SharedBitmap bitmap = makeBitmap(160, 120);
    setFilm(*bitmap, film);
    drawFilm(*bitmap);
    return session->pictures().open(bitmap, name);
  };
  panel->use(0, filmOfLight(0.5f, "bright"));
  panel->use(1, filmOfLight(0.25f, "dark"));
  const auto shows = [&](const char* rmse) {
    return waitFor([&] {
      return !panel->isMeasuring() &&
             frame->findChild<QLabel*>("compareValues")->text().contains(QLatin1String(rmse));
    });
  };
  const QLabel* values = frame->findChild<QLabel*>("compareValues");
  EXPECT_TRUE(shows("RMSE  0.2500")) << values->text().toStdString();
  DeskLook desk;
  desk.mix.faders.push_back({"key", 2});
  panel->setDesk(desk);
  EXPECT_TRUE(shows("RMSE  1.0000")) << values->text().toStdString();
  desk.mix.faders[0].mute = true;
  panel->setDesk(desk);
  EXPECT_TRUE(shows("RMSE  0.0000")) << values->text().toStdString();
  panel->setDesk({});
  EXPECT_TRUE(shows("RMSE  0.2500")) << values->text().toStdString();
}

TEST_F(ComparePanelTest, FilesAreDroppedOnAAndB) {
  const QString file = QString::fromStdString(home().GetString().GetUTF8()) + QStringLiteral("/green.png");
  QImage green(160, 120, QImage::Format_RGB32);
  green.fill(QColor(10, 230, 20));
  ASSERT_TRUE(green.save(file));
  const auto drop = [&](const QPoint& at) {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(file)});
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(panel, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent event(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(panel, &event);
    EXPECT_TRUE(event.isAccepted());
  };
  const auto middle = [&](const char* name) {
    return panel->findChild<QComboBox*>(QLatin1String(name))->geometry().center();
  };
  drop(middle("compareB"));
  ASSERT_TRUE(waitFor([&] { return at(150, 60) == QColor(10, 230, 20); }));
  EXPECT_EQ(at(10, 60), red);
  drop(middle("compareA"));
  ASSERT_TRUE(waitFor([&] { return at(10, 60) == QColor(10, 230, 20); }));
}

TEST_F(ComparePanelTest, OffShowsTheCurrentPictureAndRemovedOnesGo) {
  panel->setOn(false);
  EXPECT_EQ(at(10, 10), blue) << "the latest";
  panel->setOn(true);
  session->pictures().remove(b);
  settle();
  EXPECT_EQ(at(150, 10), red) << "A alone";
  session->pictures().remove(a);
  settle();
  EXPECT_TRUE(panel->source().size().isEmpty());
}
