// A font at a size: shaping and glyph pictures. Private to host/image. One thread.
#pragma once

#include <ft2build.h>
#include FT_FREETYPE_H
#include <hb.h>

#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>

#include "font_search.h"
#include "text_engine.h"

namespace host {

/// A glyph drawn at one of four horizontal phases of a pixel. `left` and `top` place the mask's upper left
/// corner from the pen: to the right, and upwards.
struct GlyphImage {
  LONG left = 0, top = 0;
  std::shared_ptr<const CoverageMask> mask; // null when it has no ink
};

class FontFace {
 public:
  /// Throws std::bad_alloc; `usable` is false when the file is not a font.
  FontFace(FT_Library library, const FontFile& file, FT_F26Dot6 em);
  ~FontFace();
  FontFace(const FontFace&) = delete;
  FontFace& operator=(const FontFace&) = delete;

  bool usable() const noexcept { return font_ != nullptr; }
  bool has(std::uint32_t codePoint) const noexcept { return FT_Get_Char_Index(face_, codePoint) != 0; }
  /// For shaping: positions in 64ths of a pixel, not rounded to whole ones.
  hb_font_t* shaper() const noexcept { return font_; }
  const GlyphImage& glyph(std::uint32_t index, int phase);

 private:
  GlyphImage draw(std::uint32_t index, int phase);

  FT_Face face_ = nullptr;
  hb_font_t* font_ = nullptr;
  std::unordered_map<std::uint64_t, GlyphImage> glyphs_;
  std::size_t glyphBytes_ = 0;
};

/// The thread's faces.
class FontLibrary {
 public:
  FontLibrary();
  ~FontLibrary();
  FontLibrary(const FontLibrary&) = delete;
  FontLibrary& operator=(const FontLibrary&) = delete;

  /// Null when the file is not a font. Valid until `trim`.
  FontFace* face(const FontFile& file, FT_F26Dot6 em);
  /// The default font's ascender and descender (positive) in ems; zeros without a font.
  struct Extent {
    double ascent = 0, descent = 0;
  };
  const Extent& defaultExtent();
  /// Forgets faces when there are many.
  void trim();

 private:
  FT_Library library_ = nullptr;
  std::map<std::pair<FontFile, FT_F26Dot6>, std::unique_ptr<FontFace>> faces_;
  std::unique_ptr<Extent> extent_;
};

} // namespace host
