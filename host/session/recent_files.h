// The list of recent scenes, kept in the preferences. Main thread.
#pragma once

#include <vector>

#include "c4d_filename.h"

namespace host {

/// The last ten, latest first, each once.
std::vector<Filename> recentFiles();
/// Puts a file in front.
void rememberRecentFile(const Filename& file);
void forgetRecentFile(const Filename& file);
void clearRecentFiles();
/// Removes entries that name no file, with one line on the console: the preferences may be damaged.
void mendRecentFiles();

} // namespace host
