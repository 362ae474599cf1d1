#include "dlg_options.h"

#include <initializer_list>

#include "lm_gadgets.h"
#include "lm_keys.h"

namespace {

constexpr LONG DLG_OPTIONS_FIRST = 20000, DLG_OPTIONS_LAST = 20072;

} // namespace

Bool DlgOptions::CreateLayout() {
  if (!LoadDialogResource(DLG_OPTIONS, nullptr, BFH_SCALEFIT | BFV_SCALEFIT)) return FALSE;
  AttachUserArea(titlebar, DLG_OPTIONS_TITLEBAR);

  // Sets the ranges before the values.
  for (const LONG key : {LM_REFRESH_DELAY, LM_MIN_WIDTH, LM_MIN_HEIGHT, LM_HISTORY_SIZE})
    SetNumber(this, key, static_cast<LONG>(0));
  SetNumber(this, LM_ZOOM_STEP, 0.1);
  SetColorField(LM_ANAGLYPH_LEFT, Vector(1, 0, 0), 1.0);
  SetColorField(LM_ANAGLYPH_RIGHT, Vector(0, 1, 1), 1.0);

  ApplySettings();

  String path;
  GetString(LM_STAMP_IMAGE_FILE, path);
  if (!CheckImage(path)) {
    SetString(LM_STAMP_IMAGE_FILE, "");
    SetBool(LM_STAMP_IMAGE, FALSE);
  }
  SetEnabling();
  return TRUE;
}

void DlgOptions::ApplySettings() {
  const BaseContainer& data = *settings->GetDataInstance();
  for (LONG id = DLG_OPTIONS_FIRST + 1; id <= DLG_OPTIONS_LAST; ++id)
    SetGadget(this, id, data);
}

void DlgOptions::SaveSettings() {
  BaseContainer& data = *settings->GetDataInstance();
  for (LONG id = DLG_OPTIONS_FIRST; id <= DLG_OPTIONS_LAST; ++id) {
    LONG number = 0;
    Real real = 0, brightness = 0;
    Vector color;
    String text;
    Bool on = FALSE;
    switch (data.GetType(id)) {
    case DA_LONG:
      if (GetLong(id, number)) data.SetLong(id, number);
      break;
    case DA_REAL:
      if (GetReal(id, real)) data.SetReal(id, real);
      break;
    case DA_VECTOR:
      if (GetColorField(id, color, brightness)) data.SetVector(id, color);
      break;
    case DA_STRING:
      if (GetString(id, text)) data.SetString(id, text);
      break;
    case DA_BOOL:
      if (GetBool(id, on)) data.SetBool(id, on);
      break;
    case DA_NIL:
      if ((id == LM_STEREO_LEFT_CAMERA || id == LM_STEREO_RIGHT_CAMERA) && GetString(id, text))
        data.SetString(id, text);
      break;
    default:
      break;
    }
  }
  settings->Save();
}

Bool DlgOptions::Command(LONG id, const BaseContainer& /*msg*/) {
  if (id == DLG_OPTIONS_BROWSE) {
    Filename file;
    if (file.FileSelect(FILESELECTTYPE_IMAGES, FILESELECT_LOAD, "Load Image")) {
      if (CheckImage(file.GetString())) {
        SetString(LM_STAMP_IMAGE_FILE, file.GetString());
      } else {
        MessageDialog("Error: Invalid Image");
      }
    }
  }
  SetEnabling();
  return TRUE;
}

Bool DlgOptions::CheckImage(String path) {
  const AutoAlloc<BaseBitmap> bitmap;
  return bitmap && bitmap->Init(Filename(path)) == IMAGERESULT_OK;
}

Bool DlgOptions::AskClose() {
  SaveSettings();
  return FALSE;
}

void DlgOptions::SetEnabling() {
  const auto checked = [this](LONG id) {
    Bool on = FALSE;
    GetBool(id, on);
    return on;
  };
  Enable(LM_REFRESH_WAIT, checked(LM_AUTO_REFRESH));
  Enable(LM_REFRESH_DELAY, checked(LM_AUTO_REFRESH) && !checked(LM_REFRESH_WAIT));

  const auto enable = [this, &checked](LONG control, std::initializer_list<LONG> gadgets) {
    for (const LONG id : gadgets)
      Enable(id, checked(control));
  };
  enable(LM_STAMP_RENDER_TIME, {LM_STAMP_RENDER_TIME_H, LM_STAMP_RENDER_TIME_V});
  enable(LM_STAMP_DATE, {LM_STAMP_DATE_H, LM_STAMP_DATE_V});
  enable(LM_STAMP_DOCUMENT, {LM_STAMP_DOCUMENT_H, LM_STAMP_DOCUMENT_V});
  enable(LM_STAMP_CAMERA, {LM_STAMP_CAMERA_H, LM_STAMP_CAMERA_V});
  enable(LM_STAMP_TIMECODE, {LM_STAMP_TIMECODE_H, LM_STAMP_TIMECODE_V});
  enable(LM_STAMP_CUSTOM1, {LM_STAMP_TEXT1, LM_STAMP_CUSTOM1_H, LM_STAMP_CUSTOM1_V});
  enable(LM_STAMP_CUSTOM2, {LM_STAMP_TEXT2, LM_STAMP_CUSTOM2_H, LM_STAMP_CUSTOM2_V});
  enable(LM_STAMP_IMAGE, {LM_STAMP_IMAGE_FILE, DLG_OPTIONS_BROWSE, LM_STAMP_IMAGE_H, LM_STAMP_IMAGE_V});

  LONG viewSize = 0;
  GetLong(LM_VIEW_SIZE, viewSize);
  Enable(LM_MIN_WIDTH, viewSize == 1);
  Enable(LM_MIN_HEIGHT, viewSize == 1);
  enable(LM_OPT_20059, {LM_OPT_20063});
}
