// The tour of the first start: a few quiet callouts beside the parts that they tell of. Main thread.
#pragma once

#include <QFrame>
#include <QPointer>
#include <vector>

class QLabel;
class QPushButton;

namespace host {

struct TourStep {
  QPointer<QWidget> target; // null or hidden: the callout stands in the window's middle
  QString title, text;
};

/// One callout that walks through the steps. It lies over the window and takes the keyboard: Enter goes on,
/// Escape closes. Closed or finished, it stores that and deletes itself.
class Tour : public QFrame {
  Q_OBJECT
 public:
  Tour(std::vector<TourStep> steps, QWidget& window);
  void present();
  int step() const { return step_; }

  /// Whether a tour has begun in this home and was never closed.
  static bool isPending();
  /// Notes that one has begun, so that it comes back until it is closed.
  static void begin();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void go(int step);
  void place();
  void finish();

  QWidget& window_;
  std::vector<TourStep> steps_;
  int step_ = 0;
  QPoint tip_; // of the arrow, in this widget
  QLabel *title_, *text_, *count_;
  QPushButton *back_, *next_, *skip_;
};

} // namespace host
