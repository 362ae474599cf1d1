#include "command_palette.h"

#include "theme.h"

namespace host {

namespace {
constexpr QSize wanted(620, 420); // as far as the parent has room
}

CommandPalette::CommandPalette(std::vector<MenuEntryRow> rows, QWidget* parent)
    : QFrame(parent, Qt::Popup), rows_(std::move(rows)), search_(new QLineEdit), list_(new QTreeWidget) {
  setObjectName(QStringLiteral("palette"));
  setWindowTitle(tr("Search Commands"));
  setAccessibleName(windowTitle());
  setAttribute(Qt::WA_DeleteOnClose);
  setFrameShape(QFrame::StyledPanel);

  search_->setObjectName(QStringLiteral("palette-search"));
  search_->setAccessibleName(tr("Search"));
  search_->setPlaceholderText(tr("Search commands"));
  search_->setToolTip(
      tr("A few letters of a command or of its menu. Up and Down choose, Enter runs, Esc closes."));
  search_->installEventFilter(this);
  connect(search_, &QLineEdit::textChanged, this, &CommandPalette::show_);

  list_->setObjectName(QStringLiteral("palette-list"));
  list_->setAccessibleName(tr("Commands"));
  list_->setToolTip(tr("Runs the command (Enter)"));
  list_->setColumnCount(3);
  list_->setHeaderHidden(true);
  list_->setRootIsDecorated(false);
  list_->setUniformRowHeights(true);
  list_->setFocusPolicy(Qt::NoFocus); // typing goes on
  list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  list_->header()->setStretchLastSection(false);
  list_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  list_->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  list_->header()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
  connect(list_, &QTreeWidget::itemClicked, this, &CommandPalette::runItem);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(metrics::groupSpace, metrics::groupSpace, metrics::groupSpace,
                             metrics::groupSpace);
  layout->setSpacing(metrics::groupSpace);
  layout->addWidget(search_);
  layout->addWidget(list_, 1);
  setFocusProxy(search_);
  show_({});
}

void CommandPalette::present() {
  const QWidget& over = *parentWidget();
  resize(wanted.boundedTo(over.size() - QSize(40, 40)));
  move(over.mapToGlobal(QPoint((over.width() - width()) / 2, std::min(80, over.height() / 8))));
  show();
  search_->setFocus();
}

void CommandPalette::show_(const QString& typed) {
  shown_ = searchEntries(rows_, typed);
  list_->clear();
  for (const MenuEntryRow& row : shown_) {
    auto* item = new QTreeWidgetItem(list_, {row.text, row.path, row.key});
    item->setForeground(1, row.enabled ? tokens().dim : tokens().disabled);
    if (!row.enabled) item->setForeground(0, tokens().disabled);
    item->setForeground(2, row.enabled ? tokens().dim : tokens().disabled);
    item->setToolTip(0, row.enabled ? row.path + QStringLiteral(" > ") + row.text
                                    : tr("%1 cannot be used now").arg(row.text));
  }
  if (QTreeWidgetItem* first = list_->topLevelItem(0)) list_->setCurrentItem(first);
}

void CommandPalette::move_(int by) {
  const int count = list_->topLevelItemCount();
  if (count == 0) return;
  const int row = std::clamp(list_->indexOfTopLevelItem(list_->currentItem()) + by, 0, count - 1);
  list_->setCurrentItem(list_->topLevelItem(row));
}

// The command may open a window, so the popup is gone before.
void CommandPalette::runItem(QTreeWidgetItem* item) {
  const int row = item ? list_->indexOfTopLevelItem(item) : -1;
  if (row < 0 || row >= static_cast<int>(shown_.size())) return;
  const MenuEntryRow& chosen = shown_[static_cast<std::size_t>(row)];
  if (!chosen.enabled || !chosen.action) return;
  QTimer::singleShot(0, chosen.action, &QAction::trigger);
  close();
}

bool CommandPalette::eventFilter(QObject* watched, QEvent* event) {
  if (watched == search_ && event->type() == QEvent::KeyPress) {
    switch (static_cast<QKeyEvent*>(event)->key()) {
    case Qt::Key_Up:
      return move_(-1), true;
    case Qt::Key_Down:
      return move_(1), true;
    case Qt::Key_PageUp:
      return move_(-10), true;
    case Qt::Key_PageDown:
      return move_(10), true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      return runItem(list_->currentItem()), true;
    case Qt::Key_Escape:
      return close(), true;
    default:
      break;
    }
  }
  return QFrame::eventFilter(watched, event);
}

} // namespace host
