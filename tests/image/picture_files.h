// Picture files made with the formats' own libraries, for the tests of their readers.
#pragma once

#include <lcms2.h>
#include <spng.h>
#include <tiffio.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace picture_files {

using Bytes = std::vector<std::byte>;
using Values = std::vector<unsigned char>;

struct PngParts {
  std::uint32_t width = 1, height = 1;
  int depth = 8, colors = SPNG_COLOR_TYPE_TRUECOLOR;
  bool interlaced = false;
  std::vector<std::array<unsigned char, 4>> palette; // with alpha
  Bytes profile, exif;
};
/// `rows` as the format packs them, highest bit and byte first.
Bytes makePng(const PngParts& parts, const Values& rows);

struct JpegParts {
  unsigned width = 1, height = 1;
  int channels = 3; // 1 grey, 3, or 4 inks as they are stored
  int stored = 0;   // the library's colour space of the file; 0: its default
  bool progressive = false;
  int orientation = 0;
  Bytes profile;
};
Bytes makeJpeg(const JpegParts& parts, const Values& pixels);

/// A TIFF file; `fill` sets its tags and writes its pixels. `mode`: "w", "wb" (highest byte first), "w8"
/// (large).
Bytes makeTiff(const char* mode, const std::function<void(TIFF*)>& fill);
/// The tags of a plain picture of strips.
void setTags(TIFF* tiff, std::uint32_t width, std::uint32_t height, int samples, int bits, int format,
             int colors);
void writeRows(TIFF* tiff, std::uint32_t height, const void* rows, std::size_t rowBytes);

Bytes makeWebp(unsigned width, unsigned height, const Values& rgba, float quality, const Bytes& profile = {});
/// Two frames on a canvas.
Bytes makeAnimation(unsigned width, unsigned height, const Values& first, const Values& second);

/// Profiles with sRGB's primaries and the given exponent; of grey; of inks, where all ink but black is
/// ignored.
Bytes rgbProfile(double exponent);
Bytes greyProfile(double exponent);
Bytes inkProfile();
/// A link between two devices, which pictures must not contain.
Bytes linkProfile();

/// EXIF data with an orientation, in the byte order of "II" or "MM".
Bytes makeExif(int orientation, bool lowestFirst = true);

} // namespace picture_files
