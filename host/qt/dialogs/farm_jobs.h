// Render > Farm Jobs: the jobs of the farm, with their progress, pictures and failures. Main thread.
#pragma once

#include <QDialog>

#include "farm_desk.h"

class QLabel;
class QListWidget;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace host {

/// Asks for news while it is visible. Not modal.
class FarmJobs : public QDialog {
  Q_OBJECT
 public:
  explicit FarmJobs(farm::FarmDesk& desk, QWidget* parent = nullptr);

  /// The next news select the newest job.
  void selectNewest() { selectNewest_ = true; }

 signals:
  /// The user wants to see pictures in the Frame Buffer.
  void picturesWanted(const QStringList& files);
  /// ... a folder or a movie by the system's program for it.
  void fileWanted(const QString& file);

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void buildLists();
  void buildButtons(QBoxLayout& layout);
  void showRows();
  void showJob();
  void showFailures(const farm::FarmRow& row);
  void showFrames();
  const farm::FarmRow* chosen() const;
  void act(bool cancel);
  void openLog();
  void showLog(const std::string& error, const std::string& text);
  void openOutput();

  farm::FarmDesk& desk_;
  QTreeWidget *jobs_, *failures_;
  QListWidget* frames_;
  QLabel *state_, *message_;
  QPushButton *cancel_, *retry_, *log_, *folder_, *output_;
  bool selectNewest_ = false, filling_ = false;
  Subscription changed_;
};

} // namespace host
