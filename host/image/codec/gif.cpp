// GIF: the first frame, through the library for rare formats.
#include <optional>

#include "file_bytes.h"
#include "full_palette.h"
#include "rare_library.h"

namespace host {
namespace {

constexpr std::size_t screenFlags = 10, globalPalette = 13; // offsets
constexpr unsigned hasPalette = 0x80, sizeMask = 0x07;

unsigned byteAt(PictureBytes file, std::size_t offset) {
  return numberAt(file, offset, 1, std::endian::little);
}

std::size_t entriesOf(unsigned flags) {
  return flags & hasPalette ? std::size_t{2} << (flags & sizeMask) : 0;
}

/// The offset of the first frame's flags; nothing when the file has no frame.
std::optional<std::size_t> frameFlags(PictureBytes file) {
  constexpr unsigned extension = 0x21, frame = 0x2c;
  std::size_t at = globalPalette + entriesOf(byteAt(file, screenFlags)) * 3;
  while (at < file.size() && byteAt(file, at) == extension) {
    at += 2;
    while (const unsigned block = byteAt(file, at))
      at += block + 1;
    ++at;
  }
  if (at >= file.size() || byteAt(file, at) != frame) return {};
  return at + 9;
}

} // namespace

/// The palette of the first frame gets the 256 colours that a pixel can name.
RawPicture readGif(PictureBytes file) {
  const std::optional<std::size_t> frame = frameFlags(file);
  if (!frame) throw DamagedPicture("it has no frame");
  const bool own = entriesOf(byteAt(file, *frame)) != 0;
  const std::size_t flags = own ? *frame : screenFlags, palette = own ? *frame + 1 : globalPalette;
  FileBytes full = withFullPalette(file, {palette, entriesOf(byteAt(file, flags)), 3}, 256);
  full.at(flags) |= sizeMask;
  RawPicture raw = readRare("gif", std::as_bytes(std::span(full)));
  const std::vector<unsigned char>& pixels = raw.picture.bytes;
  raw.picture.hasAlpha = false;
  for (std::size_t i = 3; i < pixels.size(); i += 4)
    if (pixels[i] < 255) raw.picture.hasAlpha = true;
  return raw;
}

} // namespace host
