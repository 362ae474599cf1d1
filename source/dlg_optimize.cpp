#include "dlg_optimize.h"

#include "lm_keys.h"

DlgOptimize::DlgOptimize() {
  settings.Init(ID_LUMENARA);
  DlgOptimize::LoadDefaultSettings();
  settings.Load();
  SpecialEventAdd(ID_LUMENARA_OPTIMIZE, 0, 0);
}

DlgOptimize::~DlgOptimize() {
  settings.Save();
}

void DlgOptimize::LoadDefaultSettings() {
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_OPTIMIZE);
}
