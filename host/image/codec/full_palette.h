// Palettes of files that the library for rare formats reads. Private to host/image.
#pragma once

#include "picture_codec.h"

namespace host {

/// The place of a palette in a file.
struct PalettePlace {
  std::size_t at, entries, entryBytes;
  std::size_t first = 0; // the index of the first entry
};

/// A copy of the file in which the palette has `count` colours, from index 0: the first entry fills the
/// indices before it, the last one those after it. The library does not check indices; with as many colours
/// as a pixel can name every index is in bounds. The caller corrects the header.
/// Throws DamagedPicture when an entry is missing.
FileBytes withFullPalette(PictureBytes file, const PalettePlace& palette, std::size_t count);

/// Writes a number of `bytes` bytes, lowest first, inside of the file.
void putNumber(FileBytes& file, std::size_t offset, std::size_t value, std::size_t bytes);

} // namespace host
