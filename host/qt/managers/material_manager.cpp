#include "material_manager.h"

#include "icons.h"
#include "key_table.h"
#include "material_manager_model.h"
#include "message_box.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "theme.h"

namespace host {

MaterialManager::MaterialManager(Session& session, QWidget* parent)
    : QWidget(parent), session_(session), model_(new MaterialModel(session, this)) {
  build();
  DocumentHub& hub = session_.hub();
  const auto soon = [this] {
    stale_ = true;
    if (isVisible()) refresh();
  };
  subscriptions_.push_back(hub.changed.add(soon));
  subscriptions_.push_back(hub.replaced.add([soon](Replacement) { soon(); }));
  refresh();
}

MaterialManager::~MaterialManager() = default;

void MaterialManager::build() {
  setObjectName(QStringLiteral("materialManager"));
  const auto button = [this](const char* name, const QString& tip, void (MaterialManager::*run)()) {
    auto* tool = new QToolButton(this);
    tool->setIcon(icon(QLatin1String(name)));
    tool->setToolTip(tip);
    tool->setAccessibleName(tip);
    tool->setFixedSize(metrics::control, metrics::control);
    connect(tool, &QToolButton::clicked, this, run);
    return tool;
  };
  new_ = button("plus", tr("New material"), &MaterialManager::createMaterial);
  assign_ = button("check", tr("Assign to the selected objects"), &MaterialManager::assignToSelection);
  delete_ = button("delete", tr("Delete material"), &MaterialManager::deleteSelected);

  list_ = new QListView(this);
  list_->setObjectName(QStringLiteral("materialList"));
  list_->setAccessibleName(tr("Materials"));
  list_->setToolTip(tr("The materials of the scene. Drag one onto an object to assign it."));
  list_->setModel(model_);
  list_->setViewMode(QListView::IconMode);
  list_->setMovement(QListView::Static);
  list_->setResizeMode(QListView::Adjust);
  list_->setUniformItemSizes(true);
  list_->setWordWrap(false);
  list_->setTextElideMode(Qt::ElideMiddle);
  list_->setIconSize({MaterialModel::thumbnailSize, MaterialModel::thumbnailSize});
  list_->setGridSize({MaterialModel::thumbnailSize + 16, MaterialModel::thumbnailSize + 32});
  list_->setSelectionMode(QAbstractItemView::SingleSelection);
  list_->setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::DoubleClicked);
  list_->setDragEnabled(true);
  list_->setDragDropMode(QAbstractItemView::DragOnly);
  list_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  list_->setContextMenuPolicy(Qt::NoContextMenu); // the manager has the menu
  list_->installEventFilter(this);
  connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { takeSelection(); });
  connect(list_, &QListView::clicked, this, &MaterialManager::clicked);

  auto* empty = new QLabel(tr("No materials yet.\n\nMake one with +, and drag it onto an object."), this);
  empty->setWordWrap(true);
  empty->setAlignment(Qt::AlignCenter);
  empty->setMargin(4 * metrics::grid);
  setRole(empty, "dim");
  stack_ = new QStackedWidget(this);
  stack_->addWidget(list_);
  stack_->addWidget(empty);

  auto* bar = new QHBoxLayout;
  bar->setSpacing(metrics::grid);
  bar->addWidget(new_);
  bar->addWidget(assign_);
  bar->addStretch(1);
  bar->addWidget(delete_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(metrics::grid, metrics::grid, metrics::grid, metrics::grid);
  layout->setSpacing(metrics::grid);
  layout->addLayout(bar);
  layout->addWidget(stack_, 1);
}

void MaterialManager::refresh() {
  stale_ = false;
  const bool was = std::exchange(settling_, true);
  model_->setPixelRatio(devicePixelRatioF());
  model_->refresh();
  showSelection();
  settling_ = was;
  stack_->setCurrentIndex(model_->rows().empty() ? 1 : 0);
  const bool any = selected() != 0;
  delete_->setEnabled(any);
  assign_->setEnabled(any && session_.document() && !selectedObjects(*session_.document()).empty());
}

void MaterialManager::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (stale_) refresh();
}

Identity MaterialManager::selected() const {
  return session_.document() ? selectedMaterial(*session_.document()) : 0;
}

void MaterialManager::takeSelection() {
  if (settling_ || !session_.document()) return;
  const QModelIndexList chosen = list_->selectionModel()->selectedIndexes();
  const Identity material = chosen.isEmpty() ? 0 : model_->identityOf(chosen.first());
  session_.edits().apply("Select",
                         [material](BaseDocument& document) { selectMaterial(document, material); });
}

void MaterialManager::showSelection() {
  const QModelIndex wanted = model_->indexOf(selected());
  QItemSelectionModel& selection = *list_->selectionModel();
  if (!wanted.isValid()) return selection.clearSelection();
  if (selection.isSelected(wanted)) return;
  selection.setCurrentIndex(wanted, QItemSelectionModel::ClearAndSelect);
  list_->scrollTo(wanted);
}

