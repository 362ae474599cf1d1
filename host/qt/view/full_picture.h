// The picture of a user area alone on the screen. Main thread.
#pragma once

#include <QPointer>
#include <QWidget>

namespace host {

class AreaWidget;

/// Shows an area's surface on the whole screen, as large as it fits on black, and follows its changes. The
/// area keeps its place and size. F11, Escape, a double click and the end of the area close it. It deletes
/// itself.
class FullPicture : public QWidget {
  Q_OBJECT
 public:
  /// Opens on the screen that the area is on.
  FullPicture(AreaWidget& area, QWidget* parent);

  /// The picture's rectangle in this window; empty without a picture.
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
