#include "first_picture.h"

#include <QEvent>
#include <QWidget>
#include <QWindow>

namespace host {

namespace {
constexpr int calmTime = 150; // milliseconds without a resize, after the window is on screen
}

FirstPicture::FirstPicture(FileSession& files, QWidget& window, std::function<void()> ask)
    : files_(files), ask_(std::move(ask)) {
  calm_.setSingleShot(true);
  calm_.setInterval(calmTime);
  connect(&calm_, &QTimer::timeout, this, [this] {
    standing_ = true;
    askIfReady();
  });
  loaded_ = files_.changed.add([this] { askIfReady(); });
  QWindow* handle = window.windowHandle();
  handle->installEventFilter(this);
  if (handle->isExposed()) calm_.start();
}

bool FirstPicture::eventFilter(QObject* watched, QEvent* event) {
  const bool changes = event->type() == QEvent::Resize || event->type() == QEvent::Expose;
  if (changes && ask_ && !standing_ && static_cast<QWindow*>(watched)->isExposed()) calm_.start();
  return QObject::eventFilter(watched, event);
}

void FirstPicture::askIfReady() {
  if (!ask_ || !standing_ || files_.activity().kind != FileSession::Activity::Kind::none) return;
  std::exchange(ask_, nullptr)();
}

} // namespace host
