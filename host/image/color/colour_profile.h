// Colour profiles of pictures (ICC.1) through lcms2. Private to host/image.
#pragma once

#include <string>

#include "picture_codec.h"

namespace host {

/// Converts the colours to sRGB, floats to its linear light, by the file's profile; relative colorimetric
/// with black point compensation. A profile that gives sRGB's codes to within 2 of 255 changes nothing, as
/// does none. Inks are made red, green and blue by a plain formula when there is no profile for them. False,
/// with the reason, when the profile is refused: the colours are then used as if there were none. Any thread.
bool convertColours(RawPicture& raw, std::string* reason);

/// Inks by the plain formula: (1 - ink) (1 - black). Others stay.
void mixInks(RawPicture& raw);

} // namespace host
