#include "object_manager_tree.h"

#include "icons.h"
#include "scene_edits.h"
#include "theme.h"

namespace host {

// --- rows ---

void ObjectDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                           const QModelIndex& index) const {
  if (index.column() == ObjectModel::nameColumn) return QStyledItemDelegate::paint(painter, option, index);
  QStyleOptionViewItem row = option;
  initStyleOption(&row, index);
  row.features &= ~QStyleOptionViewItem::HasCheckIndicator;
  const QStyle* style = row.widget ? row.widget->style() : QApplication::style();
  style->drawControl(QStyle::CE_ItemViewItem, &row, painter, row.widget);

  const Tokens& t = tokens();
  const bool on = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
  const bool hidden = index.data(ObjectModel::hiddenRole).toBool();
  const bool editor = index.column() == ObjectModel::editorColumn;
  const QString name = !on      ? QStringLiteral("dot")
                       : editor ? QStringLiteral("eye")
                                : QStringLiteral("render");
  const QColor color = !on || hidden ? t.disabled : t.text;
  const QPixmap pixmap = iconPixmap(name, metrics::icon, color, painter->device()->devicePixelRatio());
  painter->drawPixmap(option.rect.center() - QPoint(metrics::icon / 2 - 1, metrics::icon / 2 - 1), pixmap);
}

// An unfolded row's icon must not show as switched on.
void ObjectDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
  QStyledItemDelegate::initStyleOption(option, index);
  option->state &= ~QStyle::State_Open;
}

QSize ObjectDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
  return {QStyledItemDelegate::sizeHint(option, index).width(), metrics::control};
}

// --- the tree ---

ObjectTree::ObjectTree(Session& session, ObjectModel& model, QWidget* parent)
    : QTreeView(parent), session_(session), model_(model) {
  setModel(&model_);
  setItemDelegate(new ObjectDelegate(this));
  setUniformRowHeights(true);
  setSelectionMode(ExtendedSelection);
  setSelectionBehavior(SelectRows);
  setEditTriggers(EditKeyPressed);
  setExpandsOnDoubleClick(false);
  setIndentation(16);
  setDragEnabled(true);
  setAcceptDrops(true);
  setDragDropMode(DragDrop);
  setDefaultDropAction(Qt::MoveAction);
  setAutoExpandDelay(700);
  setAllColumnsShowFocus(true);
  setHorizontalScrollMode(ScrollPerPixel);
  setTextElideMode(Qt::ElideRight);
  setContextMenuPolicy(Qt::NoContextMenu); // the manager has the menu
  header()->setStretchLastSection(false);
  header()->setMinimumSectionSize(metrics::control);
  header()->setSectionResizeMode(ObjectModel::nameColumn, QHeaderView::Stretch);
  for (const int column : {ObjectModel::editorColumn, ObjectModel::renderColumn}) {
    header()->setSectionResizeMode(column, QHeaderView::Fixed);
    header()->resizeSection(column, metrics::control + 4);
  }
  header()->setSectionsMovable(false);
  header()->setSectionsClickable(false);
}

bool ObjectTree::isSwitch(const QModelIndex& index) const {
  return index.isValid() && index.column() != ObjectModel::nameColumn;
}

void ObjectTree::mousePressEvent(QMouseEvent* event) {
  const QModelIndex index = indexAt(event->position().toPoint());
  if (event->button() != Qt::LeftButton || !isSwitch(index)) return QTreeView::mousePressEvent(event);
  event->accept();
  endSweep();
  sweptColumn_ = index.column();
  sweptOn_ = index.data(Qt::CheckStateRole).toInt() != Qt::Checked;
  last_ = 0;
  session_.edits().begin(sweptOn_ ? "Show Objects" : "Hide Objects");
  sweep(index);
}

void ObjectTree::sweep(const QModelIndex& index) {
  const Identity object = model_.identityOf(index);
  if (object == 0 || object == last_) return;
  last_ = object;
  const QModelIndex swept = index.siblingAtColumn(sweptColumn_);
  if (!session_.edits().isContinuous()) return;
  model_.setData(swept, sweptOn_ ? Qt::Checked : Qt::Unchecked, Qt::CheckStateRole);
}

void ObjectTree::endSweep() {
  if (sweptColumn_ < 0) return;
  sweptColumn_ = -1;
  session_.edits().end();
}

void ObjectTree::mouseMoveEvent(QMouseEvent* event) {
  if (sweptColumn_ < 0) return QTreeView::mouseMoveEvent(event);
  if (event->buttons() & Qt::LeftButton)
    sweep(indexAt(QPoint(columnViewportPosition(sweptColumn_) + 2, event->position().toPoint().y())));
}

void ObjectTree::mouseReleaseEvent(QMouseEvent* event) {
  if (sweptColumn_ < 0) return QTreeView::mouseReleaseEvent(event);
  endSweep();
}

void ObjectTree::mouseDoubleClickEvent(QMouseEvent* event) {
  const QModelIndex index = indexAt(event->position().toPoint());
  if (isSwitch(index)) return mousePressEvent(event); // a second click of two
  if (!index.isValid() || event->button() != Qt::LeftButton) return QTreeView::mouseDoubleClickEvent(event);
  const QRect row = visualRect(index);
  if (event->position().x() < row.left() + metrics::icon + metrics::grid)
    emit iconDoubleClicked();
  else
    edit(index);
}

} // namespace host
