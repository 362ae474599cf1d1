#include "full_palette.h"

#include <algorithm>

namespace host {

FileBytes withFullPalette(PictureBytes file, const PalettePlace& palette, std::size_t count) {
  const std::size_t bytes = palette.entries * palette.entryBytes;
  if (palette.entries == 0 || palette.at > file.size() || bytes > file.size() - palette.at)
    throw DamagedPicture("its palette is cut off");
  const auto* data = reinterpret_cast<const unsigned char*>(file.data());
  const unsigned char* entries = data + palette.at;
  FileBytes full(data, entries);
  full.reserve(file.size() - bytes + count * palette.entryBytes);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t entry = std::min(std::max(i, palette.first) - palette.first, palette.entries - 1);
    const unsigned char* from = entries + entry * palette.entryBytes;
    full.insert(full.end(), from, from + palette.entryBytes);
  }
  full.insert(full.end(), entries + bytes, data + file.size());
  return full;
}

void putNumber(FileBytes& file, std::size_t offset, std::size_t value, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i)
    file.at(offset + i) = static_cast<unsigned char>(value >> (8 * i));
}

} // namespace host
