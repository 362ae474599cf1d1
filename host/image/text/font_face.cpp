#include "font_face.h"

#include <hb-ft.h>

#include <cstring>

#include FT_OUTLINE_H

namespace host {
namespace {

constexpr std::size_t glyphBytesLimit = 16u << 20;
constexpr std::size_t faceLimit = 24;

std::shared_ptr<const CoverageMask> copyMask(const FT_Bitmap& bitmap) {
  if (bitmap.pixel_mode != FT_PIXEL_MODE_GRAY || bitmap.width == 0 || bitmap.rows == 0) return nullptr;
  auto mask = std::make_shared<CoverageMask>();
  mask->width = static_cast<LONG>(bitmap.width);
  mask->height = static_cast<LONG>(bitmap.rows);
  mask->values.resize(static_cast<std::size_t>(bitmap.width) * bitmap.rows);
  for (unsigned row = 0; row < bitmap.rows; ++row)
    std::memcpy(mask->values.data() + static_cast<std::size_t>(row) * bitmap.width,
                bitmap.buffer + static_cast<std::ptrdiff_t>(row) * bitmap.pitch, bitmap.width);
  return mask;
}

} // namespace

FontFace::FontFace(FT_Library library, const FontFile& file, FT_F26Dot6 em) {
  if (!library || FT_New_Face(library, file.path.c_str(), file.index, &face_) != 0) {
    face_ = nullptr;
    return;
  }
  FT_Size_RequestRec size{FT_SIZE_REQUEST_TYPE_NOMINAL, em, em, 0, 0}; // the em exactly, fractions too
  if (!FT_IS_SCALABLE(face_) || FT_Request_Size(face_, &size) != 0) return;
  font_ = hb_ft_font_create_referenced(face_);
  hb_ft_font_set_load_flags(font_, FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP);
}

FontFace::~FontFace() {
  if (font_) hb_font_destroy(font_);
  if (face_) FT_Done_Face(face_);
}

const GlyphImage& FontFace::glyph(std::uint32_t index, int phase) {
  const std::uint64_t key = (static_cast<std::uint64_t>(index) << 2) | static_cast<unsigned>(phase);
  const auto known = glyphs_.find(key);
  if (known != glyphs_.end()) return known->second;
  if (glyphBytes_ > glyphBytesLimit) {
    glyphs_.clear();
    glyphBytes_ = 0;
  }
  GlyphImage image = draw(index, phase);
  if (image.mask) glyphBytes_ += image.mask->values.size();
  return glyphs_.emplace(key, std::move(image)).first->second;
}

/// Light hinting lays horizontal stems on whole pixels and leaves widths as designed.
GlyphImage FontFace::draw(std::uint32_t index, int phase) {
  if (FT_Load_Glyph(face_, index, FT_LOAD_NO_BITMAP | FT_LOAD_TARGET_LIGHT) != 0) return {};
  FT_GlyphSlot slot = face_->glyph;
  if (slot->format != FT_GLYPH_FORMAT_OUTLINE) return {};
  FT_Outline_Translate(&slot->outline, phase * 16, 0);
  if (FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) != 0) return {};
  return {slot->bitmap_left, slot->bitmap_top, copyMask(slot->bitmap)};
}

FontLibrary::FontLibrary() {
  if (FT_Init_FreeType(&library_) != 0) library_ = nullptr;
}

FontLibrary::~FontLibrary() {
  faces_.clear();
  if (library_) FT_Done_FreeType(library_);
}

FontFace* FontLibrary::face(const FontFile& file, FT_F26Dot6 em) {
  if (file.path.empty()) return nullptr;
  std::unique_ptr<FontFace>& face = faces_[{file, em}];
  if (!face) face = std::make_unique<FontFace>(library_, file, em);
  return face->usable() ? face.get() : nullptr;
}

const FontLibrary::Extent& FontLibrary::defaultExtent() {
  if (extent_) return *extent_;
  extent_ = std::make_unique<Extent>();
  FT_Face face = nullptr;
  if (library_ && FT_New_Face(library_, defaultFont().path.c_str(), defaultFont().index, &face) == 0) {
    if (face->units_per_EM > 0 && face->ascender > face->descender) {
      extent_->ascent = static_cast<double>(face->ascender) / face->units_per_EM;
      extent_->descent = -static_cast<double>(face->descender) / face->units_per_EM;
    }
    FT_Done_Face(face);
  }
  return *extent_;
}

void FontLibrary::trim() {
  if (faces_.size() > faceLimit) faces_.clear();
}

} // namespace host
