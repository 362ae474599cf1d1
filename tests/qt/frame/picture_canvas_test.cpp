// The canvas of the frame buffer: exact zoom and place, crisp pixels.
#include <QPainter>
#include <QSignalSpy>

#include "bitmap_image.h"
#include "picture_canvas.h"
#include "picture_source.h"
#include "qt_fixture.h"

using namespace host;

namespace {

// Pixel (x, y) has the colour (x, y, 7).
SharedBitmap ramp(int width, int height, int depth = 24) {
  SharedBitmap bitmap = makeBitmap(width, height, depth);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      bitmap->SetPixel(x, y, x, y, 7);
      if (depth == 32) bitmap->SetAlpha(x, y, x == 0 ? 0 : 255);
    }
  return bitmap;
}

class PictureCanvasTest : public QtFixture {
 public:
  PictureCanvasTest() {
    canvas.setSource(&picture);
    canvas.resize(400, 300);
    canvas.show();
    settle();
  }
  PictureSource picture;
  PictureCanvas canvas;

  void wheel(const QPointF& at, int notches) {
    QWheelEvent event(at, canvas.mapToGlobal(at), {}, {0, 120 * notches}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&canvas, &event);
  }
};

TEST_F(PictureCanvasTest, APictureKeepsItsPixels) {
  const QImage image = bitmapImage(*ramp(20, 10));
  EXPECT_EQ(image.size(), QSize(20, 10));
  EXPECT_EQ(image.pixel(13, 4), qRgb(13, 4, 7));
  const QImage clear = bitmapImage(*ramp(20, 10, 32));
  EXPECT_EQ(clear.pixel(0, 3), qRgba(0, 3, 7, 0));
  EXPECT_EQ(clear.pixel(5, 3), qRgba(5, 3, 7, 255));
}

TEST_F(PictureCanvasTest, FitsWholeMultiplesAndParts) {
  picture.setBitmap(ramp(100, 60));
  EXPECT_EQ(canvas.zoom(), 4) << "400 / 100, 300 / 60 = 5";
  EXPECT_EQ(canvas.origin(), QPointF(0, 30));
  EXPECT_TRUE(canvas.isFitted());
  canvas.resize(399, 300);
  settle();
  EXPECT_EQ(canvas.zoom(), 3) << "whole multiples only";
  picture.setBitmap(ramp(1600, 200));
  EXPECT_DOUBLE_EQ(canvas.zoom(), 399.0 / 1600);
  EXPECT_NEAR(canvas.pictureRect().center().y(), 150, 1e-9);
}

TEST_F(PictureCanvasTest, TheWheelDoublesAtThePointer) {
  picture.setBitmap(ramp(200, 150));
  canvas.setZoom(1);
  const QPointF at(123.5, 87.5);
  const QPoint pixel = canvas.pixelAt(at).value();
  for (const double zoom : {2.0, 4.0, 8.0, 16.0, 32.0, 64.0}) {
    wheel(at, 1);
    EXPECT_EQ(canvas.zoom(), zoom);
    EXPECT_EQ(canvas.pixelAt(at), pixel) << zoom;
  }
  wheel(at, 1);
  EXPECT_EQ(canvas.zoom(), 64) << "the end";
  for (int i = 0; i < 20; ++i)
    wheel(at, -1);
  EXPECT_EQ(canvas.zoom(), 1.0 / 64);
  wheel(at, 3);
  EXPECT_EQ(canvas.zoom(), 1.0 / 8);
}

TEST_F(PictureCanvasTest, FromAFitTheWheelGoesToTheNextPowerOfTwo) {
  picture.setBitmap(ramp(1000, 300)); // fits at 0.4
  EXPECT_DOUBLE_EQ(canvas.zoom(), 0.4);
  wheel({200, 150}, 1);
  EXPECT_EQ(canvas.zoom(), 0.5);
  canvas.fit();
  wheel({200, 150}, -1);
  EXPECT_EQ(canvas.zoom(), 0.25);
}

TEST_F(PictureCanvasTest, PixelsAreCrispSquares) {
  picture.setBitmap(ramp(100, 80));
  canvas.setZoom(16, {0, 0});
  canvas.pan({-10000, -10000});
  canvas.fit();
  canvas.setZoom(16, {200, 150});
  const QImage shot = canvas.grab().toImage();
  const QPoint origin = canvas.origin().toPoint();
  ASSERT_EQ(canvas.origin(), QPointF(origin)) << "on whole pixels of the screen";
  int looked = 0;
  for (int y = 0; y < shot.height(); ++y)
    for (int x = 0; x < shot.width(); ++x) {
      const QPoint pixel((x - origin.x()) / 16, (y - origin.y()) / 16);
      if (x < origin.x() || y < origin.y() || pixel.x() >= 100 || pixel.y() >= 80) continue;
      ASSERT_EQ(shot.pixel(x, y), qRgb(pixel.x(), pixel.y(), 7)) << x << ", " << y;
      ++looked;
    }
  EXPECT_EQ(looked, 400 * 300);
}

