// Two to four pictures on the canvas, beside or over each other. Main thread.
#pragma once

#include <QImage>
#include <array>

#include "canvas_source.h"
#include "compare_view.h"
#include "latest_job.h"

namespace host {

enum class CompareMode { wipe, toggle, sideBySide, difference, heat };

/// The first picture is A, the second B. Others are fitted into A's size, in the background; the images
/// before stay until then. Each has its image as it is shown.
class CompareSource : public CanvasSource {
  Q_OBJECT
 public:
  static constexpr int most = 4, gap = 8; // pictures; pixels between them side by side
  using CanvasSource::CanvasSource;

  /// An empty image: no picture.
  void setImage(std::size_t index, const QImage& image);
  /// As it is compared, of A's size.
  const QImage& image(std::size_t index) const { return images_[index]; }
  void setMode(CompareMode mode);
  CompareMode mode() const { return mode_; }
  /// Of the wipe.
  void setLine(const WipeLine& line);
  const WipeLine& line() const { return line_; }
  /// Of the toggle: B instead of A.
  void showB(bool on);
  bool showsB() const { return showsB_; }
  /// Of the difference.
  void setGain(double gain);
  /// Of the heat map: errors from 0 to 1 for A's pixels. Ignored when their number is another one.
  void setHeat(const std::vector<float>& map);

  /// True while images are being fitted.
  bool isFitting() const { return fitting_.isBusy(); }

  QSize size() const override { return shown_.size(); }
  void paint(QPainter& painter, const CanvasPlace& place) override;
  QColor colorAt(const QPoint& pixel) const override;

 signals:
  /// `image` gives what was set last.
  void imagesChanged();

 private:
  using Images = std::array<QImage, most>;
  void takeImages(const Images& images);
  void compose();
  QImage composeWipe(const QImage& a, const QImage& b) const;
  QImage composeGrid() const;
  void paintLine(QPainter& painter, const QRectF& target) const;

  Images images_; // of A's size
  Images given_;
  QImage shown_;            // in pixels of A
  QImage scaled_, scaledB_; // for zooms below 1; of a wipe, A and B
  double scaledFor_ = 0;
  CompareMode mode_ = CompareMode::wipe;
  WipeLine line_;
  bool showsB_ = false;
  double gain_ = 1;
  std::vector<float> heat_;
  LatestJob fitting_{"fit pictures"};
};

} // namespace host
