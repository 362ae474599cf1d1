// Readable names of the viewer's settings, for files and command lines that are written by hand. The viewer
// is a module, so the host keeps the names; a test compares numbers and types with the viewer's own table.
// Any thread.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "c4d_container.h"

namespace host {

/// The number of the container that holds the viewer's settings (world plug-in data).
constexpr LONG viewerSettings = 1021442;

struct SettingName {
  LONG key;
  const char* name; // "opt.gi": lower case, unique
  LONG type;        // DA_LONG, DA_REAL, DA_STRING, DA_VECTOR, DA_FILENAME, DA_CONTAINER
};

/// All of them, by number.
std::span<const SettingName> settingTable() noexcept;

/// Null for an unknown number.
const SettingName* findSettingName(LONG key) noexcept;
/// By readable name, in any case, or by number. Null for an unknown one.
const SettingName* findSettingName(std::string_view name);

} // namespace host
