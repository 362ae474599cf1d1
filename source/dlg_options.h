// The Options dialog.
#pragma once

#include "c4d.h"
#include "lm_settings.h"
#include "titlebar.h"

/// The modal dialog of the viewer's general options. A gadget that edits a setting has the setting's key as
/// its ID; the type of the stored value determines how it is read and written. While the dialog is open, its
/// gadgets are the working copy; every way of closing stores them.
class DlgOptions : public GeModalDialog {
 public:
  Bool CreateLayout() override;
  Bool Command(LONG id, const BaseContainer& msg) override;
  Bool AskClose() override;

  /// Whether the file loads as a picture.
  virtual Bool CheckImage(String path);
  virtual void SetEnabling();
  virtual void ApplySettings(); // settings to gadgets
  virtual void SaveSettings();  // gadgets to settings, which are saved

 private:
  titlebarUA titlebar;

 public:
  /// The viewer's store, set by the viewer before each opening. Not owned.
  lmSettings* settings = nullptr;
};
