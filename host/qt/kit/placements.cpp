#include "placements.h"

#include "preferences.h"

namespace host {

namespace {

const char* const preferencesName = "dialogs";
// Keys of one entry; the entries are containers under 1, 2, 3...
enum Key : LONG { keyPlugin = 1, keySub, keyType, keyX, keyY, keyWidth, keyHeight, keyOpen, keyState };
constexpr LONG mostEntries = 1000;

StoredPlacement read(const BaseContainer& data) {
  StoredPlacement stored;
  DialogPlacement& placement = stored.placement;
  placement.type = DLG_TYPE_ASYNC;
  placement.pluginId = data.GetLong(keyPlugin);
  placement.subId = data.GetLong(keySub);
  placement.x = data.GetLong(keyX, -1);
  placement.y = data.GetLong(keyY, -1);
  placement.width = std::clamp<LONG>(data.GetLong(keyWidth), 0, 32767);
  placement.height = std::clamp<LONG>(data.GetLong(keyHeight), 0, 32767);
  stored.open = data.GetBool(keyOpen) != FALSE;
  std::size_t size = 0;
  if (const void* bytes = data.GetMemory(keyState, &size); bytes && size < 1u << 20)
    stored.state = QByteArray(static_cast<const char*>(bytes), static_cast<qsizetype>(size));
  return stored;
}

BaseContainer write(const StoredPlacement& stored) {
  BaseContainer data;
  data.SetLong(keyPlugin, stored.placement.pluginId);
  data.SetLong(keySub, stored.placement.subId);
  data.SetLong(keyX, stored.placement.x);
  data.SetLong(keyY, stored.placement.y);
  data.SetLong(keyWidth, stored.placement.width);
  data.SetLong(keyHeight, stored.placement.height);
  data.SetBool(keyOpen, stored.open ? TRUE : FALSE);
  data.SetMemory(keyState, stored.state.constData(), static_cast<std::size_t>(stored.state.size()));
  return data;
}

bool isOf(const StoredPlacement& stored, LONG pluginId, LONG subId) {
  return stored.placement.pluginId == pluginId && stored.placement.subId == subId;
}

} // namespace

std::vector<StoredPlacement> storedPlacements() {
  std::vector<StoredPlacement> list;
  const BaseContainer* all = preferences() ? preferences()->getNamed(preferencesName) : nullptr;
  for (LONG i = 0; all && i < std::min(all->GetCount(), mostEntries); ++i)
    if (const BaseContainer* one = all->GetContainerInstance(all->GetIndexId(i))) list.push_back(read(*one));
  return list;
}

std::optional<StoredPlacement> storedPlacement(LONG pluginId, LONG subId) {
  for (const StoredPlacement& stored : storedPlacements())
    if (isOf(stored, pluginId, subId)) return stored;
  return {};
}

void storePlacement(const StoredPlacement& stored) {
  if (!preferences()) return;
  BaseContainer all;
  bool found = false;
  LONG next = 1;
  for (const StoredPlacement& other : storedPlacements()) {
    const bool same = isOf(other, stored.placement.pluginId, stored.placement.subId);
    all.SetContainer(next++, write(same ? stored : other));
    found = found || same;
  }
  if (!found) all.SetContainer(next, write(stored));
  const BaseContainer* before = preferences()->getNamed(preferencesName);
  if (!before || !(*before == all)) preferences()->setNamed(preferencesName, all);
}

void forgetPlaces() {
  for (StoredPlacement stored : storedPlacements()) {
    stored.placement.x = stored.placement.y = -1;
    stored.placement.width = stored.placement.height = 0;
    stored.state.clear();
    storePlacement(stored);
  }
}

} // namespace host
