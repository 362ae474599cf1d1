// One picture as the contents of a canvas. Main thread.
#pragma once

#include <QImage>

#include "canvas_look.h"
#include "canvas_source.h"
#include "host_renders.h"
#include "look_job.h"

namespace host {

/// Shows a bitmap. From a zoom of 1 on its pixels are crisp squares; below, it is filtered. A checkered
/// ground shows through transparent pixels.
class PictureSource : public CanvasSource {
  Q_OBJECT
 public:
  explicit PictureSource(QObject* parent = nullptr);

  /// Shows this bitmap, or none (null). `filmOnly`: its film is the picture.
  void setBitmap(const SharedBitmap& bitmap, bool filmOnly = false);
  const SharedBitmap& bitmap() const { return bitmap_; }
  /// Reads the pixels again.
  void refresh();
  /// Shows pictures so; `layer` and `filmOnly` of the look do not count. A look that is not plain is made in
  /// the background: the image follows.
  void setLook(const CanvasLook& look);
  /// Shows this layer of the film. The image before stays while a running render has no such layer.
  void setLayer(const std::string& layer);
  const std::string& layer() const { return look_.layer; }
  /// Pixels of the layer that are no finite numbers.
  const FaultCount& faults() const { return faults_; }
  /// True while an image for the look is being made.
  bool isMaking() const { return job_.isBusy(); }
  const QImage& image() const { return image_; }

  QSize size() const override { return image_.size(); }
  void paint(QPainter& painter, const CanvasPlace& place) override;
  QColor colorAt(const QPoint& pixel) const override { return image_.pixelColor(pixel); }

 private:
  void remake(bool changed);
  void takeImage(QImage image, const FaultCount& faults = {});
  void paintLarge(QPainter& painter, const CanvasPlace& place) const;
  void paintSmall(QPainter& painter, const CanvasPlace& place);

  SharedBitmap bitmap_;
  CanvasLook look_; // with layer and film
  FaultCount faults_;
  LookJob job_;
  QImage image_, scaled_; // scaled: for zooms below 1
  double scaledFor_ = 0;
};

} // namespace host
