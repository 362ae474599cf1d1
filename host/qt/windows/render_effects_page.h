// The page of the render settings for video posts. Main thread.
#pragma once

#include <QWidget>

#include "session.h"

class QLabel;
class QListWidget;
class QListWidgetItem;
class QPushButton;

namespace host {

/// The video posts of the active render data with a check box each, and buttons to add and remove one. Every
/// change is an edit.
class RenderEffectsPage : public QWidget {
  Q_OBJECT
 public:
  explicit RenderEffectsPage(Session& session, QWidget* parent = nullptr);
  ~RenderEffectsPage() override;

  QListWidget& list() { return *list_; }
  /// Shows the document's video posts.
  void refresh();
  /// Adds one of a type that is not in the list.
  void add(LONG type);
  /// Removes the current one.
  void remove();

 private:
  void showNote();
  void switchItem(QListWidgetItem* item);
  void fillMenu();

  Session& session_;
  QListWidget* list_ = nullptr;
  QPushButton *addButton_ = nullptr, *removeButton_ = nullptr;
  QLabel *note_ = nullptr, *empty_ = nullptr;
  bool settling_ = false;
};

} // namespace host
