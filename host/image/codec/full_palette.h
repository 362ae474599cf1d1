// Palettes of files that the library for rare formats reads. Private to host/image.
#pragma once

#include "picture_codec.h"

namespace host {

/// A palette in a file: where its entries lie and which colours they are.
struct PalettePlace {
  std::size_t at, entries, entryBytes;
  std::size_t first = 0; // the index of the first entry
};

/// A copy of the file in which the palette has `count` colours, from index 0: the first entry stands for the
/// indices before it, the last one for those behind. The library does not check indices; with as many
/// colours as a pixel can name none of them is out of bounds. The caller corrects the header.
/// Throws DamagedPicture when an entry is missing.
FileBytes withFullPalette(PictureBytes file, const PalettePlace& palette, std::size_t count);

/// Writes a number of `bytes` bytes, lowest first, inside of the file.
void putNumber(FileBytes& file, std::size_t offset, std::size_t value, std::size_t bytes);

} // namespace host
