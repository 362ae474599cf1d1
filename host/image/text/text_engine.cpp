#include "text_engine.h"

#include <algorithm>
#include <cmath>
#include <list>
#include <optional>

#include "font_face.h"
#include "text_runs.h"

namespace host {
namespace {

constexpr std::size_t rememberedLines = 32;
constexpr std::size_t joinedPixels = 2u << 20; // a line up to this size is kept as one mask
constexpr std::size_t mostCharacters = 20000;  // of one line; more would be wider than any picture

using Buffer = std::unique_ptr<hb_buffer_t, decltype(&hb_buffer_destroy)>;

struct Remembered {
  std::string text;
  LONG pixels;
  std::shared_ptr<const TextLine> line;
};

struct Engine {
  FontLibrary fonts;
  std::list<Remembered> lines; // the most recently used first
};

Engine& engine() {
  thread_local Engine made;
  return made;
}

/// The em, in 64ths of a pixel, at which the default font is `pixels` high; 0 without a font.
FT_F26Dot6 emFor(FontLibrary& fonts, LONG pixels) {
  const FontLibrary::Extent& extent = fonts.defaultExtent();
  const double height = extent.ascent + extent.descent;
  return height > 0 ? static_cast<FT_F26Dot6>(std::lround(pixels * 64 / height)) : 0;
}

/// Every character's face: the default one, else the first installed one that has it.
struct FaceChoice {
  std::vector<FontFace*> faces;
  std::vector<std::size_t> ofCharacter;
};

std::size_t faceOf(FaceChoice& choice, FontLibrary& fonts, FT_F26Dot6 em, std::uint32_t codePoint) {
  if (choice.faces[0]->has(codePoint)) return 0;
  FontFace* other = fonts.face(fontWith(codePoint), em);
  if (!other || !other->has(codePoint)) return 0; // the default font's box for a character without a glyph
  const auto known = std::find(choice.faces.begin(), choice.faces.end(), other);
  if (known != choice.faces.end()) return static_cast<std::size_t>(known - choice.faces.begin());
  choice.faces.push_back(other);
  return choice.faces.size() - 1;
}

FaceChoice chooseFaces(FontLibrary& fonts, FontFace* first, FT_F26Dot6 em, const CodePoints& text) {
  FaceChoice choice{{first}, {}};
  for (const std::uint32_t codePoint : text) {
    const bool follows = !choice.ofCharacter.empty() && joinsPrevious(codePoint);
    choice.ofCharacter.push_back(follows ? choice.ofCharacter.back() : faceOf(choice, fonts, em, codePoint));
  }
  return choice;
}

Buffer shape(const CodePoints& text, const TextRun& run, hb_font_t* font) {
  Buffer buffer(hb_buffer_create(), hb_buffer_destroy);
  hb_buffer_add_codepoints(buffer.get(), text.data(), static_cast<int>(text.size()),
                           static_cast<unsigned>(run.begin), static_cast<int>(run.end - run.begin));
  hb_buffer_set_script(buffer.get(), run.script);
  hb_buffer_set_direction(buffer.get(), run.rightToLeft ? HB_DIRECTION_RTL : HB_DIRECTION_LTR);
  static const hb_language_t noLanguage = hb_language_from_string("und", -1);
  hb_buffer_set_language(buffer.get(), noLanguage);
  hb_shape(font, buffer.get(), nullptr, 0);
  return buffer;
}

/// Draws a shaped run behind the pen, which is in 64ths of a pixel.
void placeRun(FontFace& face, hb_buffer_t* shaped, LONG ascent, LLONG* pen,
              std::vector<PlacedGlyph>* glyphs) {
  unsigned count = 0;
  const hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(shaped, &count);
  const hb_glyph_position_t* positions = hb_buffer_get_glyph_positions(shaped, &count);
  for (unsigned i = 0; i < count; ++i) {
    // To the nearest quarter of a pixel across, and a whole one up.
    const LLONG x = (*pen + positions[i].x_offset + 8) >> 4;
    const LLONG y = (static_cast<LLONG>(positions[i].y_offset) + 32) >> 6;
    const GlyphImage& image = face.glyph(infos[i].codepoint, static_cast<int>(x & 3));
    if (image.mask) glyphs->push_back({(x >> 2) + image.left, ascent - y - image.top, image.mask});
    *pen += positions[i].x_advance;
  }
}

/// One mask from all glyphs: where glyphs overlap, translucent text must not be drawn twice.
std::optional<PlacedGlyph> joinGlyphs(const std::vector<PlacedGlyph>& glyphs) {
  LLONG left = INT64_MAX, top = INT64_MAX, right = INT64_MIN, bottom = INT64_MIN;
  for (const PlacedGlyph& glyph : glyphs) {
    left = std::min(left, glyph.x);
    top = std::min(top, glyph.y);
    right = std::max(right, glyph.x + glyph.mask->width);
    bottom = std::max(bottom, glyph.y + glyph.mask->height);
  }
  if (static_cast<double>(right - left) * static_cast<double>(bottom - top) >
      static_cast<double>(joinedPixels))
    return std::nullopt;
  auto mask = std::make_shared<CoverageMask>();
  mask->width = static_cast<LONG>(right - left);
  mask->height = static_cast<LONG>(bottom - top);
  mask->values.resize(static_cast<std::size_t>(mask->width) * static_cast<std::size_t>(mask->height));
  for (const PlacedGlyph& glyph : glyphs)
    for (LONG y = 0; y < glyph.mask->height; ++y) {
      const unsigned char* from = glyph.mask->values.data() +
                                  static_cast<std::size_t>(y) * static_cast<std::size_t>(glyph.mask->width);
      unsigned char* to =
          mask->values.data() +
          static_cast<std::size_t>(glyph.y - top + y) * static_cast<std::size_t>(mask->width) +
          (glyph.x - left);
      for (LONG x = 0; x < glyph.mask->width; ++x)
        to[x] = static_cast<unsigned char>(std::min(255, to[x] + from[x]));
    }
  return PlacedGlyph{left, top, std::move(mask)};
}

/// Moves ink inside that would stick out on the left, and makes the line wide enough for the rest.
void fitWidth(TextLine& line, LLONG pen) {
  LLONG left = 0, right = (pen + 63) >> 6;
  for (const PlacedGlyph& glyph : line.glyphs) {
    left = std::min(left, glyph.x);
    right = std::max(right, glyph.x + glyph.mask->width);
  }
  for (PlacedGlyph& glyph : line.glyphs)
    glyph.x -= left;
  line.width = static_cast<LONG>(std::min<LLONG>(right - left, INT32_MAX));
}

std::shared_ptr<const TextLine> layOut(Engine& all, const std::string& utf8, LONG pixels) {
  all.fonts.trim();
  const FT_F26Dot6 em = emFor(all.fonts, pixels);
  FontFace* first = em > 0 ? all.fonts.face(defaultFont(), em) : nullptr;
  if (!first) return nullptr;
  CodePoints text = visibleCharacters(utf8);
  if (text.size() > mostCharacters) text.resize(mostCharacters);
  const FaceChoice choice = chooseFaces(all.fonts, first, em, text);
  auto line = std::make_shared<TextLine>();
  LLONG pen = 0;
  for (const TextRun& run : visualRuns(text, choice.ofCharacter)) {
    FontFace& face = *choice.faces[run.face];
    placeRun(face, shape(text, run, face.shaper()).get(), fontAscent(pixels), &pen, &line->glyphs);
  }
  fitWidth(*line, pen);
  if (line->glyphs.size() > 1)
    if (std::optional<PlacedGlyph> joined = joinGlyphs(line->glyphs)) line->glyphs = {std::move(*joined)};
  return line;
}

} // namespace

LONG fontAscent(LONG pixels) {
  const FontLibrary::Extent& extent = engine().fonts.defaultExtent();
  const double height = extent.ascent + extent.descent;
  return height > 0 ? static_cast<LONG>(std::lround(pixels * extent.ascent / height)) : pixels;
}

std::shared_ptr<const TextLine> layOutText(const std::string& utf8, LONG pixels) {
  Engine& all = engine();
  const auto known = std::find_if(all.lines.begin(), all.lines.end(), [&](const Remembered& line) {
    return line.pixels == pixels && line.text == utf8;
  });
  if (known != all.lines.end()) {
    all.lines.splice(all.lines.begin(), all.lines, known);
    return known->line;
  }
  std::shared_ptr<const TextLine> line = layOut(all, utf8, pixels);
  all.lines.push_front({utf8, pixels, line});
  if (all.lines.size() > rememberedLines) all.lines.pop_back();
  return line;
}

} // namespace host
