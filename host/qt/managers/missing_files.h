// Pictures that the scene names and that are not there. Main thread.
#pragma once

#include <QDialog>
#include <QFrame>

#include "session.h"

class QLabel;
class QPushButton;
class QTreeWidget;

namespace host {

/// The list of missing pictures, with the materials that use them. The user locates one; the others are then
/// looked for in the same folder and below. All that is found is one step of undo.
class MissingFiles : public QDialog {
  Q_OBJECT
 public:
  MissingFiles(Session& session, QWidget* parent);
  ~MissingFiles() override;

  /// Asks for the file of the chosen picture.
  void locate();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void build();
  void refresh();
  void showChoice();
  void take(const PictureLocator::Outcome& outcome);

  Session& session_;
  std::vector<MissingPicture> missing_;
  bool stale_ = true;
  QTreeWidget* list_;
  QLabel* state_;
  QPushButton* locate_;
  std::vector<Subscription> subscriptions_;
};

/// A line above the view that says how many pictures an opened scene lacks, with a button to the list. Hidden
/// until a scene lacks some, and again once it lacks none or the user has closed the line.
class MissingNotice : public QFrame {
  Q_OBJECT
 public:
  MissingNotice(Session& session, QWidget* parent = nullptr);
  ~MissingNotice() override;

 signals:
  void listWanted();

 private:
  void look(bool opened);

  Session& session_;
  QLabel* words_;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
