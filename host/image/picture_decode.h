// Pictures from memory.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace host {

/// Decoded pixels, rows from the top: four channels (red, green, blue, straight alpha), 8 bits as the file
/// has them (sRGB for colours), or floats (linear) for pictures of more than 8 bits' range such as HDR and
/// EXR. Integers of 16 bits are rounded to 8. Floats are finite: NaN counts as 0, infinity as 65504.
struct DecodedPicture {
  int width = 0, height = 0;
  bool hasAlpha = false;            // false: alpha is 255, or 1
  std::vector<unsigned char> bytes; // empty when floats are there
  std::vector<float> floats;
};

/// Decodes a picture file's bytes: PNG, JPEG, TIFF, OpenEXR, Radiance HDR, BMP, GIF, TGA, WebP, PNM, PSD (its
/// flat picture). The kind is told by the first bytes, for TGA by the end of the file or the suffix of
/// `name`, which is otherwise used for messages only. Null with a sentence in `error` (may be null) when they
/// are no picture, are damaged, or the picture is larger than 32768 pixels a side or does not fit into
/// memory. Any thread; nothing is thrown.
std::shared_ptr<const DecodedPicture> decodePicture(std::span<const std::byte> file, const std::string& name,
                                                    std::string* error);

} // namespace host
