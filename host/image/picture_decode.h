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
/// EXR.
struct DecodedPicture {
  int width = 0, height = 0;
  std::vector<unsigned char> bytes; // empty when floats are there
  std::vector<float> floats;
};

/// Decodes a picture file's bytes (PNG, JPEG, TIFF, EXR, HDR, BMP, TGA, WebP...). Null with a sentence in
/// `error` when they are no picture, are damaged, or the picture is larger than 32768 pixels a side. Any
/// thread.
std::shared_ptr<const DecodedPicture> decodePicture(std::span<const std::byte> file, const std::string& name,
                                                    std::string* error);

} // namespace host
