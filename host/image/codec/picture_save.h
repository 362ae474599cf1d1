// Pictures written to files. Private to host/image.
#pragma once

#include "c4d_bitmap.h"

namespace host {

/// The work of `BaseBitmap::Save`: the format's writer makes the file's bytes in memory, then the file is
/// replaced whole. A failure enters the host's record of failed writes. Any thread; nothing is thrown.
IMAGERESULT savePicture(const BaseBitmap& bitmap, const Filename& name, LONG format,
                        const BaseContainer* options, SAVEBIT bits) noexcept;

} // namespace host
