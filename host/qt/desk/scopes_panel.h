// Histogram, waveform and vectorscope of the Frame Buffer's picture. Main thread.
#pragma once

#include <QTimer>
#include <QWidget>

#include "host_renders.h"
#include "latest_job.h"
#include "scope_plot.h"

class QCheckBox;
class QComboBox;
class QLabel;

namespace host {

/// The input of scopes: the picture as it is shown, and the bitmap with its film.
struct ScopeSource {
  QImage shown;
  SharedBitmap bitmap; // null: no picture
};

/// Measures in the background, and only while it is visible; the picture on screen may change as often as it
/// likes.
class ScopesPanel : public QWidget {
  Q_OBJECT
 public:
  /// `source` gives the picture when it is wanted.
  explicit ScopesPanel(std::function<ScopeSource()> source, QWidget* parent = nullptr);

  /// The picture has changed.
  void refresh();
  /// True while a measurement waits or runs.
  bool isMeasuring() const { return job_.isBusy() || pause_.isActive(); }
  const ScopePlot& plot() const { return *plot_; }

  static constexpr int period = 250; // milliseconds between measurements at least

  QSize sizeHint() const override { return {320, 300}; }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  struct Wish;
  struct Outcome;
  void measure();
  void showOutcome(const Outcome& outcome);
  void updateFields();

  std::function<ScopeSource()> source_;
  QComboBox *kind_, *of_;
  QCheckBox *logarithmic_, *parade_;
  ScopePlot* plot_;
  QLabel* faults_;
  QTimer pause_;
  LatestJob job_{"scopes"};
  bool wanted_ = false;
};

} // namespace host
