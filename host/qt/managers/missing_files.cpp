#include "missing_files.h"

#include <algorithm>

#include "icons.h"
#include "message_box.h"
#include "qt_text.h"
#include "theme.h"
#include "user_interface.h"

namespace host {

namespace {

QString joined(const std::vector<std::string>& names) {
  QStringList words;
  for (const std::string& name : names)
    words << toQt(String(name));
  return words.join(QStringLiteral(", "));
}

} // namespace

MissingFiles::MissingFiles(Session& session, QWidget* parent)
    : QDialog(parent), session_(session), list_(new QTreeWidget), state_(new QLabel),
      locate_(new QPushButton(tr("&Locate..."))) {
  setObjectName(QStringLiteral("missingFiles"));
  setWindowTitle(tr("Missing Files"));
  resize(640, 320);
  build();
  const auto soon = [this] {
    stale_ = true;
    if (isVisible()) refresh();
  };
  subscriptions_.push_back(session_.hub().changed.add(soon));
  subscriptions_.push_back(session_.hub().replaced.add([soon](Replacement) { soon(); }));
}

MissingFiles::~MissingFiles() = default;

void MissingFiles::build() {
  list_->setObjectName(QStringLiteral("missingList"));
  list_->setAccessibleName(tr("Missing pictures"));
  list_->setToolTip(tr("Pictures that the scene names and that are not there"));
  list_->setRootIsDecorated(false);
  list_->setUniformRowHeights(true);
  list_->setAllColumnsShowFocus(true);
  list_->setHeaderLabels({tr("Picture"), tr("Used by"), tr("Looked for at")});
  list_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
  list_->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  connect(list_, &QTreeWidget::itemSelectionChanged, this, &MissingFiles::showChoice);
  connect(list_, &QTreeWidget::itemDoubleClicked, this, &MissingFiles::locate);
  auto* close = new QPushButton(tr("&Close"));
  locate_->setObjectName(QStringLiteral("missingLocate"));
  locate_->setToolTip(tr("Choose the file of this picture; the others are looked for in its folder and below "
                         "(Enter)"));
  locate_->setDefault(true);
  close->setAutoDefault(false);
  close->setToolTip(tr("Closes the list (Esc)"));
  connect(locate_, &QPushButton::clicked, this, &MissingFiles::locate);
  connect(close, &QPushButton::clicked, this, &QDialog::reject);
  state_->setWordWrap(true);
  state_->setObjectName(QStringLiteral("missingState"));
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(close);
  buttons->addWidget(locate_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(12, 12, 12, 12);
  layout->setSpacing(metrics::groupSpace);
  layout->addWidget(state_);
  layout->addWidget(list_, 1);
  layout->addLayout(buttons);
}

void MissingFiles::refresh() {
  stale_ = false;
  std::vector<MissingPicture> now =
      session_.document() ? missingPictures(*session_.document()) : std::vector<MissingPicture>();
  if (now == missing_ && list_->topLevelItemCount() == static_cast<int>(now.size()) && !now.empty()) return;
  missing_ = std::move(now);
  list_->clear();
  for (const MissingPicture& one : missing_) {
    auto* item =
        new QTreeWidgetItem(list_, {toQt(String(one.name)), joined(one.users), toQt(String(one.reference))});
    for (int column = 0; column < 3; ++column)
      item->setToolTip(column, item->text(column));
  }
  if (!missing_.empty()) list_->setCurrentItem(list_->topLevelItem(0));
  state_->setText(missing_.empty() ? tr("All files are there: the scene lacks no picture.")
                                   : tr("Locate one picture, and the others are looked for in its folder and "
                                        "below."));
  showChoice();
}

void MissingFiles::showChoice() {
  locate_->setEnabled(!session_.pictureLocator().isBusy() && !list_->selectedItems().isEmpty());
}

void MissingFiles::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (stale_) refresh();
}

void MissingFiles::locate() {
  const int row = list_->indexOfTopLevelItem(list_->currentItem());
  if (row < 0 || row >= static_cast<int>(missing_.size()) || !locate_->isEnabled()) return;
  const MissingPicture chosen = missing_[static_cast<std::size_t>(row)];
  const std::vector<MissingPicture> all = missing_;
  FileRequest request;
  request.type = FILESELECTTYPE_IMAGES;
  request.mode = FILESELECT_LOAD;
  request.title = String("Locate " + chosen.name);
  Filename file;
  if (!userInterface().selectFile(request, file)) return;
  session_.pictureLocator().locate(chosen, all, file,
                                   [self = QPointer(this)](const PictureLocator::Outcome& outcome) {
                                     if (self) self->take(outcome);
                                   });
  locate_->setEnabled(false);
  state_->setText(tr("Looking for the pictures..."));
}

void MissingFiles::take(const PictureLocator::Outcome& outcome) {
  refresh();
  showChoice();
  if (!outcome.error.empty()) {
    state_->setText(tr("Locate one picture, and the others are looked for in its folder and below."));
    return showError(this, {tr("The picture was not taken."), toQt(String(outcome.error)), {}, {}});
  }
  if (outcome.still.empty()) return;
  state_->setText(
      tr("%1 found, %2 not in that folder. Locate one of those that are left.")
          .arg(outcome.placed)
          .arg(outcome.still.size()) +
      (outcome.complete ? QString() : tr(" The folder holds too many files to look at all of them.")));
}

// --- notice ---

MissingNotice::MissingNotice(Session& session, QWidget* parent)
    : QFrame(parent), session_(session), words_(new QLabel) {
  setObjectName(QStringLiteral("missingNotice"));
  setRole(this, "panel");
  auto* mark = new QLabel;
  mark->setPixmap(
      iconPixmap(QStringLiteral("warning"), metrics::icon, tokens().warning, devicePixelRatioF()));
  words_->setObjectName(QStringLiteral("missingWords"));
  auto* list = new QPushButton(tr("Show List..."));
  list->setObjectName(QStringLiteral("missingShow"));
  list->setToolTip(tr("Lists the missing pictures (Edit > Missing Files...)"));
  list->setFocusPolicy(Qt::TabFocus);
  auto* close = new QToolButton;
  close->setIcon(icon(QStringLiteral("close")));
  close->setToolTip(tr("Hides this line"));
  close->setAccessibleName(tr("Hide"));
  close->setAutoRaise(true);
  connect(list, &QPushButton::clicked, this, &MissingNotice::listWanted);
  connect(close, &QToolButton::clicked, this, &QWidget::hide);
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(metrics::groupSpace, metrics::grid, metrics::groupSpace, metrics::grid);
  layout->setSpacing(metrics::groupSpace);
  layout->addWidget(mark);
  layout->addWidget(words_, 1);
  layout->addWidget(list);
  layout->addWidget(close);
  hide();
  subscriptions_.push_back(session_.hub().replaced.add(
      [this](Replacement why) { look(why == Replacement::opened || why == Replacement::reloaded); }));
  subscriptions_.push_back(session_.hub().changed.add([this] {
    if (isVisible()) look(false);
  }));
}

MissingNotice::~MissingNotice() = default;

void MissingNotice::look(bool opened) {
  const std::size_t count = session_.document() ? missingPictures(*session_.document()).size() : 0;
  words_->setText(count == 1 ? tr("A picture of this scene is missing.")
                             : tr("%1 pictures of this scene are missing.").arg(count));
  setVisible(count > 0 && (opened || isVisible()));
}

} // namespace host
