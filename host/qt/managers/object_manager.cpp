#include "object_manager.h"

#include <algorithm>

#include "icons.h"
#include "key_table.h"
#include "object_manager_tree.h"
#include "object_model.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "theme.h"

namespace host {

namespace {

constexpr int mostShownAtOnce = 400;  // rows that a new document opens with everything unfolded
constexpr int mostFoundAtOnce = 5000; // rows of a search that are unfolded

QLabel* makeTeachingLabel(QWidget* parent) {
  auto* label = new QLabel(parent);
  label->setWordWrap(true);
  label->setAlignment(Qt::AlignCenter);
  label->setMargin(4 * metrics::grid);
  setRole(label, "dim");
  return label;
}

// Paths of the objects by name, which outlive a reload of the document.
std::vector<std::string> pathsOf(const std::vector<ObjectRow>& rows) {
  std::unordered_map<Identity, std::string> paths;
  std::unordered_map<std::string, int> taken;
  std::vector<std::string> result;
  for (const ObjectRow& row : rows) {
    const std::string plain = paths[row.parent] + '\n' + row.name.GetUTF8();
    std::string path = plain + '\t' + std::to_string(taken[plain]++);
    paths[row.identity] = path;
    result.push_back(std::move(path));
  }
  return result;
}

} // namespace

ObjectManager::ObjectManager(Session& session, QWidget* parent)
    : QWidget(parent), session_(session), model_(new ObjectModel(session, this)) {
  build();
  soon_.setSingleShot(true);
  connect(&soon_, &QTimer::timeout, this, &ObjectManager::refresh);
  DocumentHub& hub = session_.hub();
  subscriptions_.push_back(hub.changed.add([this] { refreshSoon(); }));
  subscriptions_.push_back(hub.replaced.add([this](Replacement why) { documentReplaced(why); }));
  refresh();
}

ObjectManager::~ObjectManager() = default;

void ObjectManager::build() {
  setObjectName(QStringLiteral("objectManager"));
  setMinimumWidth(150); // names can be read
  search_ = new QLineEdit(this);
  search_->setObjectName(QStringLiteral("objectSearch"));
  search_->setPlaceholderText(tr("Search"));
  search_->setAccessibleName(tr("Search objects"));
  search_->setToolTip(tr("A part of an object's name. Down goes to the list, Esc clears the search."));
  search_->setClearButtonEnabled(true);
  search_->addAction(icon(QStringLiteral("search")), QLineEdit::LeadingPosition);
  search_->installEventFilter(this);
  connect(search_, &QLineEdit::textChanged, this, &ObjectManager::setFilter);

  auto* tree = new ObjectTree(session_, *model_, this);
  tree_ = tree;
  tree_->setObjectName(QStringLiteral("objectTree"));
  tree_->setAccessibleName(tr("Objects"));
  tree_->setToolTip(tr("The objects of the scene. Drag one to put it into another."));
  tree_->installEventFilter(this);
  empty_ = makeTeachingLabel(this);
  stack_ = new QStackedWidget(this);
  stack_->addWidget(tree_);
  stack_->addWidget(empty_);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(metrics::grid, metrics::grid, metrics::grid, metrics::grid);
  layout->setSpacing(metrics::grid);
  layout->addWidget(search_);
  layout->addWidget(stack_, 1);

  connect(tree, &ObjectTree::iconDoubleClicked, this, &ObjectManager::frameSelectedWanted);
  connect(tree_->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { takeSelection(); });
  connect(tree_, &QTreeView::clicked, this, &ObjectManager::clicked);
  connect(tree_, &QTreeView::expanded, this, [this](const QModelIndex& index) {
    if (!settling_ && model_->filter().isEmpty()) expanded_.insert(model_->identityOf(index));
  });
  connect(tree_, &QTreeView::collapsed, this, [this](const QModelIndex& index) {
    if (!settling_ && model_->filter().isEmpty()) expanded_.erase(model_->identityOf(index));
  });
  connect(model_, &QAbstractItemModel::modelReset, this, [this] { unfold({}); });
  connect(model_, &QAbstractItemModel::rowsInserted, this,
          [this](const QModelIndex& above, int first, int last) {
            for (int row = first; row <= last; ++row)
              unfold(model_->index(row, 0, above));
          });
}

// --- following the document ---

// Large documents that change all the time are read less often.
void ObjectManager::refreshSoon() {
  constexpr qint64 quick = 16, longest = 500;
  stale_ = true;
  if (!isVisible() || soon_.isActive()) return;
  soon_.start(cost_ <= quick ? 0 : static_cast<int>(std::min(3 * cost_, longest)));
}

void ObjectManager::refresh() {
  QElapsedTimer timer;
  timer.start();
  soon_.stop();
  stale_ = false;
  settling_ = true;
  model_->refresh();
  if (newDocument_) {
    newDocument_ = false;
    unfoldDocument();
  }
  showSelection();
  settling_ = false;
  showEmptyState();
  cost_ = timer.elapsed();
}

// The rows still describe the tree before the reload: rows that were unfolded unfold again.
void ObjectManager::documentReplaced(Replacement why) {
  unfoldedPaths_.clear();
  if (why == Replacement::reloaded && !newDocument_) {
    const std::vector<ObjectRow>& rows = model_->rows();
    const std::vector<std::string> paths = pathsOf(rows);
    for (std::size_t i = 0; i < rows.size(); ++i)
      if (expanded_.contains(rows[i].identity)) unfoldedPaths_.insert(paths[i]);
  }
  wasReloaded_ = why == Replacement::reloaded;
  newDocument_ = true;
  expanded_.clear();
  scrollToSelection_ = true;
  refreshSoon();
}

void ObjectManager::unfoldDocument() {
  const std::vector<ObjectRow>& rows = model_->rows();
  const std::vector<std::string> paths = wasReloaded_ ? pathsOf(rows) : std::vector<std::string>();
  const bool all = !wasReloaded_ && rows.size() <= mostShownAtOnce;
  for (std::size_t i = 0; i < rows.size(); ++i)
    if (rows[i].hasChildren && (all || (wasReloaded_ && unfoldedPaths_.contains(paths[i]))))
      expanded_.insert(rows[i].identity);
  unfoldedPaths_.clear();
  unfold({});
}

// Unfolds the rows below a row that were unfolded before; below an invalid index, everywhere. A search
// unfolds its results.
void ObjectManager::unfold(const QModelIndex& above) {
  const bool was = std::exchange(settling_, true);
  if (!model_->filter().isEmpty()) {
    if (model_->shownCount() <= mostFoundAtOnce) tree_->expandAll();
  } else if (above.isValid()) {
    unfoldBelow(above);
  } else {
    for (const Identity identity : expanded_)
      if (const QModelIndex index = model_->indexOf(identity); index.isValid())
        tree_->setExpanded(index, true);
  }
  settling_ = was;
}

void ObjectManager::unfoldBelow(const QModelIndex& index) {
  if (expanded_.contains(model_->identityOf(index))) tree_->setExpanded(index, true);
  for (int row = 0; row < model_->rowCount(index); ++row)
    unfoldBelow(model_->index(row, 0, index));
}

void ObjectManager::setFilter(const QString& text) {
  settling_ = true;
  model_->setFilter(text.trimmed());
  showSelection();
  settling_ = false;
  showEmptyState();
}

void ObjectManager::showEmptyState() {
  const bool searching = !model_->filter().isEmpty();
  if (searching)
    empty_->setText(tr("No object is called \"%1\".").arg(model_->filter()));
  else
    empty_->setText(tr("No objects yet.\n\nDrop a glTF file on the window, or make a light or a camera with "
                       "Edit > Add."));
  stack_->setCurrentWidget(model_->shownCount() > 0 ? static_cast<QWidget*>(tree_) : empty_);
}

void ObjectManager::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (stale_) refresh();
}

