#include "lm_settings.h"

BaseContainer* lmSettings::GetDataInstance() {
  return &data;
}

void lmSettings::Init(LONG newId) {
  id = newId;
}

Bool lmSettings::Save() {
  if (id == 0) return FALSE;
  SetWorldPluginData(id, data, TRUE);
  return TRUE;
}

Bool lmSettings::Load() {
  if (id == 0) return FALSE;
  const BaseContainer* stored = GetWorldPluginData(id);
  if (!stored) return FALSE;

  for (LONG index = 0;; ++index) {
    const LONG key = stored->GetIndexId(index);
    if (key == -1) break;
    switch (stored->GetType(key)) {
    case DA_STRING:
      data.SetString(key, stored->GetString(key));
      break;
    case DA_REAL:
      data.SetReal(key, stored->GetReal(key));
      break;
    case DA_VECTOR:
      data.SetVector(key, stored->GetVector(key));
      break;
    case DA_LONG:
      data.SetLong(key, stored->GetLong(key));
      break;
    case DA_CONTAINER:
      data.SetContainer(key, stored->GetContainer(key));
      break;
    case DA_FILENAME:
      data.SetFilename(key, stored->GetFilename(key));
      break;
    case DA_BOOL:
      data.SetBool(key, stored->GetBool(key));
      break;
    default:
      break; // values of any other type are skipped
    }
  }
  return TRUE;
}
