#include "queue_window.h"

#include <algorithm>
#include <cmath>

#include "bitmap_image.h"
#include "form_fields.h"
#include "mnemonic_tips.h"
#include "qt_text.h"
#include "theme.h"

namespace host {

namespace {

using farm::QueueRow;
using farm::QueueState;

enum Column { output, scene, state, frames, left };
constexpr int idRole = Qt::UserRole;
constexpr int pictureWidth = 192, pictureHeight = 108;

QString stateText(const QueueRow& row, bool paused) {
  switch (row.state) {
  case QueueState::waiting:
    return paused ? QueueWindow::tr("Paused") : QueueWindow::tr("Waiting");
  case QueueState::rendering: {
    const QString part = QStringLiteral("%1 %").arg(static_cast<int>(std::floor(row.part * 100)));
    return paused ? QueueWindow::tr("Paused, %1").arg(part) : part;
  }
  case QueueState::done:
    return QueueWindow::tr("Done");
  case QueueState::failed:
    return QueueWindow::tr("Failed");
  case QueueState::cancelled:
    return QueueWindow::tr("Cancelled");
  }
  return {};
}

/// Frames that are there, of all.
QString framesText(const QueueRow& row) {
  const int all = row.frames + row.kept;
  if (all == 0) return QString::fromStdString(row.order.frames);
  const int done = row.kept + static_cast<int>(std::floor(row.part * row.frames + 1e-6));
  return QueueWindow::tr("%1 of %2").arg(done).arg(all);
}

/// The state of the chosen animation in a sentence or two.
QString sentence(const QueueRow& row) {
  if (!row.problem.empty()) return QString::fromStdString(row.problem);
  QStringList parts;
  if (row.state == QueueState::rendering) parts << QueueWindow::tr("Frame %1").arg(row.frame);
  if (row.kept > 0) parts << QueueWindow::tr("%1 kept").arg(row.kept);
  if (row.state != QueueState::waiting)
    parts << QueueWindow::tr("rendered for %1").arg(roughTime(row.seconds));
  QString all = parts.join(QStringLiteral(", "));
  if (!all.isEmpty()) all[0] = all[0].toUpper();
  return all;
}

} // namespace

QueueWindow::QueueWindow(farm::RenderQueue& queue, QWidget* parent)
    : QDialog(parent), queue_(queue), list_(new QTreeWidget), picture_(new QLabel), state_(new QLabel),
      message_(new QLabel), pause_(new QPushButton(tr("&Pause"))), cancel_(new QPushButton(tr("&Cancel"))),
      again_(new QPushButton(tr("Render A&gain"))), up_(new QPushButton(tr("Move &Up"))),
      remove_(new QPushButton(tr("&Remove"))), clear_(new QPushButton(tr("Remove &Finished"))),
      folder_(new QPushButton(tr("Open Fo&lder"))), open_(new QPushButton(tr("&Open Output"))) {
  setObjectName(QStringLiteral("render-queue"));
  setWindowTitle(tr("Render Queue"));
  buildList();
  tellMnemonics(*this);
  resize(820, 460);
  changed_ = queue_.changed.add([this] { showRows(); });
  showRows();
}

void QueueWindow::buildList() {
  list_->setObjectName(QStringLiteral("queue-list"));
  list_->setAccessibleName(tr("Animations"));
  list_->setToolTip(tr("The animations in the order in which they are rendered"));
  list_->setHeaderLabels({tr("Output"), tr("Scene"), tr("State"), tr("Frames"), tr("Left")});
  list_->setRootIsDecorated(false);
  list_->setUniformRowHeights(true);
  list_->setAllColumnsShowFocus(true);
  list_->header()->resizeSection(Column::output, 260);
  list_->header()->resizeSection(Column::scene, 180);
  list_->header()->resizeSection(Column::state, 130);
  list_->header()->resizeSection(Column::frames, 110);
  connect(list_, &QTreeWidget::currentItemChanged, this, &QueueWindow::showChosen);
  connect(list_, &QTreeWidget::itemDoubleClicked, this, &QueueWindow::openOutput);
  picture_->setObjectName(QStringLiteral("queue-picture"));
  picture_->setAccessibleName(tr("Picture of the running frame"));
  picture_->setToolTip(tr("The frame that is being rendered, or the last one"));
  picture_->setFixedSize(pictureWidth, pictureHeight);
  picture_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  state_->setObjectName(QStringLiteral("queue-state"));
  state_->setWordWrap(true);
  state_->setTextFormat(Qt::PlainText);
  state_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  message_->setObjectName(QStringLiteral("queue-message"));
  message_->setWordWrap(true);
  setRole(message_, "dim");
  auto* words = new QVBoxLayout;
  words->addWidget(state_);
  words->addWidget(message_);
  words->addStretch(1);
  auto* below = new QHBoxLayout;
  below->setSpacing(12);
  below->addWidget(picture_);
  below->addLayout(words, 1);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(12, 12, 12, 12);
  layout->setSpacing(10);
  layout->addWidget(list_, 1);
  layout->addLayout(below);
  buildButtons(*layout);
}

void QueueWindow::buildButtons(QBoxLayout& layout) {
  const struct {
    QPushButton* button;
    const char* name;
    QString tip;
  } all[] = {
      {pause_, "queue-pause", tr("Halts the render, which keeps its memory, and starts nothing (Alt+P)")},
      {cancel_, "queue-cancel", tr("Ends the animation. Finished pictures stay (Alt+C)")},
      {again_, "queue-again",
       tr("Renders it again. Finished pictures are kept, a movie is replaced (Alt+G)")},
      {up_, "queue-up", tr("Renders it before the animation above it (Alt+U)")},
      {remove_, "queue-remove", tr("Takes it out of the queue. Its output stays (Alt+R)")},
      {clear_, "queue-clear", tr("Takes all that are over out of the queue (Alt+F)")},
      {folder_, "queue-folder", tr("Opens the folder of the output (Alt+L)")},
      {open_, "queue-open", tr("Opens the last picture in the Frame Buffer, a movie in the player (Alt+O)")}};
  auto* buttons = new QHBoxLayout;
  for (const auto& one : all) {
    one.button->setObjectName(QLatin1String(one.name));
    one.button->setToolTip(one.tip);
    one.button->setAutoDefault(false);
    buttons->addWidget(one.button);
    if (one.button == clear_) buttons->addStretch(1);
  }
  connect(pause_, &QPushButton::clicked, this, [this] { queue_.pause(!queue_.isPaused()); });
  connect(cancel_, &QPushButton::clicked, this, [this] { queue_.cancel(chosen()); });
  connect(again_, &QPushButton::clicked, this, [this] { queue_.retry(chosen()); });
  connect(up_, &QPushButton::clicked, this, [this] { queue_.moveUp(chosen()); });
  connect(remove_, &QPushButton::clicked, this, [this] { queue_.remove(chosen()); });
  connect(clear_, &QPushButton::clicked, this, [this] { queue_.removeAllOver(); });
  connect(folder_, &QPushButton::clicked, this, [this] {
    if (const QueueRow* row = queue_.row(chosen()))
      emit fileWanted(QFileInfo(QString::fromStdString(row->order.output)).absolutePath());
  });
  connect(open_, &QPushButton::clicked, this, &QueueWindow::openOutput);
  layout.addLayout(buttons);
}

int QueueWindow::chosen() const {
  const QTreeWidgetItem* item = list_->currentItem();
  return item ? item->data(0, idRole).toInt() : 0;
}

void QueueWindow::selectNewest() {
  if (const int count = list_->topLevelItemCount(); count > 0)
    list_->setCurrentItem(list_->topLevelItem(count - 1));
}

void QueueWindow::showRow(QTreeWidgetItem& item, const QueueRow& row) {
  const QString file = QString::fromStdString(row.order.output);
  item.setData(0, idRole, row.id);
  item.setText(Column::output, QFileInfo(file).fileName());
  item.setToolTip(Column::output, file.toHtmlEscaped());
  item.setText(Column::scene, QString::fromStdString(row.scene));
  item.setToolTip(Column::scene, QString::fromStdString(row.scene).toHtmlEscaped());
  item.setText(Column::state, stateText(row, queue_.isPaused()));
  item.setToolTip(Column::state, QString::fromStdString(row.problem).toHtmlEscaped());
  item.setText(Column::frames, framesText(row));
  const auto seconds = queue_.isPaused() ? std::nullopt : row.secondsLeft();
  item.setText(Column::left, seconds ? roughTime(*seconds) : QString());
}

void QueueWindow::showRows() {
  const int old = chosen();
  filling_ = true;
  const auto& rows = queue_.rows();
  const int count = static_cast<int>(rows.size());
  while (list_->topLevelItemCount() > count)
    delete list_->takeTopLevelItem(list_->topLevelItemCount() - 1);
  QTreeWidgetItem* current = nullptr;
  for (int index = 0; index < count; ++index) {
    const QueueRow& row = rows[static_cast<std::size_t>(index)];
    QTreeWidgetItem* item = list_->topLevelItem(index);
    if (!item) item = new QTreeWidgetItem(list_);
    showRow(*item, row);
    if (row.id == old) current = item;
  }
  if (!current) {
    const auto renders =
        std::find_if(rows.begin(), rows.end(), [](const QueueRow& row) { return !row.isOver(); });
    current =
        list_->topLevelItem(renders == rows.end() ? count - 1 : static_cast<int>(renders - rows.begin()));
  }
  if (list_->currentItem() != current) list_->setCurrentItem(current);
  filling_ = false;
  showChosen();
}

void QueueWindow::showChosen() {
  if (filling_) return;
  const QueueRow* row = queue_.row(chosen());
  const bool waits = row && row->state == QueueState::waiting;
  pause_->setText(queue_.isPaused() ? tr("Res&ume") : tr("&Pause"));
  pause_->setToolTip(queue_.isPaused()
                         ? tr("Goes on with the queue (Alt+U)")
                         : tr("Halts the render, which keeps its memory, and starts nothing (Alt+P)"));
  pause_->setEnabled(queue_.problem().empty());
  cancel_->setEnabled(row && !row->isOver());
  again_->setEnabled(row && row->isOver());
  const auto& rows = queue_.rows();
  const auto index = row ? static_cast<std::size_t>(row - rows.data()) : 0;
  up_->setEnabled(waits && index > 0 && rows[index - 1].state == QueueState::waiting);
  remove_->setEnabled(row && row->state != QueueState::rendering);
  clear_->setEnabled(std::any_of(rows.begin(), rows.end(), [](const QueueRow& one) { return one.isOver(); }));
  folder_->setEnabled(row != nullptr);
  open_->setEnabled(row && (row->state == QueueState::done || row->part > 0));
  setRole(state_, row && row->state == QueueState::failed ? "error" : "plain");
  if (!queue_.problem().empty())
    state_->setText(QString::fromStdString(queue_.problem()));
  else
    state_->setText(row ? sentence(*row) : tr("Nothing is queued: Render > Render Animation."));
  message_->setText(queue_.isPaused() && queue_.left() > 0
                        ? tr("The queue is paused. Animations left: %1").arg(queue_.left())
                        : QString());
  const ThumbnailPtr picture = row ? row->picture : nullptr;
  if (picture == shown_) return;
  shown_ = picture;
  const qreal ratio = devicePixelRatioF();
  QPixmap pixmap = QPixmap::fromImage(
      thumbnailImage(picture).scaled(QSizeF(pictureWidth * ratio, pictureHeight * ratio).toSize(),
                                     Qt::KeepAspectRatio, Qt::SmoothTransformation));
  pixmap.setDevicePixelRatio(ratio);
  picture_->setPixmap(picture ? pixmap : QPixmap());
}

void QueueWindow::openOutput() {
  const QueueRow* row = queue_.row(chosen());
  if (!row || !open_->isEnabled()) return;
  const QString file = QString::fromStdString(row->order.output);
  if (farm::outputKind(row->order.output).movie) return emit fileWanted(file);
  // The picture of the last frame, by its number at the place of the # or behind the name.
  const QFileInfo info(file);
  QString stem = info.completeBaseName();
  const qsizetype end = stem.lastIndexOf(QLatin1Char('#'));
  qsizetype start = end;
  while (start > 0 && stem[start - 1] == QLatin1Char('#'))
    --start;
  const int digits = end < 0 ? 4 : static_cast<int>(end - start + 1);
  const QString number = QStringLiteral("%1").arg(row->frame, digits, 10, QLatin1Char('0'));
  stem = end < 0 ? stem + number : stem.replace(start, digits, number);
  const QString picture = info.absolutePath() + QLatin1Char('/') + stem + QLatin1Char('.') + info.suffix();
  if (QFileInfo::exists(picture))
    emit picturesWanted({picture});
  else
    emit fileWanted(info.absolutePath());
}

} // namespace host
