// Folders of configuration files, by the XDG Base Directory rules. Any thread.
#pragma once

#include <vector>

#include "c4d_filename.h"

namespace host::platform {

/// The most important first: $XDG_CONFIG_HOME, else ~/.config; then $XDG_CONFIG_DIRS, else /etc/xdg. Relative
/// paths count as unset. The folders need not exist.
std::vector<Filename> configFolders();

} // namespace host::platform
