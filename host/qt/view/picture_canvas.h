// A picture on screen, zoomed to the pixel. Main thread.
#pragma once

#include <QImage>
#include <QWidget>
#include <optional>

#include "canvas_look.h"
#include "host_renders.h"
#include "look_job.h"

namespace host {

/// Shows a bitmap. The zoom is in pixels of the screen a pixel of the picture: 1 is one to one on any
/// display. From 1 on the picture stands on whole pixels of the screen and its pixels are crisp squares;
/// below, it is filtered. The wheel zooms in powers of two at the pointer, dragging moves the picture, a
/// double click changes between the whole picture and one to one.
class PictureCanvas : public QWidget {
  Q_OBJECT
 public:
  static constexpr double leastZoom = 1.0 / 64, mostZoom = 64;

  explicit PictureCanvas(QWidget* parent = nullptr);

  /// Shows this bitmap, or none (null). Zoom and place stay if the size stays; else the whole picture is
  /// shown.
  void setBitmap(const SharedBitmap& bitmap);
  const SharedBitmap& bitmap() const { return bitmap_; }
  /// Reads the pixels again.
  void refresh();
  /// Shows pictures so. A look that is not plain is made in the background: the image follows.
  void setLook(const CanvasLook& look);
  /// True while an image for the look is being made.
  bool isMaking() const { return job_.isBusy(); }
  /// The colour of a pixel on screen, inside the picture.
  QColor shownColor(const QPoint& pixel) const { return image_.pixelColor(pixel); }
  /// The text shown without a picture.
  void setEmptyText(const QString& text);

  double zoom() const { return zoom_; }
  /// Clamped to the range; the point of the picture at `anchor` (in the widget) stays there.
  void setZoom(double zoom, const QPointF& anchor);
  void setZoom(double zoom); // about the middle
  /// The next power of two, up or down.
  void zoomIn(const QPointF& anchor);
  void zoomOut(const QPointF& anchor);
  /// Shows the whole picture in the middle, enlarged by whole multiples only. Stays in effect when the
  /// widget's size changes, until the picture is zoomed or moved.
  void fit();
  bool isFitted() const { return fitted_; }
  /// Moves it by pixels of the widget.
  void pan(const QPointF& by);

  /// The picture's upper left corner, in pixels of the screen from the widget's.
  QPointF origin() const { return origin_; }
  /// The pixel at a point of the widget; empty outside the picture.
  std::optional<QPoint> pixelAt(const QPointF& point) const;
  /// The picture's place in the widget.
  QRectF pictureRect() const;

  QSize minimumSizeHint() const override { return {160, 120}; }

 signals:
  void zoomChanged();
  /// The image on screen is another one.
  void imageChanged();
  /// The pointer is over this pixel; (-1, -1): outside the picture.
  void hovered(const QPoint& pixel);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  void remake(bool changed);
  void takeImage(QImage image);
  QSizeF screen() const; // the widget in pixels of the screen
  void place(const QPointF& origin);
  void applyFit();
  void tellHover(const QPointF& at);
  void paintGround(QPainter& painter, const QRectF& target) const;

  SharedBitmap bitmap_;
  CanvasLook look_;
  LookJob job_;
  QImage image_, scaled_; // scaled: for zooms below 1
  QString emptyText_;
  double zoom_ = 1;
  QPointF origin_;
  bool fitted_ = true, panning_ = false;
  QPointF last_;
  QPoint hovered_{-1, -1};
  int wheel_ = 0;
};

} // namespace host
