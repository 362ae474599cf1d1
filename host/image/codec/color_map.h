// Palettes of BMP and TGA files. Private to host/image.
#pragma once

#include <algorithm>
#include <array>
#include <vector>

#include "byte_reader.h"

namespace host {

using Rgb = std::array<unsigned char, 3>;

/// Five bits each of red, green and blue, red highest.
inline Rgb rgbOf15(std::uint32_t value) {
  const auto wide = [](std::uint32_t five) { return static_cast<unsigned char>((five * 255 + 15) / 31); };
  return {wide(value >> 10 & 31), wide(value >> 5 & 31), wide(value & 31)};
}

/// The colours of a palette. An index outside takes the nearest entry: files with pixels past their palette
/// exist.
class ColorMap {
 public:
  /// Entries of 2 (15 bits), 3 or 4 bytes (blue, green, red), the first one for index `first`. Throws
  /// DamagedPicture when the file ends before them.
  ColorMap(ByteReader& file, std::size_t entries, std::size_t entryBytes, std::size_t first = 0)
      : first_(first) {
    const PictureBytes bytes = file.take(entries * entryBytes);
    if (entries == 0) throw DamagedPicture("its palette is empty");
    for (std::size_t at = 0; at < bytes.size(); at += entryBytes) {
      const std::uint32_t entry =
          numberAt(bytes, at, std::min<std::size_t>(entryBytes, 3), std::endian::little);
      colors_.push_back(entryBytes == 2
                            ? rgbOf15(entry)
                            : Rgb{static_cast<unsigned char>(entry >> 16),
                                  static_cast<unsigned char>(entry >> 8), static_cast<unsigned char>(entry)});
    }
  }

  const Rgb& operator[](std::size_t index) const {
    return colors_[std::min(index - std::min(index, first_), colors_.size() - 1)];
  }

 private:
  std::size_t first_;
  std::vector<Rgb> colors_;
};

} // namespace host
