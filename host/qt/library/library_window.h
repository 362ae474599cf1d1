// The browser of the library of materials. Main thread.
#pragma once

#include <QDialog>

#include "session.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class QSortFilterProxyModel;

namespace host {

class LibraryModel;

/// Thumbnails with a search and a choice of groups. A double click takes a material into the scene and onto
/// the selected objects, as one step of undo; a drag puts it onto an object.
class LibraryWindow : public QDialog {
  Q_OBJECT
 public:
  LibraryWindow(Session& session, QWidget* parent);
  ~LibraryWindow() override;

  QListView& list() { return *list_; }
  /// Takes the chosen material.
  void take();
  /// Keeps the scene's selected material in the user's library.
  void keepSelected();
  /// Deletes the chosen material, one of the user's own, after a question.
  void removeChosen();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void build();
  void refresh();
  void filter();
  void showState();
  Identity chosen() const;

  Session& session_;
  LibraryModel* model_;
  QSortFilterProxyModel* shown_;
  QListView* list_;
  QLineEdit* search_;
  QComboBox* groups_;
  QLabel* state_;
  QPushButton *take_, *keep_, *remove_;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
