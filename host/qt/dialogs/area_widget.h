// A user area on the screen. Main thread.
#pragma once

#include <QImage>
#include <QWidget>

#include "c4d_dialog.h"

namespace host {

/// Shows what the area has painted into its surface and passes the mouse on to it. It tells the area its size
/// at once, so nothing older than the size is ever shown.
class AreaWidget : public QWidget {
  Q_OBJECT
 public:
  explicit AreaWidget(QWidget* parent = nullptr);

  /// Null: an empty gadget.
  void setArea(GeUserArea* area);
  GeUserArea* area() const { return area_; }
  /// The area's minimum size, as it is now.
  void takeMinSize();

  /// What the area has painted, without a copy: valid until it paints again. Null while it has no size.
  QImage picture() const;

  QSize sizeHint() const override { return least_; }
  QSize minimumSizeHint() const override { return least_; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  void tellSize();
  void press(QMouseEvent& event, bool doubleClick);

  GeUserArea* area_ = nullptr;
  QSize least_{0, 0};
};

} // namespace host
