// The contents of a canvas. Main thread.
#pragma once

#include <QColor>
#include <QObject>
#include <QPointF>
#include <QRect>
#include <QSize>

class QPainter;

namespace host {

/// The place of a picture in a canvas.
struct CanvasPlace {
  QPointF origin;   // the picture's upper left corner, in pixels of the screen from the canvas'
  double zoom = 1;  // pixels of the screen a pixel of the picture
  double ratio = 1; // pixels of the screen a pixel of the widget
  QRect view;       // the canvas, in pixels of the widget

  /// The picture's rectangle in the canvas, in pixels of the widget.
  QRectF target(const QSize& size) const;
};

/// Paints a picture at the place that the canvas gives. PictureSource shows one picture; a source that
/// compares holds several of them and paints each into its own part of the canvas, for example with a clip
/// path. The canvas owns zoom, place and pointer.
class CanvasSource : public QObject {
  Q_OBJECT
 public:
  using QObject::QObject;

  /// In pixels; empty without a picture.
  virtual QSize size() const = 0;
  virtual void paint(QPainter& painter, const CanvasPlace& place) = 0;
  /// The colour of a pixel on screen; the pixel lies inside.
  virtual QColor colorAt(const QPoint& pixel) const = 0;

 signals:
  /// To be painted again; the size may be another one.
  void changed();
};

} // namespace host
