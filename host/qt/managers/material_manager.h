// The materials of the document as thumbnails. Main thread.
#pragma once

#include <QWidget>

#include "session.h"

class QByteArray;
class QLabel;
class QListView;
class QMenu;
class QMimeData;
class QStackedWidget;
class QToolButton;

namespace host {

class MaterialModel;

/// The MIME type of a dragged material, which views accept as a drop.
inline constexpr const char* materialMimeType = "application/x-lumenara-material";
/// Data of this type for a material of this program's document, and back; 0 for anything else, for example a
/// drag from another program.
QByteArray materialData(Identity material);
Identity materialOf(const QByteArray& data);

/// Thumbnails in a grid with their names. A click selects the material, F2 renames it, a drag carries it to
/// objects, Delete deletes it.
class MaterialManager : public QWidget {
  Q_OBJECT
 public:
  explicit MaterialManager(Session& session, QWidget* parent = nullptr);
  ~MaterialManager() override;

  MaterialModel& model() { return *model_; }
  QListView& list() { return *list_; }

  // Commands of the menu, as edits.
  void createMaterial();
  void duplicateSelected();
  void deleteSelected();
  void renameSelected(); // begins typing
  /// Puts the selected material on the clipboard as text, with its pictures.
  void copySelected();
  /// Adds the materials on the clipboard.
  void paste();
  /// Adds the selected material to the user's library.
  void keepSelected();
  /// Assigns the selected material to the selected objects.
  void assignToSelection();
  /// Selects the objects that show it.
  void selectUsers();

  QSize sizeHint() const override { return {260, 240}; }

 signals:
  /// A material was clicked; it may have been selected before.
  void clicked();

 protected:
  void contextMenuEvent(QContextMenuEvent* event) override;
  void showEvent(QShowEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void build();
  void refresh();
  void takeSelection();
  void showSelection();
  Identity selected() const;

  Session& session_;
  MaterialModel* model_;
  QListView* list_ = nullptr;
  QStackedWidget* stack_ = nullptr;
  QToolButton *new_ = nullptr, *delete_ = nullptr, *assign_ = nullptr;
  bool settling_ = false, stale_ = true;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
