// The fields of a colour picker that are dragged: saturation over value, and the circle of hues as a strip.
// Main thread.
#pragma once

#include <QImage>
#include <QWidget>

#include "color_values.h"

namespace host {

/// An area whose point the user drags; the arrow keys move it by a hundredth, with Shift by a tenth.
class DraggedPoint : public QWidget {
  Q_OBJECT
 public:
  /// `flat`: the point moves sideways only.
  DraggedPoint(bool flat, QWidget* parent);
  QPointF point() const { return point_; }
  void setPoint(QPointF point); // 0 to 1, (0, 0) is the upper left corner; no signal
  bool isDragging() const { return dragging_; }

 signals:
  /// Emitted around all `moved` of one drag.
  void dragStarted();
  void moved(QPointF point);
  void dragFinished(bool cancelled);

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent*) override { update(); }
  void focusOutEvent(QFocusEvent*) override { update(); }
  void hideEvent(QHideEvent* event) override;
  /// Paints `picture` over the whole area, a frame, and the point.
  void paintPoint(const QImage& picture);

 private:
  void moveTo(QPointF position);
  void change(QPointF point);
  void end(bool cancelled);

  QPointF point_, before_;
  bool flat_, dragging_ = false;
};

/// Saturation from left to right, value from bottom to top, of one hue.
class SaturationPlane : public DraggedPoint {
  Q_OBJECT
 public:
  explicit SaturationPlane(QWidget* parent);
  void setHue(Real degrees);
  QSize sizeHint() const override { return {256, 144}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  Real hue_ = 0;
  QImage picture_;
};

/// All hues, red at both ends.
class HueStrip : public DraggedPoint {
  Q_OBJECT
 public:
  explicit HueStrip(QWidget* parent);
  QSize sizeHint() const override { return {256, 16}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QImage picture_;
};

} // namespace host
