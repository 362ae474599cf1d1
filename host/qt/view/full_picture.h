// The picture of a user area alone on the screen. Main thread.
#pragma once

#include <QPointer>
#include <QWidget>

namespace host {

class AreaWidget;

/// Shows on the whole screen what an area has painted, as large as it fits on black, and follows it. The area
/// itself keeps its place and size. F11, Escape and a double click close it, and so does the area's end. It
/// deletes itself.
class FullPicture : public QWidget {
  Q_OBJECT
 public:
  /// Opens on the screen that the area is on.
  FullPicture(AreaWidget& area, QWidget* parent);

  /// Where the picture lies in this window; empty while there is none.
  QRectF pictureRect() const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QPointer<AreaWidget> area_;
};

} // namespace host
