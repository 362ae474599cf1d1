#include "farm_jobs.h"

#include <algorithm>

#include "bitmap_image.h"
#include "form_fields.h"
#include "mnemonic_tips.h"
#include "qt_text.h"
#include "theme.h"

namespace host {

namespace {

enum Column { output, state, progress, running, failed, left, submitted };
constexpr int folderRole = Qt::UserRole;
constexpr int pictureSize = 96;

QString stateText(const farm::FarmRow& row) {
  if (!row.problem.empty() || row.state.empty()) return FarmJobs::tr("Unknown");
  if (row.state == "done") return FarmJobs::tr("Done");
  if (row.state == "running") return FarmJobs::tr("Running");
  if (row.state == "waiting") return FarmJobs::tr("Waiting");
  return row.state == "failed" ? FarmJobs::tr("Failed") : FarmJobs::tr("Stopped");
}

QString nameOf(const farm::FarmRow& row) {
  const std::string& path = row.output.empty() ? row.folder : row.output;
  return QFileInfo(QString::fromStdString(path)).fileName();
}

// The state of the chosen job in one or two sentences.
QString sentence(const farm::FarmRow& row) {
  if (!row.problem.empty()) return QString::fromStdString(row.problem);
  if (row.state.empty()) return {};
  if (!row.slurm) return FarmJobs::tr("Slurm does not answer; the numbers are those of the job's files.");
  if (row.isLive()) {
    QStringList reasons;
    for (const std::string& reason : row.waiting)
      reasons << QString::fromStdString(reason);
    const QString tasks =
        FarmJobs::tr("Tasks: %1 running, %2 waiting").arg(row.tasksRunning).arg(row.tasksWaiting);
    return reasons.isEmpty()
               ? tasks
               : tasks + QStringLiteral(" (") + reasons.join(QStringLiteral(", ")) + QLatin1Char(')');
  }
  if (row.state == "failed")
    return FarmJobs::tr("Frames have failed three times. Mend the reason, then choose Retry.");
  if (row.state == "stopped")
    return FarmJobs::tr("No task is left, and frames are missing. Retry submits them.");
  return {};
}

} // namespace

FarmJobs::FarmJobs(farm::FarmDesk& desk, QWidget* parent)
    : QDialog(parent), desk_(desk), jobs_(new QTreeWidget), failures_(new QTreeWidget),
      frames_(new QListWidget), state_(new QLabel), message_(new QLabel),
      cancel_(new QPushButton(tr("&Cancel Job"))), retry_(new QPushButton(tr("&Retry"))),
      log_(new QPushButton(tr("&Log..."))), folder_(new QPushButton(tr("Open &Folder"))),
      output_(new QPushButton(tr("&Open Output"))) {
  setObjectName(QStringLiteral("farm-jobs"));
  setWindowTitle(tr("Farm Jobs"));
  resize(820, 560);
  buildLists();
  tellMnemonics(*this);
  changed_ = desk_.changed.add([this] { showRows(); });
  showRows();
}

void FarmJobs::buildLists() {
  jobs_->setObjectName(QStringLiteral("farm-list"));
  jobs_->setAccessibleName(tr("Farm jobs"));
  jobs_->setToolTip(tr("The jobs that were submitted from here, the newest first"));
  jobs_->setHeaderLabels(
      {tr("Output"), tr("State"), tr("Done"), tr("Running"), tr("Failed"), tr("Left"), tr("Submitted")});
  failures_->setObjectName(QStringLiteral("farm-failures"));
  failures_->setAccessibleName(tr("Failures"));
  failures_->setToolTip(tr("Frames that failed and are not done, with the reason of the last failure"));
  failures_->setHeaderLabels({tr("Frame"), tr("Tries"), tr("Reason")});
  for (QTreeWidget* list : {jobs_, failures_}) {
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    list->setAllColumnsShowFocus(true);
  }
  jobs_->header()->setStretchLastSection(true);
  jobs_->header()->resizeSection(Column::output, 220);
  for (const int narrow : {Column::progress, Column::running, Column::failed, Column::left})
    jobs_->header()->resizeSection(narrow, 72);
  failures_->header()->resizeSection(0, 70);
  failures_->header()->resizeSection(1, 60);
  failures_->setMaximumHeight(120);
  frames_->setObjectName(QStringLiteral("farm-frames"));
  frames_->setAccessibleName(tr("Finished frames"));
  frames_->setToolTip(tr("The last finished frames. A double click opens one in the Frame Buffer"));
  frames_->setViewMode(QListView::IconMode);
  frames_->setFlow(QListView::LeftToRight);
  frames_->setWrapping(false);
  frames_->setMovement(QListView::Static);
  frames_->setIconSize(QSize(pictureSize, pictureSize));
  frames_->setFixedHeight(pictureSize + 44);
  message_->setObjectName(QStringLiteral("farm-jobs-message"));
  message_->setWordWrap(true);
  message_->setTextFormat(Qt::PlainText);
  setRole(message_, "error");
  state_->setWordWrap(true);
  state_->setObjectName(QStringLiteral("farm-state"));
  state_->setTextFormat(Qt::PlainText);
  setRole(state_, "dim");
  connect(jobs_, &QTreeWidget::currentItemChanged, this, &FarmJobs::showJob);
  connect(frames_, &QListWidget::itemDoubleClicked, this,
          [this](const QListWidgetItem* item) { emit picturesWanted({item->data(folderRole).toString()}); });
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(12, 12, 12, 12);
  layout->setSpacing(8);
  layout->addWidget(jobs_, 1);
  layout->addWidget(state_);
  layout->addWidget(frames_);
  layout->addWidget(failures_);
  layout->addWidget(message_);
  buildButtons(*layout);
}

void FarmJobs::buildButtons(QBoxLayout& layout) {
  const struct {
    QPushButton* button;
    const char* name;
    QString tip;
  } all[] = {{cancel_, "farm-jobs-cancel", tr("Ends the job's tasks. Finished frames stay")},
             {retry_, "farm-jobs-retry", tr("Submits the frames that are missing, and nothing else")},
             {log_, "farm-jobs-log",
              tr("The output of the tasks that had the chosen failed frame, or the end of the job")},
             {folder_, "farm-jobs-folder", tr("Opens the folder of the output")},
             {output_, "farm-jobs-output",
              tr("Opens the finished picture in the Frame Buffer, a movie in the player")}};
  auto* buttons = new QHBoxLayout;
  for (const auto& one : all) {
    one.button->setObjectName(QLatin1String(one.name));
    one.button->setToolTip(one.tip);
    one.button->setAutoDefault(false);
    buttons->addWidget(one.button);
    if (one.button == log_) buttons->addStretch(1);
  }
  connect(cancel_, &QPushButton::clicked, this, [this] { act(true); });
  connect(retry_, &QPushButton::clicked, this, [this] { act(false); });
  connect(log_, &QPushButton::clicked, this, &FarmJobs::openLog);
  connect(folder_, &QPushButton::clicked, this, [this] {
    if (const farm::FarmRow* row = chosen())
      emit fileWanted(QFileInfo(QString::fromStdString(row->folder)).absolutePath());
  });
  connect(output_, &QPushButton::clicked, this, &FarmJobs::openOutput);
  layout.addLayout(buttons);
}

void FarmJobs::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  desk_.watch(true);
}

