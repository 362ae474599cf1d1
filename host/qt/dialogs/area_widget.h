// A user area on the screen. Main thread.
#pragma once

#include <QImage>
#include <QWidget>

#include "c4d_dialog.h"

namespace host {

/// Shows the surface that the area has painted and passes mouse events to it. The area learns its size
/// at once, so a surface of an older size is never shown.
class AreaWidget : public QWidget {
  Q_OBJECT
 public:
  explicit AreaWidget(QWidget* parent = nullptr);

  /// Null: an empty gadget.
  void setArea(GeUserArea* area);
  GeUserArea* area() const { return area_; }
  /// The area's minimum size, as it is now.
  void takeMinSize();

  /// The surface, without a copy: valid until the area paints again. Null while the area has no size.
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
