// The Options dialog.
#pragma once

#include "c4d.h"
#include "lm_settings.h"
#include "titlebar.h"

/// The modal dialog in which the user edits the viewer's general options. Every gadget that edits a setting
/// has the setting's key as its ID, and the type of the value that the settings hold under it says how it is
/// read and written. While the dialog is open, its gadgets are the working copy; whenever it closes, they are
/// stored.
class DlgOptions : public GeModalDialog {
 public:
  Bool CreateLayout() override;
  Bool Command(LONG id, const BaseContainer& msg) override;
  Bool AskClose() override;

  /// Whether the file exists and loads as a picture.
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
