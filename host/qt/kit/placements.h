// Where dialogs were, kept in the program's preferences. Main thread.
#pragma once

#include <QByteArray>
#include <optional>
#include <vector>

#include "user_interface.h"

namespace host {

struct StoredPlacement {
  DialogPlacement placement;
  bool open = false;
  QByteArray state; // of the frame, as its DialogHost gave it
};

/// All that are stored, in the order of their first storing; none without preferences.
std::vector<StoredPlacement> storedPlacements();
std::optional<StoredPlacement> storedPlacement(LONG pluginId, LONG subId);
/// Stores one; writes nothing when nothing has changed.
void storePlacement(const StoredPlacement& stored);
/// Dialogs open where they do at first; which of them were open stays.
void forgetPlaces();

} // namespace host
