// Text as coverage: fonts, shaping and antialiased glyphs. Private to host/image.
//
// Every thread has its own font library, faces and glyphs, so only the search for fonts locks.
// Layouts are cached: a caller that draws one text many times lays it out once.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "c4d_types.h"

namespace host {

inline constexpr LONG maxFontPixels = 4096;

/// Coverage 0 to 255, rows from the top.
struct CoverageMask {
  LONG width = 0, height = 0;
  std::vector<unsigned char> values;
};

/// A glyph at its place; coordinates from the text's upper left corner.
struct PlacedGlyph {
  LLONG x = 0, y = 0;
  std::shared_ptr<const CoverageMask> mask;
};

struct TextLine {
  LONG width = 0;                  // holds the advance and every inked pixel
  std::vector<PlacedGlyph> glyphs; // in visual order, empty masks left out
};

/// A font `pixels` high has that distance from ascender to descender. This is the distance from the top to
/// the baseline, rounded. May throw std::bad_alloc.
LONG fontAscent(LONG pixels);

/// One line of UTF-8 text, `pixels` (1 to maxFontPixels) high. Control characters are left out, undecodable
/// bytes show as replacement characters. Null when no font is installed. May throw std::bad_alloc.
std::shared_ptr<const TextLine> layOutText(const std::string& utf8, LONG pixels);

} // namespace host