// --- commands ---

void MaterialManager::createMaterial() {
  session_.edits().apply("New Material", [](BaseDocument& document) { newMaterial(document); });
}

void MaterialManager::duplicateSelected() {
  const Identity material = selected();
  if (material == 0) return;
  session_.edits().apply("Duplicate Material",
                         [material](BaseDocument& document) { duplicateMaterial(document, material); });
}

void MaterialManager::deleteSelected() {
  const Identity material = selected();
  if (material == 0) return;
  session_.edits().apply("Delete Material",
                         [material](BaseDocument& document) { deleteMaterial(document, material); });
}

void MaterialManager::renameSelected() {
  if (stale_) refresh();
  const QModelIndex index = model_->indexOf(selected());
  if (!index.isValid()) return;
  list_->setFocus();
  list_->setCurrentIndex(index);
  list_->edit(index);
}

void MaterialManager::copySelected() {
  const Identity material = selected();
  if (material == 0) return;
  std::string error;
  const std::string text = materialText(*session_.document(), material, error);
  if (text.empty()) return showError(this, {tr("The material was not copied."), toQt(String(error)), {}, {}});
  QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

void MaterialManager::paste() {
  if (!session_.document()) return;
  const std::string text = QGuiApplication::clipboard()->text().toStdString();
  std::string error;
  session_.edits().apply("Paste Material",
                         [&](BaseDocument& document) { pasteMaterials(document, text, error); });
  if (!error.empty()) showError(this, {tr("Nothing was pasted."), toQt(String(error)), {}, {}});
}

void MaterialManager::keepSelected() {
  if (selected() == 0) return;
  session_.materialLibrary().keep(
      *session_.document(), selected(), [self = QPointer(this)](const std::string& error) {
        if (self && !error.empty())
          showError(self, {tr("The material was not kept."), toQt(String(error)), {}, {}});
      });
}

void MaterialManager::assignToSelection() {
  const Identity material = selected();
  if (material == 0) return;
  session_.edits().apply("Assign Material", [material](BaseDocument& document) {
    assignMaterial(document, selectedObjects(document), material);
  });
}

void MaterialManager::selectUsers() {
  const Identity material = selected();
  if (material == 0 || !session_.document()) return;
  Identities users;
  for (const ObjectRow& row : objectRows(*session_.document()))
    for (const Identity shown : row.materials)
      if (shown == material) users.push_back(row.identity);
  session_.edits().apply("Select", [&](BaseDocument& document) { selectObjects(document, users); });
}

void MaterialManager::contextMenuEvent(QContextMenuEvent* event) {
  const bool any = selected() != 0;
  QMenu menu(this);
  const auto add = [&](const char* name, const QString& text, const QKeySequence& key, bool enabled,
                       void (MaterialManager::*run)()) {
    QAction* action = menu.addAction(icon(QLatin1String(name)), text);
    action->setShortcut(key);
    action->setEnabled(enabled);
    connect(action, &QAction::triggered, this, run);
  };
  add("plus", tr("&New Material"), {}, true, &MaterialManager::createMaterial);
  menu.addSeparator();
  add("check", tr("&Assign to Selection"), {}, assign_->isEnabled(), &MaterialManager::assignToSelection);
  add("object-polygon", tr("&Select Objects With It"), {}, any, &MaterialManager::selectUsers);
  menu.addSeparator();
  add("rename", tr("&Rename"), commandKey(*this, "edit.rename", Qt::Key_F2), any,
      &MaterialManager::renameSelected);
  add("copy", tr("&Copy"), QKeySequence::Copy, any, &MaterialManager::copySelected);
  add("plus", tr("&Paste"), QKeySequence::Paste, true, &MaterialManager::paste);
  add("duplicate", tr("D&uplicate"), {}, any, &MaterialManager::duplicateSelected);
  add("star", tr("&Keep in Library"), {}, any, &MaterialManager::keepSelected);
  add("delete", tr("&Delete"), commandKey(*this, "edit.delete", Qt::Key_Delete), any,
      &MaterialManager::deleteSelected);
  menu.exec(event->globalPos());
}

// The keys of the main window's commands, also for use without it.
bool MaterialManager::eventFilter(QObject* watched, QEvent* event) {
  if (watched != list_ || event->type() != QEvent::KeyPress) return QWidget::eventFilter(watched, event);
  const auto* key = static_cast<QKeyEvent*>(event);
  if (pressesCommand(*this, *key, "edit.rename", Qt::Key_F2)) return renameSelected(), true;
  if (pressesCommand(*this, *key, "edit.delete", Qt::Key_Delete)) return deleteSelected(), true;
  if (key->matches(QKeySequence::Copy)) return copySelected(), true;
  if (key->matches(QKeySequence::Paste)) return paste(), true;
  return QWidget::eventFilter(watched, event);
}

} // namespace host
