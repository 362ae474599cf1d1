// The Optimizations dialog.
#pragma once

#include "c4d.h"
#include "lm_settings.h"
#include "titlebar.h"

/// The dialog of the scene optimizations for preview renders. A gadget that edits a setting has the setting's
/// key as its ID. Each change is sent to the viewer at once, as special event 1021446 with key and value; the
/// viewer stores it and renders again. The dialog has its own settings store: it fills the gadgets, and is
/// saved when the dialog is destroyed.
class DlgOptimize : public GeDialog {
 public:
  DlgOptimize();
  ~DlgOptimize() override;

  Bool CreateLayout() override;
  Bool InitValues() override;
  Bool Command(LONG id, const BaseContainer& msg) override;

  /// Writes the optimizations' defaults into the settings; called before they are loaded.
  virtual void LoadDefaultSettings();
  virtual void SetEnabling();
  virtual void ApplySettings(); // stored settings to gadgets

 private:
  void Send(LONG id);

  titlebarUA titlebar;
  lmSettings settings;
};
