#include "recovery_dialog.h"

#include <QDateTime>
#include <algorithm>

#include "message_box.h"
#include "mnemonic_tips.h"
#include "qt_text.h"
#include "session.h"
#include "theme.h"

namespace host {

namespace {

QString sceneName(const AutosavedScene& scene) {
  return scene.original.Content() ? toQt(scene.original.GetFileString()) : RecoveryDialog::tr("Untitled");
}

QString changeWords(const std::vector<std::string>& changes) {
  constexpr std::size_t shown = 2;
  QStringList words;
  for (std::size_t i = 0; i < std::min(changes.size(), shown); ++i)
    words << QString::fromStdString(changes[i]);
  if (changes.size() > shown) words << RecoveryDialog::tr("%1 more").arg(changes.size() - shown);
  return words.join(QStringLiteral(", "));
}

QString allChanges(const std::vector<std::string>& changes) {
  QStringList lines;
  for (const std::string& change : changes)
    lines << QString::fromStdString(change).toHtmlEscaped();
  return QStringLiteral("<p style='white-space:pre'>") + lines.join(QLatin1Char('\n')) +
         QStringLiteral("</p>");
}

} // namespace

RecoveryDialog::RecoveryDialog(Session& session, QWidget* parent)
    : QDialog(parent), session_(session), list_(new QTreeWidget), recover_(new QPushButton(tr("&Recover"))),
      discard_(new QPushButton(tr("&Discard..."))) {
  setObjectName(QStringLiteral("recovery"));
  setWindowTitle(tr("Recover Scenes"));
  resize(620, 300);
  build();
  tellMnemonics(*this);
  refresh();
}

void RecoveryDialog::build() {
  list_->setObjectName(QStringLiteral("recovery-list"));
  list_->setAccessibleName(tr("Unsaved scenes"));
  list_->setToolTip(tr("Scenes that were kept by themselves. The newest stands first."));
  list_->setRootIsDecorated(false);
  list_->setUniformRowHeights(true);
  list_->setAllColumnsShowFocus(true);
  list_->setHeaderLabels({tr("Scene"), tr("Kept"), tr("Changes")});
  list_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
  list_->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  connect(list_, &QTreeWidget::itemSelectionChanged, this, &RecoveryDialog::showChoice);
  connect(list_, &QTreeWidget::itemDoubleClicked, this, &RecoveryDialog::recover);

  auto* later = new QPushButton(tr("&Later"));
  recover_->setObjectName(QStringLiteral("recovery-recover"));
  discard_->setObjectName(QStringLiteral("recovery-discard"));
  later->setObjectName(QStringLiteral("recovery-later"));
  recover_->setToolTip(tr("Opens the scene with its unsaved changes (Enter)"));
  discard_->setToolTip(tr("Deletes the kept scene for good"));
  later->setToolTip(tr("Leaves the list for File > Recover Scenes... (Esc)"));
  recover_->setDefault(true);
  for (QPushButton* button : {discard_, later})
    button->setAutoDefault(false);
  connect(recover_, &QPushButton::clicked, this, &RecoveryDialog::recover);
  connect(discard_, &QPushButton::clicked, this, &RecoveryDialog::discard);
  connect(later, &QPushButton::clicked, this, &QDialog::reject);

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(discard_);
  buttons->addStretch(1);
  buttons->addWidget(later);
  buttons->addWidget(recover_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(12, 12, 12, 12);
  layout->setSpacing(metrics::groupSpace);
  auto* words = new QLabel(
      tr("Lumenara Studio ended without saving these scenes. Your own files are as you saved them."));
  words->setWordWrap(true);
  layout->addWidget(words);
  layout->addWidget(list_, 1);
  layout->addLayout(buttons);
}

bool RecoveryDialog::refresh() {
  scenes_ = session_.autosave().abandoned();
  list_->clear();
  for (const AutosavedScene& scene : scenes_) {
    const QString when =
        QLocale().toString(QDateTime::fromSecsSinceEpoch(scene.seconds), QLocale::ShortFormat);
    auto* item = new QTreeWidgetItem(list_, {sceneName(scene), when, changeWords(scene.changes)});
    item->setToolTip(0, toQt(scene.original.GetString()));
    item->setToolTip(2, allChanges(scene.changes));
  }
  if (QTreeWidgetItem* first = list_->topLevelItem(0)) list_->setCurrentItem(first);
  showChoice();
  return !scenes_.empty();
}

const AutosavedScene* RecoveryDialog::chosen() const {
  const int row = list_->indexOfTopLevelItem(list_->currentItem());
  return row >= 0 && row < static_cast<int>(scenes_.size()) ? &scenes_[static_cast<std::size_t>(row)]
                                                            : nullptr;
}

void RecoveryDialog::showChoice() {
  recover_->setEnabled(chosen() != nullptr);
  discard_->setEnabled(chosen() != nullptr);
}

void RecoveryDialog::recover() {
  const AutosavedScene* scene = chosen();
  if (!scene) return;
  if (session_.autosave().recover(*scene))
    accept();
  else
    refresh(); // another program may have taken it
}

void RecoveryDialog::discard() {
  const AutosavedScene* scene = chosen();
  if (!scene) return;
  const BoxText box{tr("Delete the unsaved changes of \"%1\"?").arg(sceneName(*scene)),
                    {},
                    tr("They cannot be brought back afterwards."),
                    {}};
  if (askChoice(this, box, {tr("Delete"), tr("Keep")}, 1) != 0) return;
  session_.autosave().discard(*scene);
  if (!refresh()) accept();
}

} // namespace host
