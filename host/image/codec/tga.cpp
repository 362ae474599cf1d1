// TGA (Truevision, version 2.0), through the library for rare formats.
#include "file_bytes.h"
#include "full_palette.h"
#include "rare_library.h"

namespace host {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t headerBytes = 18, footerBytes = 26;
constexpr std::size_t firstEntry = 3, entryCount = 5; // offsets

struct Header {
  std::uint32_t nameBytes, palette, kind, first, entries, entryBits, bits;
  std::uint64_t width, height;

  bool packed() const { return kind >= 9 && kind <= 11; }
  /// 1 palette, 2 colours, 3 grey.
  std::uint32_t plainKind() const { return packed() ? kind - 8 : kind; }
  std::size_t entryBytes() const { return (entryBits + 7) / 8; }
};

std::uint32_t field(PictureBytes file, std::size_t offset, std::size_t count) {
  return numberAt(file, offset, count, std::endian::little);
}

Header headerOf(PictureBytes file) {
  return {field(file, 0, 1),          field(file, 1, 1),          field(file, 2, 1),
          field(file, firstEntry, 2), field(file, entryCount, 2), field(file, 7, 1),
          field(file, 16, 1),         field(file, 12, 2),         field(file, 14, 2)};
}

bool knownPalette(const Header& header) {
  const std::uint32_t bits = header.entryBits;
  return header.palette == 0 ||
         (header.palette == 1 && (bits == 15 || bits == 16 || bits == 24 || bits == 32));
}

bool knownPixels(const Header& header) {
  const std::uint32_t bits = header.bits;
  switch (header.plainKind()) {
  case 1:
    return header.palette == 1 && bits == 8 && header.entries > 0;
  case 2:
    return bits == 15 || bits == 16 || bits == 24 || bits == 32;
  case 3:
    return bits == 8 || bits == 16;
  default:
    return false;
  }
}

/// The offsets at the end of the file count from its start.
void moveFooter(FileBytes& file, std::size_t distance) {
  const PictureBytes bytes = std::as_bytes(std::span(file));
  if (file.size() < headerBytes + footerBytes || !textOf(bytes).ends_with("TRUEVISION-XFILE.\0"sv)) return;
  for (std::size_t at = file.size() - footerBytes, i = 0; i < 2; ++i, at += 4)
    if (const std::size_t offset = field(bytes, at, 4)) putNumber(file, at, offset + distance, 4);
}

} // namespace

/// Kinds, depths and palettes that exist, and plain pixels that are all there.
bool plausibleTga(PictureBytes file) {
  if (file.size() < headerBytes) return false;
  const Header header = headerOf(file);
  if (header.width == 0 || header.height == 0 || !knownPalette(header) || !knownPixels(header)) return false;
  const std::uint64_t pixels = header.width * header.height, bytes = (header.bits + 7) / 8;
  const std::uint64_t start = headerBytes + header.nameBytes + header.entries * header.entryBytes();
  // A packet of runs holds at most 128 pixels.
  const std::uint64_t least = header.packed() ? (pixels + 127) / 128 * (1 + bytes) : pixels * bytes;
  return start + least <= file.size();
}

/// A palette gets the 256 colours that a pixel can name.
RawPicture readTga(PictureBytes file) {
  constexpr std::size_t most = 256;
  const Header header = headerOf(file);
  if (header.plainKind() != 1 || (header.first == 0 && header.entries >= most))
    return readRare("targa", file);
  const std::size_t at = headerBytes + header.nameBytes;
  FileBytes full = withFullPalette(file, {at, header.entries, header.entryBytes(), header.first}, most);
  putNumber(full, firstEntry, 0, 2);
  putNumber(full, entryCount, most, 2);
  moveFooter(full, full.size() - file.size());
  return readRare("targa", std::as_bytes(std::span(full)));
}

} // namespace host
