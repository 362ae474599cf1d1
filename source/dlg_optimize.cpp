#include "dlg_optimize.h"

#include <algorithm>
#include <cstddef>

#include "lm_gadgets.h"
#include "lm_keys.h"

namespace {

constexpr LONG DLG_OPTIMIZE_FIRST = 15001, DLG_OPTIMIZE_LAST = 15060;
constexpr LONG DLG_OPTIMIZE_FIRST_SETTING = 15004;

constexpr LONG CHOICES[] = {LM_OPT_15004, LM_OPT_15006,       LM_OPT_15008,          LM_OPT_15010,
                            LM_OPT_15012, LM_OPT_RES_DIVISOR, LM_STEREO_GREY_SOURCE, LM_OPT_ENGINE};

constexpr LONG CHECK_BOXES[] = {LM_OPT_15014,           LM_OPT_15015,      LM_OPT_15016,     LM_OPT_15017,
                                LM_OPT_15019,           LM_OPT_15020,      LM_OPT_15021,     LM_OPT_15022,
                                LM_OPT_15023,           LM_OPT_15024,      LM_OPT_MAT_15026, LM_OPT_MAT_15027,
                                LM_OPT_MAT_15028,       LM_OPT_MAT_15029,  LM_OPT_MAT_15030, LM_OPT_MAT_15031,
                                LM_OPT_MAT_15032,       LM_OPT_MAT_15033,  LM_OPT_MAT_15034, LM_OPT_MAT_15035,
                                LM_OPT_MAT_15036,       LM_OPT_MAT_15037,  LM_OPT_MAT_15038, LM_OPT_MAT_15039,
                                LM_OPT_15041,           LM_OPT_15042,      LM_OPT_SHADERS,   LM_STEREO,
                                LM_STEREO_GREY,         LM_STEREO_TAG_OFF, LM_OPT_15058,     LM_OPT_15059,
                                LM_STEREO_NAMED_CAMERAS};

template <std::size_t N>
Bool IsOneOf(const LONG (&ids)[N], LONG id) {
  return std::find(ids, ids + N, id) != ids + N;
}

/// The factor that makes a real an integer for the event; 0 for other settings.
Real FactorOf(LONG id) {
  switch (id) {
  case LM_OPT_LOD:
  case LM_STEREO_SCALE:
    return 100;
  case LM_STEREO_SEPARATION:
    return 10000;
  default:
    return 0;
  }
}

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
  SetLong(LM_OPT_RES_DIVISOR, 1, 1, 30); // ApplySettings then limits it to 1 to 20
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

/// Sends the gadget's value to the viewer: reals times a factor, choices as they are, check boxes as 0 or 1.
void DlgOptimize::Send(LONG id) {
  LONG value = 0;
  if (const Real factor = FactorOf(id); factor > 0) {
    Real real = 0;
    if (!GetReal(id, real)) return;
    value = static_cast<LONG>(real * factor);
  } else if (IsOneOf(CHOICES, id)) {
    if (!GetLong(id, value)) return;
  } else if (IsOneOf(CHECK_BOXES, id)) {
    Bool on = FALSE;
    if (!GetBool(id, on)) return;
    value = on ? 1 : 0;
  } else {
    return; // not a setting's gadget
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

  for (const LONG id : {LM_STEREO_NAMED_CAMERAS, LABEL_STEREO_SEPARATION, LM_STEREO_SEPARATION,
                        LABEL_STEREO_SCALE, LM_STEREO_SCALE, LM_STEREO_GREY, LM_STEREO_TAG_OFF})
    Enable(id, stereo);
  if (stereo) {
    Enable(LABEL_STEREO_GREY_SOURCE, grey);
    Enable(LM_STEREO_GREY_SOURCE, grey);
    Enable(LABEL_STEREO_SEPARATION, !named);
    Enable(LM_STEREO_SEPARATION, !named);
    Enable(LABEL_STEREO_SCALE, !named);
    Enable(LM_STEREO_SCALE, !named);
    Enable(LM_STEREO_TAG_OFF, !named);
  } else {
    Enable(LABEL_STEREO_GREY_SOURCE, FALSE);
    Enable(LM_STEREO_GREY_SOURCE, FALSE);
  }
}
