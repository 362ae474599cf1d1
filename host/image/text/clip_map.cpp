// Clip maps: a drawing surface of 32 bits.
#include <algorithm>
#include <cstdlib>
#include <new>
#include <vector>

#include "bitmap_data.h"
#include "clip_blend.h"
#include "picture_load.h"
#include "text_engine.h"

struct GeClipMap::Data {
  LONG width = 0, height = 0;
  std::vector<ULONG> pixels; // 0xAARRGGBB, rows from the top
  bool drawing = false;
  GE_CM_DRAWMODE mode = GE_CM_DRAWMODE_COPY;
  ULONG value = 255;
  ULONG color = 0xffffffffu;
  LONG fontPixels = 16;

  bool inside(LLONG x, LLONG y) const noexcept { return x >= 0 && y >= 0 && x < width && y < height; }
  ULONG& at(LLONG x, LLONG y) noexcept {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                  static_cast<std::size_t>(x)];
  }

  /// A word with its own alpha, times a coverage of 0 to 255, by the draw mode.
  void put(ULONG& target, ULONG word, ULONG coverage) const noexcept {
    if (coverage == 0) return;
    const ULONG alpha = host::scaled(host::channelOf(word, 24), coverage);
    if (mode == GE_CM_DRAWMODE_BLEND)
      target = host::over(word, host::scaled(alpha, value), target);
    else
      target = (alpha << 24) | (word & 0xffffffu);
  }
};

namespace {

ULONG byteOf(LONG value) noexcept {
  return static_cast<ULONG>(std::clamp(value, 0, 255));
}

struct Span {
  LLONG begin, end; // [begin, end)
};

/// Inclusive bounds cut to [0, size).
Span cut(LONG first, LONG last, LONG size) noexcept {
  return {std::max<LLONG>(first, 0), std::min<LLONG>(static_cast<LLONG>(last) + 1, size)};
}

} // namespace

GeClipMap::GeClipMap() : data_(new Data) {
}

GeClipMap::~GeClipMap() {
  delete data_;
}

