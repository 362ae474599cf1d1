// The Render Animation dialog, and the dialog of the JPEG and PSD options.
#pragma once

#include "c4d.h"
#include "lm_settings.h"

/// Gadgets of the Render Animation dialog whose ID is not a setting's key.
enum DLG_ANIMATION_GADGET : LONG {
  DLG_ANIMATION_BROWSE = 14002,    // the button "..."
  DLG_ANIMATION_FRAMES = 14003,    // the combo box "Frame"
  DLG_ANIMATION_CONFIGURE = 14010, // the button "Configure..."; also the key of the movie options
};

/// The entries of the combo box "Frame".
enum LM_FRAMES_VALUE : LONG { LM_FRAMES_MANUAL = 0, LM_FRAMES_ALL = 1, LM_FRAMES_PREVIEW = 2 };

/// The modal dialog in which the user sets up an animation render. The opener fills the fields before, and
/// reads them after OK.
class DlgAnimation : public GeModalDialog {
 public:
  Bool CreateLayout() override;
  Bool InitValues() override;
  Bool Command(LONG id, const BaseContainer& msg) override;

  virtual void SetEnabling();
  /// Stores the values, or the defaults without "Remember Settings", and saves the settings.
  virtual void SaveValues();
  /// Reads the file name from its field and sets the format's suffix.
  virtual void CheckFormat();

  lmSettings* settings = nullptr; // not owned
  Filename fileName;
  LONG from = 0, to = 0, step = 0, format = 0; // format: 0 to 10; below 6 a movie
  /// Not loaded from the settings: the opener's value stays until the check box is used.
  Bool launch = FALSE;
  BaseContainer formatOptions; // movie options
  LONG jpegQuality = 0;        // 0 to 100
  Bool photoshop7 = FALSE;
  Bool stamp = FALSE;

 private:
  void AddLabel(const String& text);
  Bool Configure();
  Bool ChooseMovie(LONG type);
  Bool ChooseStill(Bool jpeg);
  void SetFrames(const BaseDocument& doc, const BaseTime& first, const BaseTime& last);
};

/// The options of JPEG or PSD files. The opener fills the fields before, and reads them after OK.
class lmDlgJPGPSD_Options : public GeModalDialog {
 public:
  Bool CreateLayout() override;
  Bool InitValues() override;
  Bool Command(LONG id, const BaseContainer& msg) override;

  Bool jpeg = FALSE; // else PSD
  LONG quality = 0;  // 0 to 100
  Bool photoshop7 = FALSE;

 private:
  void AddCaptions(const String& low, const String& high);
};
