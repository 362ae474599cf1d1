#include "picture_kind.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace host {
namespace {

using Bytes = std::span<const std::byte>;

std::string_view view(Bytes file) {
  return {reinterpret_cast<const char*>(file.data()), file.size()};
}

struct Mark {
  const char* kind;
  std::size_t offset;
  std::string_view bytes;
};

using namespace std::string_view_literals;
constexpr Mark marks[] = {
    {"png", 0, "\x89PNG\r\n\x1a\n"sv},
    {"jpeg", 0, "\xff\xd8\xff"sv},
    {"tiff", 0, "II*\0"sv},
    {"tiff", 0, "MM\0*"sv},
    {"tiff", 0, "II+\0"sv},
    {"tiff", 0, "MM\0+"sv},
    {"openexr", 0, "\x76\x2f\x31\x01"sv},
    {"hdr", 0, "#?RADIANCE"sv},
    {"hdr", 0, "#?RGBE"sv},
    {"gif", 0, "GIF87a"sv},
    {"gif", 0, "GIF89a"sv},
    {"webp", 8, "WEBP"sv},
    {"psd", 0, "8BPS"sv},
    {"bmp", 0, "BM"sv},
};

bool isPnm(std::string_view text) {
  return text.size() > 2 && text[0] == 'P' && text[1] >= '1' && text[1] <= '6' &&
         std::string_view(" \t\r\n#").find(text[2]) != std::string_view::npos;
}

bool hasSuffix(const std::string& name, std::string_view suffix) {
  if (name.size() < suffix.size()) return false;
  return std::equal(suffix.begin(), suffix.end(), name.end() - static_cast<std::ptrdiff_t>(suffix.size()),
                    [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b - 'A' + 'a' : b); });
}

std::uint32_t number(Bytes file, std::size_t offset, std::size_t count, bool lowestFirst) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t at = lowestFirst ? offset + count - 1 - i : offset + i;
    value = (value << 8) | std::to_integer<std::uint32_t>(file[at]);
  }
  return value;
}

/// The checksum of PNG's chunks: CRC-32 of ISO 3309, lowest bit first.
std::uint32_t checksum(Bytes bytes) {
  static const std::array<std::uint32_t, 256> table = [] {
    std::array<std::uint32_t, 256> made{};
    for (std::uint32_t i = 0; i < 256; ++i) {
      std::uint32_t value = i;
      for (int bit = 0; bit < 8; ++bit)
        value = (value >> 1) ^ (value & 1 ? 0xedb88320u : 0);
      made[i] = value;
    }
    return made;
  }();
  std::uint32_t crc = 0xffffffffu;
  for (const std::byte byte : bytes)
    crc = (crc >> 8) ^ table[(crc ^ std::to_integer<std::uint32_t>(byte)) & 255];
  return ~crc;
}

/// Every chunk is there up to the last one, and those that matter are whole.
bool plausibleChunks(Bytes file) {
  for (std::size_t at = 8; file.size() - at >= 12;) {
    const std::uint64_t length = number(file, at, 4, false);
    if (length > file.size() - at - 12) return false;
    const Bytes body = file.subspan(at + 4, static_cast<std::size_t>(length) + 4);
    const bool matters = std::to_integer<char>(body[0]) < 'a';
    if (matters && checksum(body) != number(file, at + 8 + static_cast<std::size_t>(length), 4, false))
      return false;
    if (view(body.first(4)) == "IEND") return true;
    at += static_cast<std::size_t>(length) + 12;
  }
  return false;
}

/// Deflate packs at most 1032 bytes into one.
bool plausiblePng(Bytes file) {
  if (file.size() < 33 || view(file.subspan(12, 4)) != "IHDR") return false;
  const std::uint64_t width = number(file, 16, 4, false), height = number(file, 20, 4, false);
  const std::uint64_t bits = std::to_integer<unsigned>(file[24]);
  if (width == 0 || height == 0 || width > 0x7fffffff || height > 0x7fffffff) return false;
  return width * height / 8 * bits <= file.size() * std::uint64_t{1040} && plausibleChunks(file);
}

/// The last mark of a JPEG ends it; one without was cut off, and would be filled up with grey.
bool plausibleJpeg(Bytes file) {
  const std::string_view text = view(file);
  const std::size_t scan = text.rfind("\xff\xda"sv), end = text.rfind("\xff\xd9"sv);
  return scan != std::string_view::npos && end != std::string_view::npos && end > scan;
}

/// Kinds, depths and palettes that exist, and plain pixels that are all there.
bool plausibleTga(Bytes file) {
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
bool plausibleBmp(Bytes file) {
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

} // namespace

const char* pictureKind(Bytes file, const std::string& name) {
  const std::string_view text = view(file);
  for (const Mark& mark : marks)
    if (text.size() >= mark.offset && text.substr(mark.offset, mark.bytes.size()) == mark.bytes)
      if (mark.offset == 0 || text.substr(0, 4) == "RIFF") return mark.kind;
  if (isPnm(text)) return "pnm";
  constexpr std::string_view footer = "TRUEVISION-XFILE.\0"sv;
  const bool marked = text.size() > footer.size() && text.substr(text.size() - footer.size()) == footer;
  return marked || hasSuffix(name, ".tga") ? "targa" : nullptr;
}

bool plausiblePicture(const char* kind, Bytes file) {
  const std::string_view name = kind;
  if (name == "png") return plausiblePng(file);
  if (name == "jpeg") return plausibleJpeg(file);
  if (name == "targa") return plausibleTga(file);
  if (name == "bmp") return plausibleBmp(file);
  return true;
}

} // namespace host
