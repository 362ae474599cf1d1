// Pictures from memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace host {

/// Decoded pixels, rows from the top: four channels (red, green, blue, straight alpha). One of the three is
/// filled: 8 or 16 bits as the file has them (sRGB for colours), or floats (linear). Floats are finite: NaN
/// counts as 0, infinity as 65504.
struct DecodedPicture {
  int width = 0, height = 0;
  bool hasAlpha = false;            // false: alpha is 255, 65535 or 1
  bool tellsColors = false;         // the file had a usable profile or named its primaries
  std::size_t notFinite = 0;        // pixels that had NaN or an infinity
  std::vector<unsigned char> bytes; // files of up to 8 bits a channel
  std::vector<std::uint16_t> words; // files of 9 to 16 bits, and of 32-bit integers
  std::vector<float> floats;        // such as HDR and EXR
};

/// A 16-bit value as 8 bits, rounded.
inline unsigned char roundedTo8(std::uint16_t value) noexcept {
  return static_cast<unsigned char>((value * 255u + 32767u) / 65535u);
}
/// The integer pixels as 8 bits, 16 rounded; empty for floats.
std::vector<unsigned char> eightBits(const DecodedPicture& picture);

/// The use of a picture's pixels.
enum class PictureUse : std::uint8_t {
  shown,  // a picture of its own: upright as its EXIF or TIFF orientation says, colours by its profile
  colors, // a texture of colours: by its profile; rows as stored, as its coordinates were made for them
  data    // a texture of normals, roughness and the like: as stored, without regard to profiles
};

/// Decodes a picture file's bytes: PNG, JPEG, TIFF, OpenEXR, WebP, BMP, PSD (its flat picture), Radiance HDR,
/// GIF, PNM, TGA. The kind is told by the first bytes, for TGA by the end of the file or the suffix of
/// `name`, which is otherwise used for messages only. An ICC profile that is not sRGB converts the colours to
/// sRGB (floats to linear light), the primaries that an OpenEXR file names convert to Rec. 709's; one that is
/// refused is named by a line on the console, once a picture. Null with a sentence in `error` (may be null)
/// when the bytes are not a picture, are damaged, or the picture is larger than 32768 pixels a side or does
/// not fit into memory. Any thread; nothing is thrown.
std::shared_ptr<const DecodedPicture> decodePicture(std::span<const std::byte> file, const std::string& name,
                                                    std::string* error, PictureUse use = PictureUse::shown);

} // namespace host
