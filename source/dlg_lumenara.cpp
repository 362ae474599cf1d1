#include "dlg_lumenara.h"

#include "lm_keys.h"

DlgLumenara::DlgLumenara() {
  settings.Init(ID_LUMENARA);
  DlgLumenara::LoadDefaultSettings();
  settings.Load();
}

DlgLumenara::~DlgLumenara() {
  settings.SetValue(LM_REGION_SHOWN, 0);
  settings.Save();
}

void DlgLumenara::LoadDefaultSettings() {
  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
}
