// Colour profiles of pictures (ICC.1) through lcms2. Private to host/image.
#pragma once

#include <string>

#include "picture_codec.h"

namespace host {

/// Converts the colours to sRGB, floats to its linear light, by the file's profile; relative colorimetric
/// with black point compensation. A profile that gives sRGB's codes to within 2 of 255 changes nothing;
/// neither does a missing one. Inks without a profile become red, green and blue by a plain formula. False,
/// with the reason, when the profile is refused: the colours are then used as if it were missing. Any thread.
bool convertColors(RawPicture& raw, std::string* reason);

/// Converts inks by the plain formula (1 - ink) (1 - black). Other colours do not change.
void mixInks(RawPicture& raw);

} // namespace host
