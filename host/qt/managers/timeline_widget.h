// The document's time: a ruler with the frames, buttons to play, and fields. Main thread.
#pragma once

#include <QWidget>

#include "key_marks.h"
#include "session.h"

class QToolButton;

namespace host {

class NumberField;

/// Frames along a line: the mouse moves the time and drags the two marks of the preview range and the keys of
/// the selected objects. A right click on a key opens its menu.
class TimeRuler : public QWidget {
  Q_OBJECT
 public:
  explicit TimeRuler(Session& session, QWidget* parent = nullptr);

  /// Logical pixels from the left edge, and back; frames beyond the range lie outside.
  double xOf(double frame) const;
  int frameAt(double x) const;
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  bool event(QEvent* event) override;

 private:
  enum class Grip { none, time, first, last, key };
  Grip gripAt(const QPointF& at) const;
  void dragTo(double x);
  void paintTicks(QPainter& painter) const;

  Session& session_;
  KeyMarks keys_;
  Grip grip_ = Grip::none;
  bool ownEdit_ = false;
};

/// Frames between labels of a ruler: 1, 2 or 5 times a power of ten, so that labels stand at least `least`
/// pixels apart.
int labelStep(double pixelsPerFrame, double least);

/// When narrow it hides the frame rate first, then the buttons for first and last frame, then the fields of
/// the range.
class TimelineWidget : public QWidget {
  Q_OBJECT
 public:
  explicit TimelineWidget(Session& session, QWidget* parent = nullptr);

  /// Names the keys of the commands in the buttons' tool tips: once the main window has its commands.
  void showKeys();

  QSize minimumSizeHint() const override;

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  void refresh();
  void setRange(LONG fps, LONG first, LONG last);

  Session& session_;
  TimeRuler* ruler_;
  NumberField *first_, *last_, *frame_, *fps_;
  QToolButton *start_, *previous_, *play_, *next_, *end_, *key_;
  std::vector<std::vector<QWidget*>> spare_; // hidden together, in this order
  Subscription time_, changed_, replaced_, playing_;
};

} // namespace host
