#include "queue_windows.h"

#include "animation_dialog.h"
#include "form_fields.h"
#include "message_box.h"
#include "qt_text.h"
#include "queue_window.h"
#include "session.h"
#include "user_interface.h"

namespace host {

namespace {

void present(QWidget& window) {
  window.show();
  window.raise();
  window.activateWindow();
}

} // namespace

QueueWindows::QueueWindows(Session& session, QWidget& window, QAction& quit)
    : QObject(&window), session_(session), window_(window), quit_(quit),
      queue_(batchProgram(), settingsFolder()) {
}

QueueWindows::~QueueWindows() {
  delete dialog_;
  delete list_;
}

void QueueWindows::showDialog() {
  if (!dialog_) {
    dialog_ = new AnimationDialog(session_, queue_, &window_);
    dialog_->addAction(&quit_);
    connect(dialog_, &AnimationDialog::queued, this, [this] {
      showQueue();
      list_->selectNewest();
    });
  } else if (!dialog_->isVisible()) {
    dialog_->fill();
  }
  present(*dialog_);
}

void QueueWindows::showQueue() {
  if (!list_) {
    list_ = new QueueWindow(queue_, &window_);
    list_->addAction(&quit_);
    connect(list_, &QueueWindow::picturesWanted, this, &QueueWindows::picturesWanted);
    connect(list_, &QueueWindow::fileWanted, this,
            [](const QString& file) { userInterface().openFile(Filename(toHost(file))); });
  }
  present(*list_);
}

void QueueWindows::showLeft() {
  if (queue_.left() > 0) showQueue();
}

bool QueueWindows::mayClose() {
  if (queue_.left() == 0 || queue_.isPaused()) return true;
  return askQuestion(&window_,
                     {tr("Quit while animations are rendered?"),
                      tr("Animations left: %1").arg(queue_.left()),
                      tr("The next start offers to go on. Finished pictures are kept then; a movie begins "
                         "anew."),
                      {}});
}

} // namespace host
