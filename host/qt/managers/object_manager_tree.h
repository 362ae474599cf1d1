// The tree view of the object manager and the drawing of its rows. Main thread.
#pragma once

#include <QStyledItemDelegate>
#include <QTreeView>

#include "object_model.h"

namespace host {

/// Draws names as usual, switches as an eye and a render mark: bright when on, a dot when off, dim when an
/// ancestor hides the object.
class ObjectDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

 protected:
  void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};

/// A press on a switch toggles it, and dragging over other rows sets theirs to the same state, as one edit.
/// The selection does not change.
class ObjectTree : public QTreeView {
  Q_OBJECT
 public:
  ObjectTree(Session& session, ObjectModel& model, QWidget* parent);

 signals:
  void iconDoubleClicked();

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;

 private:
  bool isSwitch(const QModelIndex& index) const;
  void sweep(const QModelIndex& index);
  void endSweep();

  Session& session_;
  ObjectModel& model_;
  int sweptColumn_ = -1; // while the button is held on the switches
  bool sweptOn_ = false;
  Identity last_ = 0;
};

} // namespace host
