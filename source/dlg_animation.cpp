#include "dlg_animation.h"

#include "lm_gadgets.h"
#include "lm_keys.h"
#include "lm_numbers.h"

namespace {

constexpr LONG LABEL_WIDTH = 100;
constexpr LONG JPEG_DIALOG_WIDTH = 400; // keeps the captions of the slider apart

// Values of the format.
enum : LONG {
  FORMAT_QUICKTIME_0 = 0, // values below 4 have no entry
  FORMAT_QUICKTIME_1 = 1,
  FORMAT_AVI_2 = 2,
  FORMAT_AVI_3 = 3,
  FORMAT_QUICKTIME = 4,
  FORMAT_AVI = 5,
  FORMAT_BMP = 6,
  FORMAT_TIFF = 7,
  FORMAT_JPEG = 8,
  FORMAT_PSD = 9,
  FORMAT_B3D = 10,
};

const char* const SUFFIXES[] = {"mov", "mov", "avi", "avi", "mov", "avi", "bmp", "tif", "jpg", "psd", "b3d"};

} // namespace

// ---- DlgAnimation

void DlgAnimation::AddLabel(const String& text) {
  AddStaticText(0, BFH_LEFT, LABEL_WIDTH, 0, text, BORDER_NONE);
}

Bool DlgAnimation::CreateLayout() {
  SetTitle("Render Animation");
  GroupBegin(0, BFH_SCALEFIT | BFV_SCALEFIT, 1, 0, "", 0);
  GroupBorderSpace(4, 4, 4, 4);
  GroupSpace(4, 4);

  GroupBegin(0, BFH_SCALEFIT, 2, 0, "", 0);
  AddLabel("File Name");
  GroupBegin(0, BFH_SCALEFIT, 2, 0, "", 0);
  AddEditText(LM_ANIM_FILE, BFH_SCALEFIT);
  AddButton(DLG_ANIMATION_BROWSE, BFH_RIGHT, 0, 0, "...");
  GroupEnd();

  AddLabel("Frame");
  GroupBegin(0, BFH_LEFT, 4, 0, "", 0);
  AddComboBox(DLG_ANIMATION_FRAMES, BFH_LEFT, 150);
  AddChild(DLG_ANIMATION_FRAMES, LM_FRAMES_MANUAL, "Manual");
  AddChild(DLG_ANIMATION_FRAMES, LM_FRAMES_ALL, "All Frames");
  AddChild(DLG_ANIMATION_FRAMES, LM_FRAMES_PREVIEW, "Preview Range");
  AddEditNumberArrows(LM_ANIM_FROM, BFH_LEFT, 50);
  AddStaticText(0, BFH_LEFT, 0, 0, " to ", BORDER_NONE);
  AddEditNumberArrows(LM_ANIM_TO, BFH_LEFT, 50);
  GroupEnd();

  AddLabel("Frame Step");
  AddEditNumberArrows(LM_ANIM_STEP, BFH_LEFT, 70);

  AddLabel("Format");
  GroupBegin(0, BFH_LEFT, 2, 0, "", 0);
  AddComboBox(LM_ANIM_FORMAT, BFH_LEFT, 150);
  AddChild(LM_ANIM_FORMAT, FORMAT_BMP, "BMP");
  AddChild(LM_ANIM_FORMAT, FORMAT_TIFF, "TIFF");
  AddChild(LM_ANIM_FORMAT, FORMAT_JPEG, "JPEG");
  AddChild(LM_ANIM_FORMAT, FORMAT_PSD, "Photoshop (PSD)");
  AddChild(LM_ANIM_FORMAT, FORMAT_B3D, "BodyPaint 3D (B3D)");
  AddChild(LM_ANIM_FORMAT, -1, "");
  AddChild(LM_ANIM_FORMAT, FORMAT_QUICKTIME, "QuickTime Movie");
  AddChild(LM_ANIM_FORMAT, -1, "");
  AddChild(LM_ANIM_FORMAT, FORMAT_AVI, "AVI Movie");
  AddButton(DLG_ANIMATION_CONFIGURE, BFH_LEFT, 0, 0, "Configure...");
  GroupEnd();

  AddLabel(" ");
  AddCheckbox(LM_ANIM_STAMP, BFH_LEFT, 0, 0, "Stamp Frames");
  AddLabel(" ");
  AddCheckbox(LM_ANIM_LAUNCH, BFH_LEFT, 0, 0, "Launch Animation");
  AddLabel(" ");
  AddCheckbox(LM_ANIM_REMEMBER, BFH_LEFT, 0, 0, "Remember Settings");
  GroupEnd();

  AddSeparatorH(0, BFH_SCALEFIT);
  AddDlgGroup(DLG_OK | DLG_CANCEL);
  GroupEnd();
  return TRUE;
}

