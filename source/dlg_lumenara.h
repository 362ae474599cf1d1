// The viewer dialog.
#pragma once

#include "c4d.h"
#include "lm_settings.h"

/// The dialog in which the user watches renders of the active scene. It lives as long as its command; closing
/// its window does not destroy it.
class DlgLumenara : public GeDialog {
 public:
  DlgLumenara();
  ~DlgLumenara() override;

  /// Writes the viewer's defaults into the settings, before they are loaded.
  virtual void LoadDefaultSettings();

 private:
  lmSettings settings;
};