void FarmJobs::hideEvent(QHideEvent* event) {
  desk_.watch(false);
  QDialog::hideEvent(event);
}

const farm::FarmRow* FarmJobs::chosen() const {
  const QTreeWidgetItem* item = jobs_->currentItem();
  const std::string folder = item ? item->data(0, folderRole).toString().toStdString() : std::string();
  const auto found = std::find_if(desk_.rows().begin(), desk_.rows().end(),
                                  [&folder](const farm::FarmRow& row) { return row.folder == folder; });
  return found == desk_.rows().end() ? nullptr : &*found;
}

void FarmJobs::showRows() {
  const farm::FarmRow* old = selectNewest_ ? nullptr : chosen();
  const std::string folder = old ? old->folder : std::string();
  filling_ = true;
  const int rows = static_cast<int>(desk_.rows().size());
  while (jobs_->topLevelItemCount() > rows)
    delete jobs_->takeTopLevelItem(rows);
  for (int index = 0; index < rows; ++index) {
    const farm::FarmRow& row = desk_.rows()[static_cast<std::size_t>(index)];
    QTreeWidgetItem* item = jobs_->topLevelItem(index);
    if (!item) item = new QTreeWidgetItem(jobs_);
    item->setText(Column::output, nameOf(row));
    item->setToolTip(Column::output, QString::fromStdString(row.folder).toHtmlEscaped());
    item->setText(Column::state, stateText(row));
    item->setText(Column::progress, tr("%1 of %2").arg(row.done).arg(row.units));
    item->setText(Column::running, QString::number(row.running));
    item->setText(Column::failed, QString::number(row.failed));
    item->setText(Column::left, row.secondsLeft ? roughTime(*row.secondsLeft) : QString());
    item->setText(Column::submitted, QString::fromStdString(row.submitted));
    item->setData(0, folderRole, QString::fromStdString(row.folder));
    if (row.folder == folder) jobs_->setCurrentItem(item);
  }
  if (!jobs_->currentItem() || selectNewest_ || folder.empty()) jobs_->setCurrentItem(jobs_->topLevelItem(0));
  if (rows > 0) selectNewest_ = false;
  filling_ = false;
  showJob();
}

