// The tree of the document's objects. Main thread.
#pragma once

#include <QTimer>
#include <QWidget>
#include <string>
#include <unordered_set>

#include "session.h"

class QLabel;
class QModelIndex;
class QLineEdit;
class QStackedWidget;
class QTreeView;

namespace host {

class ObjectModel;

/// Search field, tree with icons and visibility switches, context menu. The selection is the document's, both
/// ways. F2 renames, Delete deletes, dragging reorders; materials may be dropped on objects.
class ObjectManager : public QWidget {
  Q_OBJECT
 public:
  explicit ObjectManager(Session& session, QWidget* parent = nullptr);
  ~ObjectManager() override;

  ObjectModel& model() { return *model_; }
  QTreeView& tree() { return *tree_; }
  QLineEdit& search() { return *search_; }

  // Commands of the menu on the selected objects, as edits.
  void deleteSelected();
  void duplicateSelected();
  void groupSelected();
  void renameSelected(); // begins typing
  /// Unfolds or folds all rows.
  void expandAll();
  void collapseAll();

  /// Shows changes of the document at once instead of soon.
  void refresh();

  QSize sizeHint() const override { return {260, 360}; }

 signals:
  /// "Frame Selected" was chosen, or a row's icon double-clicked.
  void frameSelectedWanted();
  /// An object's row was clicked; it may have been selected before.
  void clicked();

 protected:
  void contextMenuEvent(QContextMenuEvent* event) override;
  void showEvent(QShowEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void build();
  void refreshSoon();
  void documentReplaced(Replacement why);
  void takeSelection();
  void showSelection();
  void unfold(const QModelIndex& above);
  void unfoldBelow(const QModelIndex& index);
  void unfoldDocument();
  void setFilter(const QString& text);
  void showEmptyState();

  Session& session_;
  ObjectModel* model_;
  QTreeView* tree_ = nullptr;
  QLineEdit* search_ = nullptr;
  QStackedWidget* stack_ = nullptr;
  QLabel* empty_ = nullptr;
  QTimer soon_;
  qint64 cost_ = 0;                       // of the last refresh, in milliseconds
  std::unordered_set<Identity> expanded_; // rows that the user has unfolded
  std::unordered_set<std::string> unfoldedPaths_;
  bool newDocument_ = true, wasReloaded_ = false;
  bool settling_ = false, stale_ = true, scrollToSelection_ = true;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
