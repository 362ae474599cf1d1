// What the image filters share: pixels to bytes through the image library. Private to host/image.
#pragma once

#include <OpenImageIO/imageio.h>

#include <functional>

#include "image_filter.h"

namespace host {

/// The bitmap's pixels as red, green, blue and, when the job wants it, alpha: 8 bits each, rows from the top.
FileBytes pixelBytes(const FilterJob& job);

/// Adds to a picture's description; called while the image library is in use.
using Describe = std::function<void(OIIO::ImageSpec&)>;

/// Encodes pixels of `type` (FLOAT or UINT8), as many channels as the job wants, with the named writer.
FileBytes encodePixels(const char* writer, const FilterJob& job, OIIO::TypeDesc type, const void* pixels,
                       const Describe& describe);

/// The same for the bitmap's own 8-bit sRGB pixels.
FileBytes encodeDisplay(const char* writer, const FilterJob& job, const Describe& describe);

} // namespace host
