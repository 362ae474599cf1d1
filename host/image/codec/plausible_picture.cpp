// Cheap checks of headers against the size of the file, before a reader is asked.
#include <cstdint>
#include <string_view>

#include "picture_codec.h"

namespace host {
namespace {

using namespace std::string_view_literals;

std::string_view view(PictureBytes file) {
  return {reinterpret_cast<const char*>(file.data()), file.size()};
}

std::uint32_t number(PictureBytes file, std::size_t offset, std::size_t count, bool lowestFirst) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t at = lowestFirst ? offset + count - 1 - i : offset + i;
    value = (value << 8) | std::to_integer<std::uint32_t>(file[at]);
  }
  return value;
}

/// Every chunk is there up to the last one.
bool plausibleChunks(PictureBytes file) {
  for (std::size_t at = 8; file.size() - at >= 12;) {
    const std::uint64_t length = number(file, at, 4, false);
    if (length > file.size() - at - 12) return false;
    if (view(file.subspan(at + 4, 4)) == "IEND") return true;
    at += static_cast<std::size_t>(length) + 12;
  }
  return false;
}

/// The place behind the text that begins at `at` and ends with a 0; the file's end when there is none.
std::size_t behindText(PictureBytes file, std::size_t at) {
  const std::size_t end = view(file).find('\0', at);
  return end == std::string_view::npos ? file.size() : end + 1;
}

} // namespace

/// No attribute of a header is larger than what is left of the file: the library would ask for its memory
/// first. Each is a name, a type, a size and that many bytes; a 0 ends a header, and another one those of
/// many parts.
bool plausibleExr(PictureBytes file) {
  constexpr unsigned manyParts = 0x10;
  if (file.size() < 9) return false;
  const bool many = (number(file, 5, 1, true) & manyParts) != 0;
  for (std::size_t at = 8; at < file.size();) {
    if (std::to_integer<int>(file[at]) == 0) {
      ++at;
      if (!many || at >= file.size() || std::to_integer<int>(file[at]) == 0) return true;
      continue;
    }
    const std::size_t size = behindText(file, behindText(file, at));
    if (file.size() - size < 4) return false;
    const std::size_t bytes = number(file, size, 4, true);
    if (bytes > file.size() - size - 4) return false;
    at = size + 4 + bytes;
  }
  return false;
}

/// Deflate packs at most 1032 bytes into one.
bool plausiblePng(PictureBytes file) {
  if (file.size() < 33 || view(file.subspan(12, 4)) != "IHDR") return false;
  const std::uint64_t width = number(file, 16, 4, false), height = number(file, 20, 4, false);
  const std::uint64_t bits = std::to_integer<unsigned>(file[24]);
  if (width == 0 || height == 0 || width > 0x7fffffff || height > 0x7fffffff) return false;
  return width * height / 8 * bits <= file.size() * std::uint64_t{1040} && plausibleChunks(file);
}

/// The last mark of a JPEG ends it; one without was cut off, and would be filled up with grey.
bool plausibleJpeg(PictureBytes file) {
  const std::string_view text = view(file);
  const std::size_t scan = text.rfind("\xff\xda"sv), end = text.rfind("\xff\xd9"sv);
  return scan != std::string_view::npos && end != std::string_view::npos && end > scan;
}

/// Kinds, depths and palettes that exist, and plain pixels that are all there.
bool plausibleTga(PictureBytes file) {
  if (file.size() < 18) return false;
  const std::uint32_t palette = number(file, 1, 1, true), kind = number(file, 2, 1, true);
  const std::uint32_t entries = number(file, 5, 2, true), entryBits = number(file, 7, 1, true);
  const std::uint64_t width = number(file, 12, 2, true), height = number(file, 14, 2, true);
  const std::uint32_t bits = number(file, 16, 1, true);
  const bool packed = kind >= 9 && kind <= 11;
  const std::uint32_t plain = packed ? kind - 8 : kind;
  if (plain < 1 || plain > 3 || palette > 1 || width == 0 || height == 0) return false;
  if (plain == 1 && (palette != 1 || bits != 8 || entries == 0)) return false;
  if (palette == 1 && entryBits != 15 && entryBits != 16 && entryBits != 24 && entryBits != 32) return false;
  if (plain == 2 && bits != 15 && bits != 16 && bits != 24 && bits != 32) return false;
  if (plain == 3 && bits != 8 && bits != 16) return false;
  const std::uint64_t bytes = (bits + 7) / 8;
  const std::uint64_t start = 18 + number(file, 0, 1, true) + std::uint64_t{entries} * ((entryBits + 7) / 8);
  // A packet of runs holds at most 128 pixels.
  const std::uint64_t least = packed ? (width * height + 127) / 128 * (1 + bytes) : width * height * bytes;
  return start + least <= file.size();
}

/// Headers that exist, and plain pixels that are all there.
bool plausibleBmp(PictureBytes file) {
  if (file.size() < 30) return false;
  const std::uint32_t start = number(file, 10, 4, true), header = number(file, 14, 4, true);
  if (header == 12) return start < file.size();
  if (header < 40 || header > 124 || file.size() < 14 + std::uint64_t{header}) return false;
  const auto width = static_cast<std::int32_t>(number(file, 18, 4, true));
  const auto height = static_cast<std::int32_t>(number(file, 22, 4, true));
  const std::uint32_t bits = number(file, 28, 2, true), packing = number(file, 30, 4, true);
  if (width <= 0 || height == 0 || height == INT32_MIN || start >= file.size()) return false;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32) return false;
  if (packing == 1 || packing == 2) return true;
  const std::uint64_t row = (static_cast<std::uint64_t>(width) * bits + 31) / 32 * 4;
  const auto rows = static_cast<std::uint64_t>(height < 0 ? -static_cast<std::int64_t>(height) : height);
  return start + row * rows <= file.size();
}

} // namespace host
