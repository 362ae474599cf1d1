// The header of an OpenEXR file, looked at before the library reads it.
#include <algorithm>
#include <array>
#include <string_view>

#include "file_bytes.h"
#include "picture_codec.h"

namespace host {
namespace {

/// Types of attributes whose values have one size, in bytes.
struct FixedType {
  std::string_view name;
  std::size_t bytes;
};
constexpr FixedType fixedTypes[] = {{"box2f", 16},
                                    {"box2i", 16},
                                    {"chromaticities", 32},
                                    {"compression", 1},
                                    {"deepImageState", 1},
                                    {"double", 8},
                                    {"envmap", 1},
                                    {"float", 4},
                                    {"int", 4},
                                    {"keycode", 28},
                                    {"lineOrder", 1},
                                    {"m33d", 72},
                                    {"m33f", 36},
                                    {"m44d", 128},
                                    {"m44f", 64},
                                    {"rational", 8},
                                    {"timecode", 8},
                                    {"tiledesc", 9},
                                    {"v2d", 16},
                                    {"v2f", 8},
                                    {"v2i", 8},
                                    {"v3d", 24},
                                    {"v3f", 12},
                                    {"v3i", 12}};

std::uint32_t field(PictureBytes file, std::size_t offset, std::size_t count) {
  return numberAt(file, offset, count, std::endian::little);
}

/// The offset after the text that begins at `at` and ends with a 0; the file's end when the 0 is missing.
std::size_t behindText(PictureBytes file, std::size_t at) {
  const std::size_t end = textOf(file).find('\0', at);
  return end == std::string_view::npos ? file.size() : end + 1;
}

/// Channels, each a name and 16 bytes, end with an empty name where the value ends.
bool plausibleChannels(PictureBytes value) {
  constexpr std::size_t channelBytes = 16;
  for (std::size_t at = 0; at < value.size();) {
    if (field(value, at, 1) == 0) return at + 1 == value.size();
    at = behindText(value, at) + channelBytes;
  }
  return false;
}

/// A width, a height, and four bytes a pixel.
bool plausiblePreview(PictureBytes value) {
  const std::uint64_t width = field(value, 0, 4), height = field(value, 4, 4);
  return value.size() >= 8 && width <= value.size() && height <= value.size() &&
         value.size() == 8 + width * height * 4;
}

/// The library takes the values of the types that it knows for as long as they are by themselves, not for as
/// long as the file says. Where the two differ it would take something else for the next attribute's size.
bool plausibleValue(std::string_view type, PictureBytes value) {
  if (type == "chlist") return plausibleChannels(value);
  if (type == "preview") return plausiblePreview(value);
  if (type == "floatvector") return value.size() % 4 == 0;
  const auto* known = std::find_if(std::begin(fixedTypes), std::end(fixedTypes),
                                   [type](const FixedType& fixed) { return fixed.name == type; });
  return known == std::end(fixedTypes) || value.size() == known->bytes;
}

} // namespace

/// No attribute of a header is larger than what is left of the file: the library would ask for its memory
/// first. Each is a name, a type, a size and that many bytes; a 0 ends a header, and another one those of
/// many parts.
bool plausibleExr(PictureBytes file) {
  constexpr unsigned manyParts = 0x10;
  if (file.size() < 9) return false;
  const bool many = (field(file, 5, 1) & manyParts) != 0;
  for (std::size_t at = 8; at < file.size();) {
    if (field(file, at, 1) == 0) {
      ++at;
      if (!many || at >= file.size() || field(file, at, 1) == 0) return true;
      continue;
    }
    const std::size_t type = behindText(file, at), size = behindText(file, type);
    if (file.size() - size < 4) return false;
    const std::size_t bytes = field(file, size, 4);
    if (bytes > file.size() - size - 4) return false;
    const std::string_view typeName = textOf(file).substr(type, size - type - 1);
    if (!plausibleValue(typeName, file.subspan(size + 4, bytes))) return false;
    at = size + 4 + bytes;
  }
  return false;
}

} // namespace host