void FarmJobs::showJob() {
  if (filling_) return;
  const farm::FarmRow* row = chosen();
  cancel_->setEnabled(row && (row->isLive() || row->state.empty()));
  retry_->setEnabled(row && row->state != "done");
  for (QPushButton* button : {log_, folder_})
    button->setEnabled(row != nullptr);
  output_->setEnabled(row && row->state == "done");
  if (!desk_.problem().empty())
    state_->setText(QString::fromStdString(desk_.problem()));
  else
    state_->setText(row ? sentence(*row)
                        : tr("No job was submitted from here yet: Render > Render on the Farm."));
  showFailures(row ? *row : farm::FarmRow());
  desk_.choose(row ? row->folder : std::string());
  showFrames();
}

void FarmJobs::showFailures(const farm::FarmRow& row) {
  const int count = static_cast<int>(row.failures.size());
  while (failures_->topLevelItemCount() > count)
    delete failures_->takeTopLevelItem(count);
  for (int index = 0; index < count; ++index) {
    const farm::FarmFailure& one = row.failures[static_cast<std::size_t>(index)];
    QTreeWidgetItem* item = failures_->topLevelItem(index);
    if (!item) item = new QTreeWidgetItem(failures_);
    item->setText(0, QString::number(one.number));
    item->setText(1, QString::number(one.attempts));
    item->setText(2, QString::fromStdString(one.reason));
    item->setToolTip(2, QString::fromStdString(one.reason).toHtmlEscaped());
  }
  failures_->setVisible(count > 0);
}

void FarmJobs::showFrames() {
  const int count = static_cast<int>(desk_.frames().size());
  while (frames_->count() > count)
    delete frames_->takeItem(count);
  for (int index = 0; index < count; ++index) {
    const farm::FarmFrame& one = desk_.frames()[static_cast<std::size_t>(index)];
    QListWidgetItem* item = frames_->item(index);
    if (!item) item = new QListWidgetItem(frames_);
    const QString file = QString::fromStdString(one.file);
    if (item->data(folderRole).toString() == file && !item->icon().isNull()) continue;
    item->setData(folderRole, file);
    item->setText(QString::number(one.number));
    item->setToolTip(file.toHtmlEscaped());
    item->setIcon(one.thumbnail ? QIcon(QPixmap::fromImage(thumbnailImage(one.thumbnail))) : QIcon());
  }
  frames_->setVisible(count > 0);
}

void FarmJobs::act(bool cancel) {
  const farm::FarmRow* row = chosen();
  if (!row) return;
  message_->clear();
  const auto done = [there = QPointer<FarmJobs>(this)](const std::string& error) {
    if (there) there->message_->setText(QString::fromStdString(error));
  };
  if (cancel)
    desk_.cancel(row->folder, done);
  else
    desk_.retry(row->folder, done);
}

void FarmJobs::openLog() {
  const farm::FarmRow* row = chosen();
  if (!row) return;
  message_->clear();
  std::optional<LONG> number;
  if (const QTreeWidgetItem* item = failures_->currentItem())
    number = static_cast<LONG>(item->text(0).toInt());
  desk_.log(row->folder, number,
            [there = QPointer<FarmJobs>(this)](const std::string& error, const std::string& text) {
              if (there) there->showLog(error, text);
            });
}

void FarmJobs::showLog(const std::string& error, const std::string& text) {
  if (!error.empty()) return message_->setText(QString::fromStdString(error));
  auto* window = new QDialog(this);
  window->setAttribute(Qt::WA_DeleteOnClose);
  window->setObjectName(QStringLiteral("farm-log"));
  window->setWindowTitle(tr("Log"));
  auto* page = new QPlainTextEdit(text.empty() ? tr("Nothing was printed.") : QString::fromStdString(text));
  page->setObjectName(QStringLiteral("farm-log-text"));
  page->setReadOnly(true);
  page->setAccessibleName(tr("Log"));
  page->setToolTip(tr("The output of the task, to be copied (Ctrl+C)"));
  auto* layout = new QVBoxLayout(window);
  layout->addWidget(page);
  window->resize(680, 400);
  window->show();
}

void FarmJobs::openOutput() {
  const farm::FarmRow* row = chosen();
  if (!row) return;
  const QString file = QString::fromStdString(row->output);
  if (file.endsWith(QStringLiteral(".mov"), Qt::CaseInsensitive) ||
      file.endsWith(QStringLiteral(".avi"), Qt::CaseInsensitive))
    emit fileWanted(file);
  else if (QFileInfo::exists(file))
    emit picturesWanted({file});
  else if (!desk_.frames().empty())
    emit picturesWanted({QString::fromStdString(desk_.frames().back().file)});
}

} // namespace host
