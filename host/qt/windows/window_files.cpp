#include "window_files.h"

#include <QCoreApplication>
#include <algorithm>

#include "c4d_events.h"
#include "message_box.h"
#include "qt_text.h"
#include "qt_user_interface.h"
#include "status_widget.h"

namespace host {

namespace {

QString text(const std::string& string) {
  return QString::fromStdString(string);
}

FileRequest saveRequest(const char* title, const Filename& start) {
  FileRequest request;
  request.type = FILESELECTTYPE_SCENES;
  request.mode = FILESELECT_SAVE;
  request.title = title;
  request.start = start.Content() ? start : Filename("Untitled.glb");
  return request;
}

// The first changes, a line each.
QString changeList(const std::vector<std::string>& changes) {
  constexpr std::size_t shown = 8;
  constexpr int longest = 80; // characters of a line
  QStringList lines;
  for (std::size_t i = 0; i < std::min(changes.size(), shown); ++i) {
    const QString line = text(changes[i]);
    lines << (line.size() > longest ? line.left(longest) + QChar(0x2026) : line);
  }
  if (changes.size() > shown)
    lines << QCoreApplication::translate("host::WindowFiles", "and %1 more").arg(changes.size() - shown);
  return lines.join(QLatin1Char('\n'));
}

} // namespace

WindowFiles::WindowFiles(Session& session, QtUserInterface& ui, QWidget& window)
    : QObject(&window), session_(session), ui_(ui), window_(window) {
  progressLate_.setSingleShot(true);
  connect(&progressLate_, &QTimer::timeout, this, &WindowFiles::showActivity);
  changed_ = session_.files().changed.add([this] { showActivity(); });
  replaced_ = session_.hub().replaced.add([this](Replacement why) {
    if (why == Replacement::opened) printNotes();
  });
  askQuestions();
}

WindowFiles::~WindowFiles() = default;

void WindowFiles::askQuestions() {
  FileQuestions questions;
  questions.unsaved = [this](const String& title, const std::vector<std::string>& changes) {
    const BoxText box{tr("Save the changes to \"%1\"?").arg(toQt(title)),
                      changeList(changes),
                      tr("Without saving they are lost."),
                      {}};
    const int answer = askChoice(&window_, box, {tr("Save"), tr("Discard"), tr("Cancel")});
    return answer == 0 ? UnsavedAnswer::save : answer == 1 ? UnsavedAnswer::discard : UnsavedAnswer::cancel;
  };
  questions.reload = [this](const String& title) {
    const BoxText box{tr("\"%1\" was changed by another program.").arg(toQt(title)),
                      tr("There are unsaved changes here as well."),
                      tr("Loading the file again gives them up."),
                      {}};
    return askChoice(&window_, box, {tr("Load Again"), tr("Keep My Changes")}, 1) == 0;
  };
  questions.chooseSave = [this](Filename& file) {
    return ui_.selectFile(saveRequest("Save Scene", file), file);
  };
  questions.failed = [this](const FileError& error) {
    showError(&window_, {text(error.sentence), text(error.reason), text(error.advice), text(error.details)});
  };
  session_.files().setQuestions(std::move(questions));
}

void WindowFiles::printNotes() {
  const std::vector<std::string>& warnings = session_.files().warnings();
  for (const std::string& warning : warnings)
    GePrint(String(warning));
  if (!warnings.empty()) emit noted(static_cast<int>(warnings.size()));
}

// A load that the user started gets a box once it takes long; others show in the status bar only.
void WindowFiles::showActivity() {
  using Kind = FileSession::Activity::Kind;
  const FileSession::Activity& activity = session_.files().activity();
  if (activity.kind == Kind::none) userLoads_ = false;
  if (activity.kind != Kind::loading || !userLoads_) {
    progressLate_.stop();
    if (progress_) progress_->deleteLater(), progress_.clear();
    return;
  }
  if (!progress_) {
    const Milliseconds waited = clock().now() - activity.since;
    if (waited < StatusWidget::delay) {
      if (!progressLate_.isActive()) progressLate_.start(static_cast<int>(StatusWidget::delay - waited));
      return;
    }
    progress_ = makeProgress();
    progress_->show();
  }
  progress_->setLabelText(toQt(activity.text));
  progress_->setRange(0, activity.progress < 0 ? 0 : 1000);
  if (activity.progress >= 0) progress_->setValue(static_cast<int>(activity.progress * 1000));
}

QProgressDialog* WindowFiles::makeProgress() {
  auto* progress = new QProgressDialog(&window_);
  progress->setObjectName(QStringLiteral("loading"));
  progress->setWindowTitle(tr("Opening"));
  progress->setWindowModality(Qt::WindowModal);
  progress->setAutoClose(false);
  progress->setAutoReset(false);
  progress->setMinimumDuration(0);
  progress->setMinimumWidth(360);
  connect(progress, &QProgressDialog::canceled, this, [this] { session_.files().cancelLoading(); });
  return progress;
}

void WindowFiles::open(const Filename& file) {
  userLoads_ = session_.files().open(file);
  showActivity();
}

void WindowFiles::openRecent(const Filename& file) {
  userLoads_ = session_.files().openRecent(file);
  showActivity();
}

void WindowFiles::chooseAndOpen() {
  FileRequest request;
  request.type = FILESELECTTYPE_SCENES;
  request.mode = FILESELECT_LOAD;
  request.title = "Open Scene";
  request.start = session_.files().file();
  Filename file;
  if (ui_.selectFile(request, file)) open(file);
}

void WindowFiles::saveAs() {
  Filename file;
  if (!ui_.selectFile(saveRequest("Save Scene", session_.files().file()), file)) return;
  if (!file.GetSuffix().Content()) file.SetSuffix("glb");
  session_.files().saveAs(file);
}

void WindowFiles::savePacked() {
  FileRequest request = saveRequest("Save Packed Scene", session_.files().file());
  request.forceSuffix = "glb";
  request.start.SetSuffix("glb");
  if (Filename file; ui_.selectFile(request, file)) session_.files().savePacked(file);
}

void WindowFiles::shutDown() {
  changed_.cancel();
  replaced_.cancel();
  progressLate_.stop();
  session_.files().setQuestions({});
  delete progress_;
}

} // namespace host
