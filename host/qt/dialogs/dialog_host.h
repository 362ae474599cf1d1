// Where the windows of dialogs stand: the main window docks them, others leave them free. Main thread.
#pragma once

#include <QByteArray>
#include <QDockWidget>

#include "user_interface.h"

class QWidget;

namespace host {

class DialogWindow;

/// Gives dialogs that are not modal a place. Boxes and modal dialogs are always windows of their own.
class DialogHost {
 public:
  virtual ~DialogHost();
  /// Shows the dialog, at the placement where it says one. `state` is what `stateOf` gave when this dialog
  /// was open last, empty the first time. The frame that holds it: `window` itself or one of its ancestors;
  /// null when it cannot be shown. The frame asks `window.closeByUser()` before it closes, and never closes
  /// by itself.
  virtual QWidget* place(DialogWindow& window, const DialogPlacement& placement, const QByteArray& state) = 0;
  /// The dialog has closed: takes its frame away. `window` is deleted by its owner soon after.
  virtual void remove(DialogWindow& window) = 0;
  /// What brings the frame back to where it is, besides its place and size.
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
