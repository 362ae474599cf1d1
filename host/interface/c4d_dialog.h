// Dialogs. Main thread.
#pragma once

#include "c4d_container.h"
#include "c4d_string.h"

namespace host {
struct DialogState;
}

enum DLG_TYPE { DLG_TYPE_MODAL = 10, DLG_TYPE_ASYNC = 20 };

/// A window of a plug-in. From its construction on it gets core messages, also while it is closed.
class C4D_API GeDialog {
 public:
  GeDialog();
  virtual ~GeDialog();
  GeDialog(const GeDialog&) = delete;
  GeDialog& operator=(const GeDialog&) = delete;

  virtual Bool CreateLayout();
  virtual Bool InitValues();
  virtual Bool CoreMessage(LONG id, const BaseContainer& msg);
  virtual Bool Command(LONG id, const BaseContainer& msg);
  /// True refuses to close.
  virtual Bool AskClose();
  virtual void Timer(const BaseContainer& msg);
  virtual void DestroyWindow();
  virtual LONG Message(const BaseContainer& msg, BaseContainer& result);

  /// Opens the window: a position of -1 and a size of 0 are the host's choice. False when there is no
  /// display.
  Bool Open(DLG_TYPE type, LONG pluginId, LONG x = -1, LONG y = -1, LONG width = 0, LONG height = 0,
            LONG subId = 0);
  /// Brings the window back where it was at the last end; false when it was not open.
  Bool RestoreLayout(LONG pluginId, LONG subId, void* secret);
  Bool IsOpen() const;
  Bool Close();
  /// Whether a core message is meant for this dialog: true while it is open.
  Bool CheckCoreMessage(const BaseContainer& msg) const;

 private:
  friend struct host::Access;
  host::DialogState* state_;
};
