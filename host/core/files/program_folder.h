// The program's own files, in a build folder and where it is installed.
#pragma once

#include "c4d_filename.h"

namespace host {

/// The folder of `plugins/`, `scenes/`, `library/` and `denoise/`. Installed, that of the host's library,
/// which nothing else shares (`lib/lumenara`); in a build folder, the one above `lib/` and `bin/`. Any
/// thread.
Filename programFolder();

} // namespace host
