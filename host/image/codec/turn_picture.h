// Turns pictures upright. Private to host/image.
#pragma once

#include "picture_decode.h"

namespace host {

/// Turns and mirrors the stored rows by EXIF's and TIFF's orientation (1 to 8; tag 274 of TIFF 6.0).
void turnUpright(DecodedPicture& picture, int orientation);

} // namespace host
