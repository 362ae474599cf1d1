// Finds a font file that has a character. Private to host/image.
#pragma once

#include <cstdint>
#include <string>

namespace host {

/// A face in a font file; an empty path stands for "not found".
struct FontFile {
  std::string path;
  int index = 0;
  friend bool operator==(const FontFile& a, const FontFile& b) noexcept {
    return a.index == b.index && a.path == b.path;
  }
  friend bool operator<(const FontFile& a, const FontFile& b) noexcept {
    return a.path != b.path ? a.path < b.path : a.index < b.index;
  }
};

/// DejaVu Sans as fontconfig finds it, else in the usual folders, else the font that comes nearest. Any
/// thread.
const FontFile& defaultFont();

/// The first installed scalable font, nearest to the default one first, that has the character; empty when
/// no font has it. Any thread.
FontFile fontWith(std::uint32_t codePoint);

} // namespace host
