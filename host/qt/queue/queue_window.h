// Render > Render Queue: the animations, with their progress and pictures. Main thread.
#pragma once

#include <QDialog>

#include "render_queue.h"

class QBoxLayout;
class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace host {

/// Not modal.
class QueueWindow : public QDialog {
  Q_OBJECT
 public:
  explicit QueueWindow(farm::RenderQueue& queue, QWidget* parent = nullptr);

  void selectNewest();

 signals:
  /// The user wants to see a picture in the Frame Buffer.
  void picturesWanted(const QStringList& files);
  /// ... a folder or a movie by the system's program for it.
  void fileWanted(const QString& file);

 private:
  void buildList();
  void buildButtons(QBoxLayout& layout);
  void showRows();
  void showRow(QTreeWidgetItem& item, const farm::QueueRow& row);
  void showChosen();
  void openOutput();
  int chosen() const; // an id, or 0

  farm::RenderQueue& queue_;
  QTreeWidget* list_;
  QLabel *picture_, *state_, *message_;
  QPushButton *pause_, *cancel_, *again_, *up_, *remove_, *clear_, *folder_, *open_;
  ThumbnailPtr shown_;
  bool filling_ = false;
  Subscription changed_;
};

} // namespace host
