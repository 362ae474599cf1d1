// Placement of dialog windows: the main window docks them, other hosts leave them free. Main thread.
#pragma once

#include <QByteArray>
#include <QDockWidget>

#include "user_interface.h"

class QWidget;

namespace host {

class DialogWindow;

/// Places dialogs that are not modal. Boxes and modal dialogs are always separate windows.
class DialogHost {
 public:
  virtual ~DialogHost();
  /// Shows the dialog, at the placement if it has one. `state` is the value of `stateOf` when this dialog
  /// was last open, empty the first time. Returns the frame that holds it: `window` or one of its ancestors;
  /// null when it cannot be shown. The frame asks `window.closeByUser()` before it closes, and never closes
  /// by itself.
  virtual QWidget* place(DialogWindow& window, const DialogPlacement& placement, const QByteArray& state) = 0;
  /// Removes the frame of a dialog that has closed. `window` is deleted by its owner soon after.
  virtual void remove(DialogWindow& window) = 0;
  /// State that restores the frame, besides its place and size.
  virtual QByteArray stateOf(const DialogWindow& window) const = 0;
};

/// Free top-level windows, above their parent.
class FreeDialogHost : public DialogHost {
 public:
  explicit FreeDialogHost(QWidget* parent = nullptr) : parent_(parent) {}
  QWidget* place(DialogWindow& window, const DialogPlacement& placement, const QByteArray& state) override;
  void remove(DialogWindow& window) override;
  QByteArray stateOf(const DialogWindow& window) const override;

 private:
  QWidget* parent_;
};

/// A dock for a dialog: its close button asks the dialog, its title is the dialog's. Its object name, which a
/// saved layout knows it by, is the dialog's ("dialog-1021442-0").
class DialogDock : public QDockWidget {
  Q_OBJECT
 public:
  DialogDock(DialogWindow& window, QWidget* parent);

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  DialogWindow& window_;
};

} // namespace host