GeClipMap* GeClipMap::Alloc() {
  try {
    return new GeClipMap;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void GeClipMap::Free(GeClipMap*& map) {
  delete map;
  map = nullptr;
}

void GeClipMap::Destroy() {
  data_->width = data_->height = width_ = height_ = 0;
  pixels_ = nullptr;
  data_->pixels = {};
  data_->drawing = false;
}

IMAGERESULT GeClipMap::Init(LONG width, LONG height, LONG bits) {
  Destroy();
  if (width < 1 || height < 1 || width > host::maxPictureSide || height > host::maxPictureSide || bits != 32)
    return IMAGERESULT_PARAM_ERROR;
  const auto wide = static_cast<ULLONG>(width) * static_cast<ULLONG>(height) * sizeof(ULONG);
  if (wide > static_cast<ULLONG>(PTRDIFF_MAX) || !host::fitsMemory(static_cast<std::size_t>(wide)))
    return IMAGERESULT_OUTOFMEMORY;
  try {
    data_->pixels.assign(static_cast<std::size_t>(wide / sizeof(ULONG)), 0);
  } catch (const std::bad_alloc&) {
    return IMAGERESULT_OUTOFMEMORY;
  }
  data_->width = width_ = width;
  data_->height = height_ = height;
  pixels_ = data_->pixels.data();
  return IMAGERESULT_OK;
}

IMAGERESULT GeClipMap::Init(const Filename& name) {
  Destroy();
  const host::LoadedPicture loaded = host::loadPicture(name.GetString().GetUTF8());
  if (loaded.result != IMAGERESULT_OK) return loaded.result;
  const IMAGERESULT result = Init(loaded.picture->width, loaded.picture->height, 32);
  if (result != IMAGERESULT_OK) return result;
  host::eachPixelWord(*loaded.picture, [this](std::size_t i, ULONG word) { data_->pixels[i] = word; });
  return IMAGERESULT_OK;
}

void GeClipMap::BeginDraw() {
  data_->drawing = data_->width > 0;
}
void GeClipMap::EndDraw() {
  data_->drawing = false;
}

void GeClipMap::SetDrawMode(GE_CM_DRAWMODE mode, LONG value) {
  data_->mode = mode;
  data_->value = byteOf(value);
}

void GeClipMap::SetColor(LONG r, LONG g, LONG b, LONG a) {
  data_->color = host::joinWord(byteOf(r), byteOf(g), byteOf(b), byteOf(a));
}

void GeClipMap::FillRect(LONG x1, LONG y1, LONG x2, LONG y2) {
  if (!data_->drawing) return;
  const Span columns = cut(x1, x2, data_->width), rows = cut(y1, y2, data_->height);
  for (LLONG y = rows.begin; y < rows.end; ++y)
    for (LLONG x = columns.begin; x < columns.end; ++x)
      data_->put(data_->at(x, y), data_->color, 255);
}

/// Steps along the longer axis; both ends are drawn. Steps outside the map are skipped, not walked.
void GeClipMap::Line(LONG x1, LONG y1, LONG x2, LONG y2) {
  if (!data_->drawing) return;
  const LLONG dx = static_cast<LLONG>(x2) - x1, dy = static_cast<LLONG>(y2) - y1;
  const bool flat = std::llabs(dx) >= std::llabs(dy);
  const LLONG steps = flat ? std::llabs(dx) : std::llabs(dy);
  const LLONG start = flat ? x1 : y1, size = flat ? data_->width : data_->height;
  const LLONG way = (flat ? dx : dy) < 0 ? -1 : 1;
  const LLONG reach = way > 0 ? size - 1 - start : start; // steps until the far border
  const LLONG first = std::max<LLONG>(0, way > 0 ? -start : start - (size - 1));
  for (LLONG i = first; i <= std::min(steps, reach); ++i) {
    const double part = steps ? static_cast<double>(i) / static_cast<double>(steps) : 0;
    const LLONG x =
        flat ? x1 + way * i : x1 + static_cast<LLONG>(static_cast<double>(dx) * part + (dx < 0 ? -0.5 : 0.5));
    const LLONG y =
        flat ? y1 + static_cast<LLONG>(static_cast<double>(dy) * part + (dy < 0 ? -0.5 : 0.5)) : y1 + way * i;
    if (data_->inside(x, y)) data_->put(data_->at(x, y), data_->color, 255);
  }
}

void GeClipMap::Blit(LONG x, LONG y, const GeClipMap& source, LONG sx1, LONG sy1, LONG sx2, LONG sy2) {
  if (!data_->drawing) return;
  const Span columns = cut(sx1, sx2, source.data_->width), rows = cut(sy1, sy2, source.data_->height);
  // Where the source's origin lies in this map.
  const LLONG originX = static_cast<LLONG>(x) - sx1, originY = static_cast<LLONG>(y) - sy1;
  std::vector<ULONG> copy;
  try {
    if (&source == this) copy = data_->pixels; // an overlapping move reads what was there
  } catch (const std::bad_alloc&) {
    return;
  }
  const std::vector<ULONG>& pixels = copy.empty() ? source.data_->pixels : copy;
  for (LLONG row = rows.begin; row < rows.end; ++row)
    for (LLONG column = columns.begin; column < columns.end; ++column) {
      const LLONG tx = originX + column, ty = originY + row;
      if (!data_->inside(tx, ty)) continue;
      const auto index = static_cast<std::size_t>(row) * static_cast<std::size_t>(source.data_->width) +
                         static_cast<std::size_t>(column);
      data_->put(data_->at(tx, ty), pixels[index], 255);
    }
}

void GeClipMap::SetFontSize(LONG pixels) {
  data_->fontPixels = std::clamp(pixels, 1, host::maxFontPixels);
}

LONG GeClipMap::GetTextHeight() const {
  return data_->fontPixels;
}

LONG GeClipMap::GetTextAscent() const {
  try {
    return host::fontAscent(data_->fontPixels);
  } catch (const std::bad_alloc&) {
    return data_->fontPixels;
  }
}

LONG GeClipMap::GetTextWidth(const String& text) const {
  try {
    const auto line = host::layOutText(text.GetUTF8(), data_->fontPixels);
    return line ? line->width : 0;
  } catch (const std::bad_alloc&) {
    return 0;
  }
}

void GeClipMap::TextAt(LONG x, LONG y, const String& text) {
  if (!data_->drawing) return;
  std::shared_ptr<const host::TextLine> line;
  try {
    line = host::layOutText(text.GetUTF8(), data_->fontPixels);
  } catch (const std::bad_alloc&) {
  }
  if (!line) return;
  for (const host::PlacedGlyph& glyph : line->glyphs) {
    const host::CoverageMask& mask = *glyph.mask;
    const LLONG left = x + glyph.x, top = y + glyph.y;
    const LLONG firstColumn = std::max<LLONG>(0, -left),
                lastColumn = std::min<LLONG>(mask.width, data_->width - left);
    const LLONG firstRow = std::max<LLONG>(0, -top),
                lastRow = std::min<LLONG>(mask.height, data_->height - top);
    for (LLONG row = firstRow; row < lastRow; ++row) {
      const unsigned char* coverage = mask.values.data() + row * mask.width;
      for (LLONG column = firstColumn; column < lastColumn; ++column)
        data_->put(data_->at(left + column, top + row), data_->color, coverage[column]);
    }
  }
}
