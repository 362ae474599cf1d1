// Counts drawings of user areas that begin with OffScreenOn, in the whole test program.
#pragma once

#include "c4d_dialog.h"

/// The number of calls of `OffScreenOn` by this area on a surface that was still empty.
int offScreenDrawings(const GeUserArea& area);