// --- selection ---

void ObjectManager::takeSelection() {
  if (settling_ || !session_.document()) return;
  std::vector<Identity> objects;
  for (const QItemSelectionRange& range : tree_->selectionModel()->selection())
    for (int row = range.top(); row <= range.bottom(); ++row)
      objects.push_back(model_->identityOf(model_->index(row, 0, range.parent())));
  scrollToSelection_ = false;
  session_.edits().apply("Select", [&](BaseDocument& document) { selectObjects(document, objects); });
}

// Selects the document's selected rows; scrolls to the first when it was selected elsewhere.
void ObjectManager::showSelection() {
  QItemSelection wanted;
  QModelIndex first, from, to;
  const auto add = [&] {
    if (from.isValid()) wanted.select(from, to);
  };
  for (const ObjectRow& row : model_->rows()) {
    if (!row.selected) continue;
    const QModelIndex index = model_->indexOf(row.identity);
    if (!index.isValid()) continue;
    if (!first.isValid()) first = index;
    if (to.isValid() && index.parent() == to.parent() && index.row() == to.row() + 1) {
      to = index;
      continue;
    }
    add();
    from = to = index;
  }
  add();
  QItemSelectionModel& selection = *tree_->selectionModel();
  const QItemSelection present = selection.selection();
  QItemSelection rest = wanted;
  rest.merge(present, QItemSelectionModel::Deselect);
  QItemSelection more = present;
  more.merge(wanted, QItemSelectionModel::Deselect);
  const bool differs = !rest.isEmpty() || !more.isEmpty();
  if (differs) {
    selection.select(wanted, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    if (first.isValid()) selection.setCurrentIndex(first, QItemSelectionModel::NoUpdate);
  }
  if (first.isValid() && scrollToSelection_) tree_->scrollTo(first);
  scrollToSelection_ = true;
}

// --- commands ---

void ObjectManager::deleteSelected() {
  session_.edits().apply("Delete",
                         [](BaseDocument& document) { deleteObjects(document, selectedObjects(document)); });
}

void ObjectManager::duplicateSelected() {
  session_.edits().apply(
      "Duplicate", [](BaseDocument& document) { duplicateObjects(document, selectedObjects(document)); });
}

void ObjectManager::groupSelected() {
  session_.edits().apply("Group",
                         [](BaseDocument& document) { groupObjects(document, selectedObjects(document)); });
}

void ObjectManager::renameSelected() {
  if (stale_) refresh();
  QModelIndex index = tree_->currentIndex();
  if (!index.isValid() || !tree_->selectionModel()->isSelected(index)) {
    const QModelIndexList rows = tree_->selectionModel()->selectedRows();
    if (rows.isEmpty()) return;
    index = rows.first();
  }
  index = index.siblingAtColumn(ObjectModel::nameColumn);
  tree_->setFocus();
  tree_->scrollTo(index);
  tree_->setCurrentIndex(index);
  tree_->edit(index);
}

void ObjectManager::expandAll() {
  tree_->expandAll();
  for (const ObjectRow& row : model_->rows())
    if (row.hasChildren) expanded_.insert(row.identity);
}

void ObjectManager::collapseAll() {
  tree_->collapseAll();
  expanded_.clear();
}

void ObjectManager::contextMenuEvent(QContextMenuEvent* event) {
  const bool any = session_.document() && !selectedObjects(*session_.document()).empty();
  QMenu menu(this);
  const auto add = [&](const char* name, const QString& text, const QKeySequence& key, bool enabled,
                       auto run) {
    QAction* action = menu.addAction(icon(QLatin1String(name)), text);
    action->setShortcut(key);
    action->setEnabled(enabled);
    connect(action, &QAction::triggered, this, run);
  };
  add("frame-selected", tr("&Frame Selected"), commandKey(*this, "view.frame-selected", Qt::Key_S), any,
      [this] { emit frameSelectedWanted(); });
  menu.addSeparator();
  add("rename", tr("&Rename"), commandKey(*this, "edit.rename", Qt::Key_F2), any,
      [this] { renameSelected(); });
  add("duplicate", tr("D&uplicate"), commandKey(*this, "edit.duplicate", Qt::CTRL | Qt::Key_D), any,
      [this] { duplicateSelected(); });
  add("object-group", tr("&Group"), commandKey(*this, "edit.group", Qt::CTRL | Qt::Key_G), any,
      [this] { groupSelected(); });
  add("delete", tr("&Delete"), commandKey(*this, "edit.delete", Qt::Key_Delete), any,
      [this] { deleteSelected(); });
  menu.addSeparator();
  const bool rows = model_->shownCount() > 0;
  add("plus", tr("&Unfold All"), {}, rows, [this] { expandAll(); });
  add("minus", tr("F&old All"), {}, rows, [this] { collapseAll(); });
  menu.exec(event->globalPos());
}

// The keys of the main window's commands, also for use without it.
bool ObjectManager::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress) return QWidget::eventFilter(watched, event);
  const auto* key = static_cast<QKeyEvent*>(event);
  if (watched == search_ && key->key() == Qt::Key_Escape && !search_->text().isEmpty()) {
    search_->clear();
    return true;
  }
  if (watched == search_ && key->key() == Qt::Key_Down) {
    tree_->setFocus();
    return true;
  }
  if (watched != tree_) return QWidget::eventFilter(watched, event);
  if (pressesCommand(*this, *key, "edit.rename", Qt::Key_F2)) return renameSelected(), true;
  if (pressesCommand(*this, *key, "edit.delete", Qt::Key_Delete)) return deleteSelected(), true;
  return QWidget::eventFilter(watched, event);
}

} // namespace host
