// The entries of a popup menu, from its container.
#pragma once

#include <vector>

#include "c4d_container.h"

namespace host {

struct PopupEntry {
  LONG id = 0; // 0: a separator
  String text;
  bool enabled = true, checked = false;
};

/// Skips entries that are not strings, and removes "&c&" and "&d&" (in any order) from the end of a text.
std::vector<PopupEntry> popupEntries(const BaseContainer& entries);

/// Whether the user can choose the entry.
bool canChoose(const std::vector<PopupEntry>& entries, LONG id);

} // namespace host
