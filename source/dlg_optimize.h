// The Optimizations dialog.
#pragma once

#include "c4d.h"
#include "lm_settings.h"

/// The dialog in which the user sets the scene optimizations of preview renders. It has a settings store of
/// its own, which it writes back when it is destroyed.
class DlgOptimize : public GeDialog {
 public:
  DlgOptimize();
  ~DlgOptimize() override;

  /// Writes the optimizations' defaults into the settings, before they are loaded.
  virtual void LoadDefaultSettings();

 private:
  lmSettings settings;
};
