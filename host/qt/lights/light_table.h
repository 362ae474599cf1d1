// The table of all lights. Main thread.
#pragma once

#include <QDialog>
#include <QStyledItemDelegate>

#include "light_table_model.h"

class QLabel;
class QSortFilterProxyModel;
class QTreeView;

namespace host {

/// Editors of cells: numbers, choices and texts in the cell; colours in the colour picker. A drag of a number
/// or of a colour is one step of undo.
class LightCellDelegate : public QStyledItemDelegate {
  Q_OBJECT
 public:
  LightCellDelegate(Session& session, LightTableModel& model, QSortFilterProxyModel& sorted, QTreeView& view);

  QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                        const QModelIndex& index) const override;
  void setEditorData(QWidget* editor, const QModelIndex& index) const override;
  void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
  /// Opens the picker of a colour's cell.
  void pickColor(const QModelIndex& index);

 private:
  QWidget* numberEditor(QWidget* parent, const Attribute& attribute, const QPersistentModelIndex& cell) const;
  void endDrag(bool cancelled) const;

  Session& session_;
  LightTableModel& model_;
  QSortFilterProxyModel& sorted_;
  QTreeView& view_;
};

/// A window with one row a light. Values are edited in place, for all selected lights at once. The selection
/// is the scene's.
class LightTable : public QDialog {
  Q_OBJECT
 public:
  LightTable(Session& session, QWidget* parent);
  ~LightTable() override;
  LightTableModel& model() { return model_; }
  QTreeView& view() { return *view_; }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void build();
  void refresh();
  void showSelection();
  void takeSelection();

  Session& session_;
  LightTableModel model_;
  QSortFilterProxyModel* sorted_;
  QTreeView* view_;
  LightCellDelegate* cells_ = nullptr;
  QLabel* state_;
  bool settling_ = false;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
