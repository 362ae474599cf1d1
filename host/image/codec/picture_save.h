// Pictures written to files.
#pragma once

#include "c4d_bitmap.h"
#include "desk_look.h"

namespace host {

/// The work of `BaseBitmap::Save`: the format's writer makes the file's bytes in memory, then the file is
/// replaced whole. A failure enters the host's record of failed writes. With `deep` the file has 16 bits a
/// channel, of light that this changes, where the format holds them (`holdsDeep`). Any thread; nothing is
/// thrown.
IMAGERESULT savePicture(const BaseBitmap& bitmap, const Filename& name, LONG format,
                        const BaseContainer* options, SAVEBIT bits, const DeskLook* deep = nullptr) noexcept;

} // namespace host
