// The Optimizations dialog.
#pragma once

#include "c4d.h"
#include "lm_settings.h"
#include "titlebar.h"

/// The dialog in which the user sets the scene optimizations of preview renders. Every gadget that edits a
/// setting has the setting's key as its ID. A change is not stored here but sent to the viewer at once, as
/// special event 1021446 with the key and the value, and the viewer stores it and renders again. The dialog
/// has a settings store of its own, which it loads to fill its gadgets and writes back when it is destroyed.
class DlgOptimize : public GeDialog {
 public:
  DlgOptimize();
  ~DlgOptimize() override;

  Bool CreateLayout() override;
  Bool InitValues() override;
  Bool Command(LONG id, const BaseContainer& msg) override;

  /// Writes the optimizations' defaults into the settings, before they are loaded.
  virtual void LoadDefaultSettings();
  virtual void SetEnabling();
  virtual void ApplySettings(); // stored settings to gadgets

 private:
  void Send(LONG id);

  titlebarUA titlebar;
  lmSettings settings;
};
