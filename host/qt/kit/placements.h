// Places of dialogs, kept in the program's preferences. Main thread.
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

/// All stored placements, in the order in which they were first stored; empty without preferences.
std::vector<StoredPlacement> storedPlacements();
std::optional<StoredPlacement> storedPlacement(LONG pluginId, LONG subId);
/// Stores one; an unchanged one is not written again.
void storePlacement(const StoredPlacement& stored);
/// Dialogs open in their default places again. The list of open dialogs stays.
void forgetPlaces();

} // namespace host
