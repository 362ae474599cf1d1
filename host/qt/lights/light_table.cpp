#include "light_table.h"

#include <algorithm>
#include <array>
#include <utility>

#include "color_picker.h"
#include "icons.h"
#include "mnemonic_tips.h"
#include "number_field.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "theme.h"

namespace host {

namespace {

/// A press on a selected row keeps the selection, so that all of it can be edited.
class LightView : public QTreeView {
 protected:
  QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                       const QEvent* event) const override {
    const bool pressed =
        event && (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick ||
                  event->type() == QEvent::MouseButtonRelease || event->type() == QEvent::MouseMove);
    if (pressed && index.isValid() && static_cast<const QMouseEvent*>(event)->modifiers() == Qt::NoModifier &&
        selectionModel()->isSelected(index))
      return QItemSelectionModel::NoUpdate;
    return QTreeView::selectionCommand(index, event);
  }
};

} // namespace

// --- cells ---

LightCellDelegate::LightCellDelegate(Session& session, LightTableModel& model, QSortFilterProxyModel& sorted,
                                     QTreeView& view)
    : QStyledItemDelegate(&view), session_(session), model_(model), sorted_(sorted), view_(view) {
}

void LightCellDelegate::endDrag(bool cancelled) const {
  if (cancelled)
    session_.edits().cancel();
  else
    session_.edits().end();
}

QWidget* LightCellDelegate::numberEditor(QWidget* parent, const Attribute& attribute,
                                         const QPersistentModelIndex& cell) const {
  auto* number = new NumberField(parent);
  number->setRange(attribute.minimum, attribute.maximum);
  number->setDecimals(attribute.decimals);
  if (attribute.step > 0) number->setStep(attribute.step);
  const QString unit = QString::fromUtf8(attribute.unit);
  number->setSuffix(unit.isEmpty() || unit == QString(QChar(0xb0)) ? unit : QLatin1Char(' ') + unit);
  connect(number, &NumberField::valueChanged, this, [this, cell](double value) {
    if (cell.isValid()) model_.edit(cell, GeData(Real(value)));
  });
  connect(number, &NumberField::dragStarted, this,
          [this, name = String("Set ") + attribute.label] { session_.edits().begin(name); });
  connect(number, &NumberField::dragFinished, this, &LightCellDelegate::endDrag);
  return number;
}

QWidget* LightCellDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                         const QModelIndex& index) const {
  const QPersistentModelIndex cell = sorted_.mapToSource(index);
  const Attribute* attribute = model_.attributeAt(cell);
  if (!attribute) return nullptr;
  QWidget* editor = nullptr;
  if (attribute->kind == AttributeKind::real) {
    editor = numberEditor(parent, *attribute, cell);
  } else if (attribute->kind == AttributeKind::choice) {
    auto* combo = new QComboBox(parent);
    for (const std::string& choice : attribute->choices)
      combo->addItem(QString::fromStdString(choice));
    connect(combo, &QComboBox::activated, this, [this, combo, cell](int chosen) {
      if (cell.isValid()) model_.edit(cell, GeData(LONG(chosen)));
      emit const_cast<LightCellDelegate*>(this)->closeEditor(combo);
    });
    editor = combo;
  } else {
    editor = QStyledItemDelegate::createEditor(parent, option, index);
  }
  if (!editor) return nullptr;
  editor->setToolTip(index.data(Qt::ToolTipRole).toString());
  editor->setAccessibleName(QString::fromUtf8(attribute->label));
  return editor;
}

void LightCellDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
  const Attribute* attribute = model_.attributeAt(sorted_.mapToSource(index));
  if (!attribute) return;
  if (auto* number = qobject_cast<NumberField*>(editor))
    number->setValue(attribute->value.GetReal());
  else if (auto* combo = qobject_cast<QComboBox*>(editor))
    combo->setCurrentIndex(attribute->value.GetLong());
  else
    QStyledItemDelegate::setEditorData(editor, index);
}

void LightCellDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                     const QModelIndex& index) const {
  if (auto* number = qobject_cast<NumberField*>(editor))
    number->commit();
  else if (!qobject_cast<QComboBox*>(editor)) // has told its choice already
    QStyledItemDelegate::setModelData(editor, model, index);
}

void LightCellDelegate::pickColor(const QModelIndex& index) {
  const QPersistentModelIndex cell = sorted_.mapToSource(index);
  const Attribute* attribute = model_.attributeAt(cell);
  if (!attribute || attribute->kind != AttributeKind::color) return;
  const Attribute* name = model_.attributeAt(model_.index(cell.row(), static_cast<int>(LightColumn::name)));
  const QString title = name ? toQt(name->value.GetString()) : QString();
  ColorPicker* picker = ColorPicker::open(view_, title, attribute->value.GetVector(), attribute->maximum);
  picker->disconnect(this);
  connect(picker, &ColorPicker::dragStarted, this, [this] { session_.edits().begin("Set Color"); });
  connect(picker, &ColorPicker::changed, this, [this, cell](const Vector& linear) {
    if (cell.isValid()) model_.edit(cell, GeData(linear));
  });
  connect(picker, &ColorPicker::dragFinished, this, &LightCellDelegate::endDrag);
  connect(&model_, &QAbstractItemModel::dataChanged, picker, [this, cell, picker = QPointer(picker)] {
    const Attribute* now = cell.isValid() ? model_.attributeAt(cell) : nullptr;
    if (picker && now) picker->setColor(now->value.GetVector());
  });
}