TEST_F(PictureCanvasTest, OneToOneIsOneToOne) {
  picture.setBitmap(ramp(100, 80));
  canvas.setZoom(1);
  const QImage shot = canvas.grab().toImage();
  const QPoint at = canvas.origin().toPoint();
  EXPECT_EQ(shot.copy(QRect(at, QSize(100, 80))).convertToFormat(QImage::Format_RGB32),
            bitmapImage(*ramp(100, 80)));
}

TEST_F(PictureCanvasTest, DraggingMovesAndThePictureStaysInSight) {
  picture.setBitmap(ramp(100, 80));
  canvas.setZoom(2);
  const QPointF before = canvas.origin();
  canvas.pan({15, -9});
  EXPECT_EQ(canvas.origin(), before + QPointF(15, -9));
  canvas.pan({1e6, 1e6});
  EXPECT_EQ(canvas.origin(), QPointF(400 - 16, 300 - 16));
  canvas.pan({-1e6, -1e6});
  EXPECT_EQ(canvas.origin(), QPointF(16 - 200, 16 - 160));
}

TEST_F(PictureCanvasTest, SignalsThePixelUnderThePointer) {
  picture.setBitmap(ramp(100, 60)); // at 4, from (0, 30)
  QSignalSpy hovered(&canvas, &PictureCanvas::hovered);
  QTest::mouseMove(&canvas, {4 * 33 + 1, 30 + 4 * 20 + 3});
  settle();
  ASSERT_FALSE(hovered.isEmpty());
  EXPECT_EQ(hovered.last()[0].toPoint(), QPoint(33, 20));
  QTest::mouseMove(&canvas, {200, 10});
  settle();
  EXPECT_EQ(hovered.last()[0].toPoint(), QPoint(-1, -1));
  EXPECT_FALSE(canvas.pixelAt({200, 29.9}));
  EXPECT_EQ(canvas.pixelAt({0, 30}), QPoint(0, 0));
  EXPECT_EQ(canvas.pixelAt({399.9, 269.9}), QPoint(99, 59));
  EXPECT_FALSE(canvas.pixelAt({399.9, 270}));
}

TEST_F(PictureCanvasTest, AnotherPictureOfTheSameSizeKeepsThePlace) {
  picture.setBitmap(ramp(100, 60));
  canvas.setZoom(8, {10, 40});
  const QPointF origin = canvas.origin();
  picture.setBitmap(ramp(100, 60));
  EXPECT_EQ(canvas.zoom(), 8);
  EXPECT_EQ(canvas.origin(), origin);
  picture.setBitmap(ramp(60, 100));
  EXPECT_TRUE(canvas.isFitted());
}

TEST_F(PictureCanvasTest, NothingIsHarmless) {
  canvas.zoomIn({1, 1});
  canvas.pan({5, 5});
  canvas.fit();
  EXPECT_FALSE(canvas.pixelAt({5, 5}));
  picture.setBitmap(ramp(10, 10));
  picture.setBitmap(nullptr);
  EXPECT_FALSE(canvas.pixelAt({200, 150}));
  canvas.grab();
}

// Its halves are two pictures.
class HalvesSource : public CanvasSource {
 public:
  QSize size() const override { return {100, 60}; }
  void paint(QPainter& painter, const CanvasPlace& place) override {
    QRectF half = place.target(size());
    painter.fillRect(half, QColor(10, 20, 30));
    half.setWidth(half.width() / 2);
    painter.fillRect(half, color);
  }
  QColor colorAt(const QPoint& pixel) const override { return pixel.x() < 50 ? color : QColor(10, 20, 30); }
  QColor color = QColor(200, 100, 50);
};

TEST_F(PictureCanvasTest, AnotherSourceTakesTheCanvas) {
  picture.setBitmap(ramp(100, 60));
  canvas.setZoom(2, {0, 0});
  const QPointF origin = canvas.origin();
  auto halves = std::make_unique<HalvesSource>();
  canvas.setSource(halves.get());
  EXPECT_EQ(canvas.zoom(), 2) << "a picture of the same size keeps the place";
  EXPECT_EQ(canvas.origin(), origin);
  const QPoint at = canvas.origin().toPoint();
  EXPECT_EQ(canvas.grab().toImage().pixelColor(at + QPoint(10, 10)), QColor(200, 100, 50));
  EXPECT_EQ(canvas.grab().toImage().pixelColor(at + QPoint(150, 10)), QColor(10, 20, 30));
  EXPECT_EQ(canvas.shownColor({3, 3}), QColor(200, 100, 50));
  picture.setBitmap(ramp(30, 30));
  EXPECT_EQ(canvas.zoom(), 2) << "the picture is not shown now";
  halves.reset();
  EXPECT_FALSE(canvas.pixelAt({200, 150}));
  canvas.grab();
  canvas.setSource(&picture);
  EXPECT_EQ(canvas.zoom(), 10) << "30 pixels in 300";
}

TEST_F(PictureCanvasTest, ARefreshShowsNewPixels) {
  const SharedBitmap bitmap = ramp(100, 60);
  picture.setBitmap(bitmap);
  bitmap->SetPixel(0, 0, 200, 100, 50);
  picture.refresh();
  EXPECT_EQ(canvas.grab().toImage().pixel(1, 31), qRgb(200, 100, 50));
}

} // namespace
