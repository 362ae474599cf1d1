// The filmstrip: everything that was rendered, with names, stars, notes and a search. Main thread.
#pragma once

#include <QListView>
#include <QWidget>

#include "filmstrip_model.h"

class QLabel;
class QLineEdit;
class QMenu;
class QStackedWidget;
class QToolButton;

namespace host {

/// The chosen row is the session's current picture (`Session::pictures`). Arrow keys step through the rows in
/// place, and so do `step` and the window's keys.
class Filmstrip : public QWidget {
  Q_OBJECT
 public:
  explicit Filmstrip(Session& session, QWidget* parent = nullptr);
  ~Filmstrip() override;

  FilmstripModel& model() { return *model_; }
  QListView& list() { return *list_; }
  QLineEdit& search() { return *search_; }
  /// The chosen rows' items, newest first.
  std::vector<FilmstripItem> chosen() const;
  /// Shows the row that is so many further down, within the list.
  void step(int rows);

  // Commands of the menu, on the chosen rows.
  void restoreScene();
  /// Between two chosen rows, or the chosen one and the scene as it is now.
  void showChanges();
  void toggleStar();
  void setNote(const QString& note);
  void askNote();
  void rename(); // begins typing
  void remove();
  void showInFolder();
  /// Gives the first chosen row as A (0), B (1) ... of a comparison: `useWanted` follows.
  void use(int slot);
  /// The menu for the chosen rows. The caller deletes it.
  QMenu* makeMenu();

  /// Waits until chosen files are read, and shows them.
  void finish() { files_.finish(); }

  QSize sizeHint() const override { return {232, 480}; }

 signals:
  /// The picture is wanted as A (0), B (1) ... of a comparison.
  void useWanted(int slot, const host::SharedBitmap& picture, const QString& name);
  /// A sentence about an outcome.
  void said(const QString& sentence);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void build();
  void buildSearch();
  void refresh();
  void chooseRow(const QModelIndex& row); // alone
  void takeSelection();
  void showItem(const FilmstripItem& item);
  void read(const FilmstripItem& item, const RenderHistory::BitmapReady& ready);
  void readFile(const Filename& file, const RenderHistory::BitmapReady& ready);
  void withEntry(const FilmstripItem& item, const std::function<void(RenderHistory::Id)>& change);
  void showLines(const QString& title, const QStringList& lines);

  Session& session_;
  FilmstripModel* model_;
  QListView* list_ = nullptr;
  QLineEdit* search_ = nullptr;
  QToolButton* starred_ = nullptr;
  QStackedWidget* stack_ = nullptr;
  QLabel* empty_ = nullptr;
  std::optional<FilmstripItem> reading_; // chosen, not yet shown
  FilmstripItem visited_;                // shown through the session's visited picture
  PictureList::Id visit_ = 0;
  quint64 wanted_ = 0; // the latest picture that was asked for
  bool settling_ = false;
  JobQueue files_{"pictures"};
  Lifetime<Filmstrip> lifetime_{*this};
  std::vector<Subscription> subscriptions_;
};

} // namespace host
