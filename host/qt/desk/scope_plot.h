// A scope on screen: its picture between lines and labels. Main thread.
#pragma once

#include <QImage>
#include <QWidget>

namespace host {

enum class ScopeKind { histogram, waveform, vectorscope };

class ScopePlot : public QWidget {
  Q_OBJECT
 public:
  explicit ScopePlot(QWidget* parent = nullptr);

  /// Null: nothing was measured yet. `light`: the levels are stops.
  void show(ScopeKind kind, const QImage& image, bool light);
  const QImage& image() const { return image_; }

  QSize sizeHint() const override { return {320, 220}; }
  QSize minimumSizeHint() const override { return {160, 120}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void paintLevels(QPainter& painter, const QRectF& area, bool upright) const;
  void paintGraticule(QPainter& painter, const QRectF& area) const;

  ScopeKind kind_ = ScopeKind::histogram;
  QImage image_;
  bool light_ = false;
};

} // namespace host