Bool DlgAnimation::InitValues() {
  const auto number = [this](LONG key, LONG preset) { return settings->GetValue(key, preset); };
  fileName = settings->GetValue(LM_ANIM_FILE, Filename());
  from = number(LM_ANIM_FROM, 0);
  to = number(LM_ANIM_TO, 0);
  step = number(LM_ANIM_STEP, 1);
  format = number(LM_ANIM_FORMAT, 0);
  formatOptions = settings->GetContainer(LM_ANIM_MOVIE_OPTIONS);
  jpegQuality = number(LM_ANIM_JPEG_QUALITY, 95);
  photoshop7 = number(LM_ANIM_PHOTOSHOP7, 1);
  stamp = number(LM_ANIM_STAMP, 0);

  SetFilename(LM_ANIM_FILE, fileName);
  SetLong(DLG_ANIMATION_FRAMES, LM_FRAMES_MANUAL);
  SetNumber(this, LM_ANIM_FROM, from);
  SetNumber(this, LM_ANIM_TO, to);
  SetNumber(this, LM_ANIM_STEP, step);
  SetLong(LM_ANIM_FORMAT, format);
  SetBool(LM_ANIM_STAMP, stamp);
  SetBool(LM_ANIM_LAUNCH, number(LM_ANIM_LAUNCH, 1)); // only the box: the opener's `launch` stays
  SetBool(LM_ANIM_REMEMBER, number(LM_ANIM_REMEMBER, 0));
  SetEnabling();
  return TRUE;
}

Bool DlgAnimation::Command(LONG id, const BaseContainer& /*msg*/) {
  switch (id) {
  case IDC_OK:
    CheckFormat();
    SaveValues();
    break;
  case DLG_ANIMATION_BROWSE: {
    Filename file;
    GetFilename(LM_ANIM_FILE, file);
    if (file.FileSelect(FILESELECTTYPE_ANYTHING, FILESELECT_SAVE, "Save Animation")) {
      SetFilename(LM_ANIM_FILE, file);
      CheckFormat();
    }
    break;
  }
  case DLG_ANIMATION_FRAMES: {
    LONG range = LM_FRAMES_MANUAL;
    GetLong(DLG_ANIMATION_FRAMES, range);
    const BaseDocument* doc = GetActiveDocument();
    if (!doc) break;
    if (range == LM_FRAMES_ALL) SetFrames(*doc, doc->GetMinTime(), doc->GetMaxTime());
    if (range == LM_FRAMES_PREVIEW) SetFrames(*doc, doc->GetLoopMinTime(), doc->GetLoopMaxTime());
    break;
  }
  case LM_ANIM_FROM:
    GetLong(LM_ANIM_FROM, from);
    SetLong(DLG_ANIMATION_FRAMES, LM_FRAMES_MANUAL);
    break;
  case LM_ANIM_TO:
    GetLong(LM_ANIM_TO, to);
    SetLong(DLG_ANIMATION_FRAMES, LM_FRAMES_MANUAL);
    break;
  case LM_ANIM_STEP:
    GetLong(LM_ANIM_STEP, step);
    break;
  case LM_ANIM_LAUNCH:
    GetBool(LM_ANIM_LAUNCH, launch);
    break;
  case LM_ANIM_STAMP:
    GetBool(LM_ANIM_STAMP, stamp);
    break;
  case LM_ANIM_FORMAT:
    GetLong(LM_ANIM_FORMAT, format);
    CheckFormat();
    SetEnabling();
    break;
  case DLG_ANIMATION_CONFIGURE:
    return Configure();
  default:
    break;
  }
  return TRUE;
}

/// Sets the frames of a range; the fields lose their limits.
void DlgAnimation::SetFrames(const BaseDocument& doc, const BaseTime& first, const BaseTime& last) {
  from = FrameFromTime(first, doc.GetFps());
  to = FrameFromTime(last, doc.GetFps());
  SetLong(LM_ANIM_FROM, from);
  SetLong(LM_ANIM_TO, to);
}

Bool DlgAnimation::Configure() {
  switch (format) {
  case FORMAT_QUICKTIME_0:
  case FORMAT_QUICKTIME_1:
  case FORMAT_QUICKTIME:
    return ChooseMovie(FILTER_MOVIE);
  case FORMAT_AVI_2:
  case FORMAT_AVI_3:
  case FORMAT_AVI:
    return ChooseMovie(FILTER_AVI);
  case FORMAT_JPEG:
    return ChooseStill(TRUE);
  case FORMAT_PSD:
    return ChooseStill(FALSE);
  default:
    return FALSE;
  }
}

Bool DlgAnimation::ChooseMovie(LONG type) {
  const AutoAlloc<MovieSaver> saver;
  if (!saver) return FALSE;
  return saver->Choose(type, formatOptions);
}

