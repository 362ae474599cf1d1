// What the image filters share: pixels to bytes through the image library. Private to host/image.
#pragma once

#include <OpenImageIO/imageio.h>

#include "image_filter.h"

namespace host {

/// The bitmap's pixels as red, green, blue and, when the job wants it, alpha: 8 bits each, rows from the top.
FileBytes pixelBytes(const FilterJob& job);

/// A description of an 8-bit sRGB picture for `encodePixels`.
OIIO::ImageSpec displaySpec(const FilterJob& job);

/// Encodes pixels of the spec's own type with the named writer.
FileBytes encodePixels(const char* writer, const OIIO::ImageSpec& spec, const void* pixels);

} // namespace host
