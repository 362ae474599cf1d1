// Scenes of programs that ended without saving them. Main thread.
#pragma once

#include <QDialog>
#include <vector>

#include "autosaved_scenes.h"

class QPushButton;
class QTreeWidget;

namespace host {

class Session;

/// Lists them; brings one back, discards some, or leaves all for later. Not modal.
class RecoveryDialog : public QDialog {
  Q_OBJECT
 public:
  explicit RecoveryDialog(Session& session, QWidget* parent = nullptr);

  /// Reads the list again. False when it is empty.
  bool refresh();

 private:
  void build();
  void recover();
  void discard();
  const AutosavedScene* chosen() const;
  void showChoice();

  Session& session_;
  std::vector<AutosavedScene> scenes_;
  QTreeWidget* list_;
  QPushButton *recover_, *discard_;
};

} // namespace host
