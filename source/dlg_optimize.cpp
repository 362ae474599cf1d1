#include "dlg_optimize.h"

#include "lm_gadgets.h"
#include "lm_keys.h"

namespace {

constexpr LONG DLG_OPTIMIZE = 15000;          // the dialog's resource
constexpr LONG DLG_OPTIMIZE_TITLEBAR = 15001; // the user area of the title bar
constexpr LONG DLG_OPTIMIZE_FIRST = 15001, DLG_OPTIMIZE_LAST = 15060;
constexpr LONG DLG_OPTIMIZE_FIRST_SETTING = 15004;

// Labels, which are greyed with what they name.
constexpr LONG LABEL_SEPARATION = 15049;
constexpr LONG LABEL_GREY_SOURCE = 15051;
constexpr LONG LABEL_SCALE = 15054;

} // namespace

DlgOptimize::DlgOptimize() {
  settings.Init(ID_LUMENARA);
  DlgOptimize::LoadDefaultSettings();
  settings.Load();
  SpecialEventAdd(ID_LUMENARA_OPTIMIZE, 0, 0);
}

DlgOptimize::~DlgOptimize() {
  settings.Save();
}

Bool DlgOptimize::CreateLayout() {
  GroupBorderSpace(0, 0, 0, 0);
  if (!LoadDialogResource(DLG_OPTIMIZE, nullptr, BFH_SCALEFIT | BFV_SCALEFIT)) return FALSE;
  AttachUserArea(titlebar, DLG_OPTIMIZE_TITLEBAR);
  SetLong(LM_OPT_RES_DIVISOR, 1, 1, 30); // the stored value comes with 1 to 20
  SetNumber(this, LM_OPT_LOD, 1.0);
  SetNumber(this, LM_STEREO_SEPARATION, 0.0);
  SetNumber(this, LM_STEREO_SCALE, 1.0);
  return TRUE;
}

Bool DlgOptimize::InitValues() {
  ApplySettings();
  SetEnabling();
  return TRUE;
}

void DlgOptimize::ApplySettings() {
  settings.Load();
  const BaseContainer& data = *settings.GetDataInstance();
  for (LONG index = 0;; ++index) {
    const LONG id = data.GetIndexId(index);
    if (id == NOTOK) break;
    if (id >= DLG_OPTIMIZE_FIRST && id <= DLG_OPTIMIZE_LAST) SetGadget(this, id, data);
  }
}

Bool DlgOptimize::Command(LONG id, const BaseContainer& /*msg*/) {
  if (id >= DLG_OPTIMIZE_FIRST_SETTING && id <= DLG_OPTIMIZE_LAST) Send(id);
  SetEnabling();
  return TRUE;
}

/// Tells the viewer the gadget's value.
void DlgOptimize::Send(LONG id) {
  LONG value = 0;
  Real real = 0;
  Bool on = FALSE;
  switch (id) {
  case LM_OPT_15004:
  case LM_OPT_15006:
  case LM_OPT_15008:
  case LM_OPT_15010:
  case LM_OPT_15012:
  case LM_OPT_RES_DIVISOR:
  case LM_STEREO_GREY_SOURCE:
  case LM_OPT_ENGINE:
    if (!GetLong(id, value)) return;
    break;
  case LM_OPT_LOD:
    if (!GetReal(id, real)) return;
    value = static_cast<LONG>(real * 100);
    break;
  case LM_STEREO_SEPARATION:
    if (!GetReal(id, real)) return;
    value = static_cast<LONG>(real * 10000);
    break;
  case LM_STEREO_SCALE:
    if (!GetReal(id, real)) return;
    value = static_cast<LONG>(real * 100);
    break;
  case LM_OPT_15014:
  case LM_OPT_15015:
  case LM_OPT_15016:
  case LM_OPT_15017:
  case LM_OPT_15019:
  case LM_OPT_15020:
  case LM_OPT_15021:
  case LM_OPT_15022:
  case LM_OPT_15023:
  case LM_OPT_15024:
  case LM_OPT_MAT_15026:
  case LM_OPT_MAT_15027:
  case LM_OPT_MAT_15028:
  case LM_OPT_MAT_15029:
  case LM_OPT_MAT_15030:
  case LM_OPT_MAT_15031:
  case LM_OPT_MAT_15032:
  case LM_OPT_MAT_15033:
  case LM_OPT_MAT_15034:
  case LM_OPT_MAT_15035:
  case LM_OPT_MAT_15036:
  case LM_OPT_MAT_15037:
  case LM_OPT_MAT_15038:
  case LM_OPT_MAT_15039:
  case LM_OPT_15041:
  case LM_OPT_15042:
  case LM_OPT_SHADERS:
  case LM_STEREO:
  case LM_STEREO_GREY:
  case LM_STEREO_TAG_OFF:
  case LM_OPT_15058:
  case LM_OPT_15059:
  case LM_STEREO_NAMED_CAMERAS:
    if (!GetBool(id, on)) return;
    value = on ? 1 : 0;
    break;
  default:
    return; // shows no setting
  }
  SpecialEventAdd(ID_LUMENARA_OPTIMIZE, static_cast<ULLONG>(id),
                  static_cast<ULLONG>(static_cast<LLONG>(value)));
}

void DlgOptimize::LoadDefaultSettings() {
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_OPTIMIZE);
}

void DlgOptimize::SetEnabling() {
  Bool stereo = FALSE, grey = FALSE, named = FALSE;
  GetBool(LM_STEREO, stereo);
  GetBool(LM_STEREO_GREY, grey);
  GetBool(LM_STEREO_NAMED_CAMERAS, named);

  for (const LONG id :
       {static_cast<LONG>(LM_STEREO_NAMED_CAMERAS), LABEL_SEPARATION, static_cast<LONG>(LM_STEREO_SEPARATION),
        LABEL_SCALE, static_cast<LONG>(LM_STEREO_SCALE), static_cast<LONG>(LM_STEREO_GREY),
        static_cast<LONG>(LM_STEREO_TAG_OFF)})
    Enable(id, stereo);
  if (stereo) {
    Enable(LABEL_GREY_SOURCE, grey);
    Enable(LM_STEREO_GREY_SOURCE, grey);
    Enable(LABEL_SEPARATION, !named);
    Enable(LM_STEREO_SEPARATION, !named);
    Enable(LABEL_SCALE, !named);
    Enable(LM_STEREO_SCALE, !named);
    Enable(LM_STEREO_TAG_OFF, !named);
  } else {
    Enable(LABEL_GREY_SOURCE, FALSE);
    Enable(LM_STEREO_GREY_SOURCE, FALSE);
  }
}
