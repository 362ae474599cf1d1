// Docks of the main window for the dialogs of plug-ins. Main thread.
#pragma once

#include <QObject>
#include <QTimer>
#include <set>

#include "c4d_types.h"
#include "dialog_host.h"

class QMainWindow;

namespace host {

class AreaWidget;
class CommandTable;
class Session;
class WindowLayout;

/// Gives each dialog a dock. A change that a plug-in makes to the document from its dialog becomes an undo
/// step once the mouse button or key is released.
class DialogDocks : public QObject, public DialogHost {
  Q_OBJECT
 public:
  /// `atAttributes`: plug-in IDs of dialogs that stand above the attributes at first. All must outlive
  /// `shutDown`.
  DialogDocks(QMainWindow& window, WindowLayout& layout, Session& session, const CommandTable& commands,
              std::set<LONG> atAttributes);
  ~DialogDocks() override;

  QList<DialogDock*> docks() const;
  /// The picture of the dialog that has the focus, if it has one in a scroll group; else null.
  AreaWidget* focusedPicture() const;

  /// Dialogs may still close, but not open.
  void shutDown();

  // DialogHost.
  QWidget* place(DialogWindow& window, const DialogPlacement& placement, const QByteArray& state) override;
  void remove(DialogWindow& window) override;
  QByteArray stateOf(const DialogWindow& window) const override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  DialogDock* dockOf(const DialogWindow& window) const;
  void placeDock(DialogDock& dock, const DialogPlacement& placement, const QByteArray& state);
  void floatDock(DialogDock& dock, const DialogPlacement& placement);
  void placeByDefault();
  void noticeChange();

  QMainWindow& window_;
  WindowLayout& layout_;
  Session& session_;
  const CommandTable& commands_;
  std::set<LONG> atAttributes_;
  QTimer used_;
  bool down_ = false;
};

} // namespace host
