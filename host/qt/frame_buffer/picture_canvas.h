// A picture on screen, zoomed to the pixel. Main thread.
#pragma once

#include <QPointer>
#include <QWidget>
#include <optional>

#include "canvas_source.h"

namespace host {

/// Shows what its source paints. The zoom is in pixels of the screen a pixel of the picture: 1 is one to one
/// on any display. From 1 on the picture stands on whole pixels of the screen. The wheel zooms in powers of
/// two at the pointer, dragging with the left or the middle button moves the picture, a double click changes
/// between the whole picture and one to one. Shift and dragging marks a rectangle of pixels, Escape ends it.
/// From `gridZoom` on lines between the pixels can be shown.
class PictureCanvas : public QWidget {
  Q_OBJECT
 public:
  static constexpr double leastZoom = 1.0 / 64, mostZoom = 64, gridZoom = 32;

  explicit PictureCanvas(QWidget* parent = nullptr);

  /// Shows this source's picture. Zoom and place stay when the picture's size stays, now and whenever the
  /// source changes; else the whole picture is shown. Null, and a source that is deleted: no picture.
  void setSource(CanvasSource* source);
  CanvasSource* source() const { return source_; }
  /// The colour of a pixel on screen, inside the picture.
  QColor shownColor(const QPoint& pixel) const { return source_->colorAt(pixel); }
  void showGrid(bool on);
  bool showsGrid() const { return grid_; }
  /// The marked pixels; empty: none.
  const QRect& marked() const { return marked_; }
  void mark(const QRect& pixels);
  /// While no button is held.
  void setIdleCursor(Qt::CursorShape shape);
  /// Marks a place of the picture, 0 to 1 from its upper left corner; nothing: no mark.
  void setSpot(const std::optional<QPointF>& place);
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
  /// The pixel under the pointer; (-1, -1): outside the picture.
  QPoint hoveredPixel() const { return hovered_; }
  /// The picture's place in the widget.
  QRectF pictureRect() const;

  QSize minimumSizeHint() const override { return {160, 120}; }

 signals:
  void zoomChanged();
  /// The image on screen is another one.
  void imageChanged();
  /// The pointer is over this pixel; (-1, -1): outside the picture.
  void hovered(const QPoint& pixel);
  /// The left button was pressed and released at this pixel of the picture, also by a double click's two
  /// clicks.
  void clicked(const QPoint& pixel, Qt::KeyboardModifiers modifiers);
  /// Other pixels are marked, or none.
  void markChanged();
  /// Ctrl and dragging takes the picture out of the window.
  void dragOutWanted();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void sourceChanged();
  bool isEmpty() const { return size_.isEmpty(); }
  CanvasPlace placing() const;
  QSizeF screen() const; // the widget in pixels of the screen
  void place(const QPointF& origin);
  void applyFit();
  void tellHover(const QPointF& at);
  void markTo(const QPointF& at);
  void paintGrid(QPainter& painter) const;
  void paintMark(QPainter& painter) const;
  void paintSpot(QPainter& painter) const;

  QPointer<CanvasSource> source_;
  QSize size_; // of the picture
  QString emptyText_;
  double zoom_ = 1;
  QPointF origin_;
  enum class Drag { none, press, pan, mark, out }; // press: a click so far
  bool fitted_ = true, grid_ = true;
  Drag drag_ = Drag::none;
  Qt::CursorShape idleCursor_ = Qt::ArrowCursor;
  bool double_ = false; // the press under way is the second of a double click
  QPointF pressed_, last_;
  QPoint markFrom_;
  QRect marked_;
  std::optional<QPointF> spot_;
  QPoint hovered_{-1, -1};
  int wheel_ = 0;
};

} // namespace host
