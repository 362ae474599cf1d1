// Where a saved picture comes from.
#pragma once

#include "c4d_bitmap.h"

namespace host {

/// Options for `BaseBitmap::Save`: the file says, where its format has room for it, where the film of
/// `rendered` comes from. Without it files say nothing.
void putOrigin(BaseContainer& options, const BaseBitmap& rendered);

} // namespace host
