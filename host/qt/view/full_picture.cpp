#include "full_picture.h"

#include "area_widget.h"
#include "key_table.h"

namespace host {

FullPicture::FullPicture(AreaWidget& area, QWidget* parent) : QWidget(parent, Qt::Window), area_(&area) {
  setObjectName(QStringLiteral("full-picture"));
  setAccessibleName(tr("Full screen picture"));
  setWindowTitle(area.window()->windowTitle());
  setAttribute(Qt::WA_DeleteOnClose);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setCursor(Qt::ArrowCursor);
  setFocusPolicy(Qt::StrongFocus);
  area.installEventFilter(this);
  connect(&area, &QObject::destroyed, this, &QWidget::close);
  if (const QScreen* screen = area.screen()) setGeometry(screen->geometry());
  showFullScreen();
  activateWindow();
  setFocus();
}

QRectF FullPicture::pictureRect() const {
  const QImage picture = area_ ? area_->picture() : QImage();
  if (picture.isNull()) return {};
  QSizeF size = picture.deviceIndependentSize();
  size.scale(QSizeF(this->size()), Qt::KeepAspectRatio);
  QRectF place(QPointF(0, 0), size);
  place.moveCenter(QRectF(rect()).center());
  return place;
}

void FullPicture::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.fillRect(rect(), Qt::black);
  const QRectF place = pictureRect();
  if (place.isEmpty()) return;
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.drawImage(place, area_->picture());
}

void FullPicture::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape || pressesCommand(*this, *event, "window.picture-only", Qt::Key_F11))
    close();
  else
    QWidget::keyPressEvent(event);
}

void FullPicture::closeEvent(QCloseEvent* event) {
  if (parentWidget()) parentWidget()->activateWindow();
  QWidget::closeEvent(event);
}

void FullPicture::mouseDoubleClickEvent(QMouseEvent* /*event*/) {
  close();
}

bool FullPicture::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Paint) update();
  if (event->type() == QEvent::Hide) close();
  return QWidget::eventFilter(watched, event);
}

} // namespace host
