#include "settings_keeper.h"

#include "c4d_file.h"
#include "lm_keys.h"
#include "preferences.h"

namespace batch {

SettingsKeeper::SettingsKeeper(const Filename& preferences) : preferences_(preferences), before_(stored()) {
}

void SettingsKeeper::collect() {
  const BaseContainer now = stored();
  for (LONG index = 0; index < now.GetCount(); ++index) {
    const LONG key = now.GetIndexId(index);
    if (now.GetData(key) != before_.GetData(key)) changes_.SetData(key, now.GetData(key));
  }
}

void SettingsKeeper::putBack() {
  if (changes_.GetCount() == 0) return;
  host::Preferences preferences(preferences_);
  preferences.set(ID_LUMENARA, changes_, true);
}

BaseContainer SettingsKeeper::stored() const {
  if (!GeFExist(preferences_)) return BaseContainer();
  host::Preferences preferences(preferences_);
  const BaseContainer* settings = preferences.get(ID_LUMENARA);
  return settings ? *settings : BaseContainer();
}

} // namespace batch
