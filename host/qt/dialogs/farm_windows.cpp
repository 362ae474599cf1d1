#include "farm_windows.h"

#include "farm_dialog.h"
#include "farm_jobs.h"
#include "form_fields.h"
#include "qt_text.h"
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

FarmWindows::FarmWindows(Session& session, QWidget& window, QAction& quit)
    : QObject(&window), session_(session), window_(window), quit_(quit),
      desk_(batchProgram(), settingsFolder()) {
}

FarmWindows::~FarmWindows() {
  delete dialog_;
  delete jobs_;
}

void FarmWindows::showDialog() {
  if (!dialog_) {
    dialog_ = new FarmDialog(session_, desk_, &window_);
    dialog_->addAction(&quit_);
    connect(dialog_, &FarmDialog::submitted, this, [this] {
      jobs().selectNewest();
      showJobs();
    });
  } else if (!dialog_->isVisible()) {
    dialog_->fill();
  }
  present(*dialog_);
}

FarmJobs& FarmWindows::jobs() {
  if (!jobs_) {
    jobs_ = new FarmJobs(desk_, &window_);
    jobs_->addAction(&quit_);
    connect(jobs_, &FarmJobs::picturesWanted, this, &FarmWindows::picturesWanted);
    connect(jobs_, &FarmJobs::fileWanted, this,
            [](const QString& file) { userInterface().openFile(Filename(toHost(file))); });
  }
  return *jobs_;
}

void FarmWindows::showJobs() {
  present(jobs());
}

} // namespace host