Bool DlgAnimation::ChooseStill(Bool jpeg) {
  lmDlgJPGPSD_Options dialog;
  dialog.jpeg = jpeg;
  dialog.quality = jpegQuality;
  dialog.photoshop7 = photoshop7;
  dialog.Open(-1, -1, jpeg ? JPEG_DIALOG_WIDTH : 0);
  if (dialog.GetResult()) {
    jpegQuality = dialog.quality;
    photoshop7 = dialog.photoshop7;
  }
  return TRUE;
}

void DlgAnimation::SetEnabling() {
  Enable(DLG_ANIMATION_CONFIGURE,
         format == FORMAT_QUICKTIME || format == FORMAT_AVI || format == FORMAT_JPEG || format == FORMAT_PSD);
}

void DlgAnimation::SaveValues() {
  Bool remember = FALSE;
  GetBool(LM_ANIM_REMEMBER, remember);
  const auto store = [this](LONG key, LONG value) { settings->SetValue(key, value); };
  if (remember) {
    settings->SetValue(LM_ANIM_FILE, fileName);
    store(LM_ANIM_FROM, from);
    store(LM_ANIM_TO, to);
    store(LM_ANIM_STEP, step);
    store(LM_ANIM_FORMAT, format);
    store(LM_ANIM_LAUNCH, launch);
    settings->SetValue(LM_ANIM_MOVIE_OPTIONS, formatOptions);
    store(LM_ANIM_JPEG_QUALITY, jpegQuality);
    store(LM_ANIM_PHOTOSHOP7, photoshop7);
    store(LM_ANIM_STAMP, stamp);
  } else {
    // The movie options stay.
    settings->SetValue(LM_ANIM_FILE, Filename());
    store(LM_ANIM_FROM, 0);
    store(LM_ANIM_TO, 0);
    store(LM_ANIM_STEP, 1);
    store(LM_ANIM_FORMAT, 0);
    store(LM_ANIM_LAUNCH, 1);
    store(LM_ANIM_JPEG_QUALITY, 95);
    store(LM_ANIM_PHOTOSHOP7, 1);
    store(LM_ANIM_STAMP, 0);
  }
  store(LM_ANIM_REMEMBER, remember);
  settings->Save();
}

void DlgAnimation::CheckFormat() {
  Filename name;
  GetFilename(LM_ANIM_FILE, name);
  fileName = name;
  if (!name.Content()) return;
  if (format >= FORMAT_QUICKTIME_0 && format <= FORMAT_B3D) {
    const String suffix = SUFFIXES[format];
    if (!fileName.CheckSuffix(suffix)) fileName.SetSuffix(suffix);
  }
  SetFilename(LM_ANIM_FILE, fileName);
}

// ---- lmDlgJPGPSD_Options

/// Captions of the slider's ends.
void lmDlgJPGPSD_Options::AddCaptions(const String& low, const String& high) {
  GroupBegin(0, BFH_SCALEFIT, 4, 0, "", 0);
  AddStaticText(0, BFH_LEFT, 120, 0, "", BORDER_NONE);
  AddStaticText(0, BFH_LEFT, 80, 0, "", BORDER_NONE);
  AddStaticText(0, BFH_SCALEFIT, 0, 0, low, BORDER_NONE);
  AddStaticText(0, BFH_RIGHT, 0, 0, high, BORDER_NONE);
  GroupEnd();
}

Bool lmDlgJPGPSD_Options::CreateLayout() {
  SetTitle(jpeg ? "JPEG Settings" : "PSD Options");
  GroupBegin(0, BFH_SCALEFIT | BFV_SCALEFIT, 1, 0, "", 0);
  GroupBorderSpace(4, 4, 4, 4);
  GroupSpace(4, 4);
  if (jpeg) {
    AddCaptions("Low", "High ");
    GroupBegin(0, BFH_SCALEFIT, 2, 0, "", 0);
    AddStaticText(0, BFH_LEFT, 120, 0, "JPEG Quality", BORDER_NONE);
    AddEditSlider(LM_ANIM_JPEG_QUALITY, BFH_SCALEFIT, 40);
    GroupEnd();
    AddCaptions("Small File", "Large File ");
  } else {
    AddCheckbox(LM_ANIM_PHOTOSHOP7, BFH_LEFT, 0, 0, "Photoshop 7");
  }
  AddSeparatorH(0, BFH_SCALEFIT);
  AddDlgGroup(DLG_OK | DLG_CANCEL);
  GroupEnd();
  return TRUE;
}

Bool lmDlgJPGPSD_Options::InitValues() {
  SetNumber(this, LM_ANIM_JPEG_QUALITY, quality);
  SetBool(LM_ANIM_PHOTOSHOP7, photoshop7);
  return TRUE;
}

Bool lmDlgJPGPSD_Options::Command(LONG id, const BaseContainer& /*msg*/) {
  if (id == LM_ANIM_JPEG_QUALITY) GetLong(LM_ANIM_JPEG_QUALITY, quality);
  if (id == LM_ANIM_PHOTOSHOP7) GetBool(LM_ANIM_PHOTOSHOP7, photoshop7);
  return TRUE;
}