// --- window ---

LightTable::LightTable(Session& session, QWidget* parent)
    : QDialog(parent), session_(session), model_(session), sorted_(new QSortFilterProxyModel(this)),
      view_(new LightView), state_(new QLabel) {
  setObjectName(QStringLiteral("lightTable"));
  setWindowTitle(tr("Lights"));
  resize(1024, 320);
  build();
  const auto soon = [this] {
    if (isVisible()) refresh();
  };
  subscriptions_.push_back(session_.hub().changed.add(soon));
  subscriptions_.push_back(session_.hub().selectionChanged.add(soon));
  subscriptions_.push_back(session_.hub().replaced.add([soon](Replacement) { soon(); }));
}

LightTable::~LightTable() = default;

void LightTable::build() {
  sorted_->setSourceModel(&model_);
  sorted_->setSortRole(LightTableModel::sortRole);
  sorted_->setSortCaseSensitivity(Qt::CaseInsensitive);
  view_->setObjectName(QStringLiteral("lightList"));
  view_->setAccessibleName(tr("Lights of the scene"));
  view_->setToolTip(tr("Double-click a value to change it, of all selected lights at once"));
  view_->setModel(sorted_);
  view_->setRootIsDecorated(false);
  view_->setUniformRowHeights(true);
  view_->setAllColumnsShowFocus(true);
  view_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  view_->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                         QAbstractItemView::AnyKeyPressed);
  view_->setSortingEnabled(true);
  view_->header()->setSortIndicatorClearable(true);
  view_->sortByColumn(-1, Qt::AscendingOrder); // as in the scene
  cells_ = new LightCellDelegate(session_, model_, *sorted_, *view_);
  view_->setItemDelegate(cells_);
  constexpr std::array<int, lightColumns> widths{180, 80, 92, 96, 92, 84, 64, 64, 60, 76, 48, 48};
  for (std::size_t column = 0; column < lightColumns; ++column)
    view_->header()->resizeSection(static_cast<int>(column), widths[column]);
  view_->header()->setStretchLastSection(false);
  connect(view_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &LightTable::takeSelection);
  const auto pick = [this](const QModelIndex& index) { cells_->pickColor(index); };
  connect(view_, &QAbstractItemView::doubleClicked, this, pick);
  state_->setObjectName(QStringLiteral("lightState"));
  setRole(state_, "dim");
  auto* close = new QPushButton(tr("&Close"));
  close->setAutoDefault(false);
  close->setToolTip(tr("Closes the table (Esc)"));
  connect(close, &QPushButton::clicked, this, &QDialog::reject);
  auto* below = new QHBoxLayout;
  below->addWidget(state_, 1);
  below->addWidget(close);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(12, 12, 12, 12);
  layout->setSpacing(metrics::groupSpace);
  layout->addWidget(view_, 1);
  layout->addLayout(below);
  tellMnemonics(*this);
}

void LightTable::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  refresh();
}

void LightTable::refresh() {
  model_.refresh();
  const std::size_t all = model_.rows().size();
  const auto silent = std::count_if(model_.rows().begin(), model_.rows().end(),
                                    [](const LightRow& row) { return row.silent; });
  state_->setText(all == 0 ? tr("The scene has no lights: Edit > Add makes one.")
                           : tr("%1 lights, %2 of them off").arg(all).arg(silent));
  showSelection();
}

void LightTable::showSelection() {
  const bool before = std::exchange(settling_, true);
  QItemSelection wanted;
  for (std::size_t i = 0; i < model_.rows().size(); ++i)
    if (model_.rows()[i].selected) {
      const QModelIndex index = model_.index(static_cast<int>(i), 0);
      wanted.select(index, index);
    }
  view_->selectionModel()->select(sorted_->mapSelectionFromSource(wanted),
                                  QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  settling_ = before;
}

void LightTable::takeSelection() {
  BaseDocument* document = session_.document();
  if (settling_ || !document) return;
  std::vector<Identity> chosen;
  for (const QModelIndex& index : view_->selectionModel()->selectedRows())
    chosen.push_back(model_.rows()[static_cast<std::size_t>(sorted_->mapToSource(index).row())].identity);
  bool different = false;
  {
    const DocumentEdit edit(*document);
    different = selectObjects(*document, chosen);
  }
  if (!different) return;
  model_.refresh();
  session_.hub().tellSelection();
}

} // namespace host
