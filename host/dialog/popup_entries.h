// The entries of a popup menu, as a container gives them.
#pragma once

#include <vector>

#include "c4d_container.h"

namespace host {

struct PopupEntry {
  LONG id = 0; // 0: a separator
  String text;
  bool enabled = true, checked = false;
};

/// Entries that are not strings are left out; a text's end "&c&" and "&d&" (in any order) is taken off.
std::vector<PopupEntry> popupEntries(const BaseContainer& entries);

/// Whether the user can choose this one.
bool canChoose(const std::vector<PopupEntry>& entries, LONG id);

} // namespace host
