// A bitmap's size, depth and pixels.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <type_traits>
#include <vector>

#include "access.h"
#include "bitmap_data.h"
#include "picture_load.h"
#include "picture_save.h"
#include "scale_pixels.h"

namespace {

constexpr ULONG opaqueBlack = 0xff000000u;

std::size_t pixelCount(LONG width, LONG height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

/// Black pixels, each written once; null when there is not enough memory. `deletePixels` frees them.
std::atomic<ULONG>* newPixels(LONG width, LONG height) noexcept {
  const auto wide = static_cast<ULLONG>(width) * static_cast<ULLONG>(height);
  if (wide > std::numeric_limits<std::size_t>::max() / sizeof(ULONG)) return nullptr;
  if (!host::fitsMemory(static_cast<std::size_t>(wide) * sizeof(ULONG))) return nullptr;
  const auto count = static_cast<std::size_t>(wide);
  void* memory = ::operator new(count * sizeof(std::atomic<ULONG>), std::nothrow);
  if (!memory) return nullptr;
  auto* pixels = static_cast<std::atomic<ULONG>*>(memory);
  for (std::size_t i = 0; i < count; ++i)
    std::construct_at(pixels + i, opaqueBlack);
  return pixels;
}

void deletePixels(std::atomic<ULONG>* pixels) noexcept {
  static_assert(std::is_trivially_destructible_v<std::atomic<ULONG>>);
  ::operator delete(pixels);
}

void fill(std::atomic<ULONG>* pixels, std::size_t count, ULONG word) noexcept {
  for (std::size_t i = 0; i < count; ++i)
    pixels[i].store(word, std::memory_order_relaxed);
}

void copyPixels(const std::atomic<ULONG>* from, std::atomic<ULONG>* to, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i)
    to[i].store(from[i].load(std::memory_order_relaxed), std::memory_order_relaxed);
}

/// The part of a row of `count` pixels from `x` that lies within `width`: first index and number.
std::pair<LONG, LONG> insideOf(LONG x, LONG count, LONG width) noexcept {
  const LLONG first = std::max<LLONG>(0, -static_cast<LLONG>(x));
  const LLONG end = std::min<LLONG>(count, static_cast<LLONG>(width) - x);
  return {static_cast<LONG>(std::min<LLONG>(first, std::max(count, 0))),
          static_cast<LONG>(std::max<LLONG>(0, end - first))};
}

/// Calls `pixel(bytes, index)` for a row's pixels from `first`.
template <class Byte, class Pixel>
void eachOfRow(Byte* buffer, LONG inc, LONG first, LONG count, Pixel pixel) noexcept {
  buffer += static_cast<std::ptrdiff_t>(first) * inc;
  for (LONG i = 0; i < count; ++i, buffer += inc)
    pixel(buffer, first + i);
}

void toBytes(ULONG word, UCHAR* bytes, bool alpha) noexcept {
  if (alpha) *bytes++ = static_cast<UCHAR>(word >> 24);
  bytes[0] = static_cast<UCHAR>(word >> 16);
  bytes[1] = static_cast<UCHAR>(word >> 8);
  bytes[2] = static_cast<UCHAR>(word);
}

// Rows of four bytes a pixel are copied two pixels at a time, which takes half as long: the compiler does not
// join atomic words by itself. A pair is one atomic word of twice the size.
using Pair [[gnu::may_alias]] = std::uint64_t;
constexpr bool hasPairs = std::endian::native == std::endian::little;
constexpr LONG pairBytes = 2 * sizeof(ULONG);

bool startsPair(const std::atomic<ULONG>* word) noexcept {
  return reinterpret_cast<std::uintptr_t>(word) % pairBytes == 0;
}

/// The bytes of two words, each from its highest to its lowest, as memory holds them.
std::uint64_t turned(std::uint64_t pair) noexcept {
  return std::rotl(__builtin_bswap64(pair), 32);
}

/// Alpha, red, green and blue of `count` words.
void readPairs(const std::atomic<ULONG>* row, LONG count, UCHAR* argb, ULONG opaque) noexcept {
  const std::uint64_t both = static_cast<std::uint64_t>(opaque) << 32 | opaque;
  LONG i = 0;
  const auto one = [&] {
    toBytes(row[i].load(std::memory_order_relaxed) | opaque, argb + 4 * static_cast<std::ptrdiff_t>(i), true);
    ++i;
  };
  if (count > 0 && !startsPair(row)) one();
  for (; i + 1 < count; i += 2) {
    const std::uint64_t pair =
        turned(__atomic_load_n(reinterpret_cast<const Pair*>(row + i), __ATOMIC_RELAXED) | both);
    std::memcpy(argb + 4 * static_cast<std::ptrdiff_t>(i), &pair, sizeof pair);
  }
  if (i < count) one();
}

/// Red, green and blue of `count` words from the first three of every four bytes; the words keep their alpha.
void writePairs(std::atomic<ULONG>* row, LONG count, const UCHAR* rgb) noexcept {
  constexpr std::uint64_t alphas = 0xff000000ff000000u;
  LONG i = 0;
  const auto one = [&] {
    const UCHAR* bytes = rgb + 4 * static_cast<std::ptrdiff_t>(i);
    const ULONG kept = row[i].load(std::memory_order_relaxed) & opaqueBlack;
    row[i].store(kept | static_cast<ULONG>(bytes[0]) << 16 | static_cast<ULONG>(bytes[1]) << 8 | bytes[2],
                 std::memory_order_relaxed);
    ++i;
  };
  if (count > 0 && !startsPair(row)) one();
  // The fourth byte of the last pixel may lie behind the buffer.
  for (; i + 2 < count; i += 2) {
    std::uint64_t colors = 0;
    std::memcpy(&colors, rgb + 4 * static_cast<std::ptrdiff_t>(i), sizeof colors);
    colors = turned(colors) >> 8 & ~alphas;
    auto* pair = reinterpret_cast<Pair*>(row + i);
    __atomic_store_n(pair, (__atomic_load_n(pair, __ATOMIC_RELAXED) & alphas) | colors, __ATOMIC_RELAXED);
  }
  while (i < count)
    one();
}

/// The section of a film that belongs to a section of its picture.
std::shared_ptr<host::Film> cutFilm(const host::Film& film, LONG x, LONG y, LONG width, LONG height) {
  auto part = std::make_shared<host::Film>(width, height);
  const auto eachPixel = [&](auto&& copy) {
    for (LONG row = 0; row < height; ++row)
      for (LONG column = 0; column < width; ++column)
        copy(column, row);
  };
  eachPixel([&](LONG column, LONG row) {
    float value[4];
    film.getColor(x + column, y + row, value);
    part->setColor(column, row, value);
  });
  for (const host::FilmLayerPtr& layer : film.layers()) {
    const host::FilmLayerPtr target = part->addLayer(layer->name(), layer->channels(), layer->internal());
    std::vector<float> values(layer->channels().size());
    eachPixel([&](LONG column, LONG row) {
      layer->get(film.pixelAt(x + column, y + row), values.data());
      target->set(part->pixelAt(column, row), values.data());
    });
  }
  part->showDenoised(film.showsDenoised());
  part->takeTexts(film);
  part->setView(film.view());
  return part;
}

} // namespace

BaseBitmap::BaseBitmap() : data_(new host::BitmapData) {
}

BaseBitmap::~BaseBitmap() {
  deletePixels(pixels_);
  delete data_;
}

BaseBitmap* BaseBitmap::Alloc() {
  try {
    return new BaseBitmap;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void BaseBitmap::Free(BaseBitmap*& bitmap) {
  delete bitmap;
  bitmap = nullptr;
}

void BaseBitmap::FlushAll() {
  deletePixels(pixels_);
  pixels_ = nullptr;
  width_ = height_ = depth_ = 0;
  host::setFilm(*this, nullptr);
}

IMAGERESULT BaseBitmap::Init(LONG width, LONG height, LONG depth) {
  // A renderer often asks for the same size and depth again: the memory is reused.
  const bool sameMemory = pixels_ && width == width_ && height == height_;
  if (!sameMemory || (depth != 24 && depth != 32)) FlushAll();
  if (width < 1 || height < 1 || width > host::maxPictureSide || height > host::maxPictureSide)
    return IMAGERESULT_PARAM_ERROR;
  if (depth != 24 && depth != 32) return IMAGERESULT_PARAM_ERROR;
  if (sameMemory)
    fill(pixels_, pixelCount(width, height), opaqueBlack);
  else
    pixels_ = newPixels(width, height);
  if (!pixels_) return IMAGERESULT_OUTOFMEMORY;
  width_ = width;
  height_ = height;
  depth_ = depth;
  host::setFilm(*this, nullptr);
  return IMAGERESULT_OK;
}

IMAGERESULT BaseBitmap::Init(const Filename& name) {
  FlushAll();
  const host::LoadedPicture loaded = host::loadPicture(name.GetString().GetUTF8());
  if (loaded.result != IMAGERESULT_OK) return loaded.result;
  const IMAGERESULT result =
      Init(loaded.picture->width, loaded.picture->height, loaded.picture->hasAlpha ? 32 : 24);
  if (result != IMAGERESULT_OK) return result;
  host::eachPixelWord(*loaded.picture, [pixels = pixels_](std::size_t i, ULONG word) {
    pixels[i].store(word, std::memory_order_relaxed);
  });
  return IMAGERESULT_OK;
}

void BaseBitmap::GetPixelCnt(LONG x, LONG y, LONG count, UCHAR* buffer, LONG inc, COLORMODE mode,
                             PIXELCNT /*flags*/) const noexcept {
  const bool alpha = mode == COLORMODE_ARGB;
  const bool inRow = y >= 0 && y < height_;
  const auto [first, inside] = inRow ? insideOf(x, count, width_) : std::pair<LONG, LONG>(count, 0);
  const auto black = [alpha](UCHAR* bytes, LONG) { toBytes(0, bytes, alpha); };
  eachOfRow(buffer, inc, 0, first, black);
  eachOfRow(buffer, inc, first + inside, count - first - inside, black);
  if (inside < 1) return;
  const std::atomic<ULONG>* row = &Word(x + first, y) - first;
  const ULONG opaque = depth_ == 32 ? 0 : opaqueBlack;
  if (hasPairs && alpha && inc == 4)
    return readPairs(row + first, inside, buffer + 4 * static_cast<std::ptrdiff_t>(first), opaque);
  const auto read = [row, opaque](LONG i) { return row[i].load(std::memory_order_relaxed) | opaque; };
  if (alpha)
    eachOfRow(buffer, inc, first, inside, [read](UCHAR* bytes, LONG i) { toBytes(read(i), bytes, true); });
  else
    eachOfRow(buffer, inc, first, inside, [read](UCHAR* bytes, LONG i) { toBytes(read(i), bytes, false); });
}

Bool BaseBitmap::SetPixelCnt(LONG x, LONG y, LONG count, const UCHAR* buffer, LONG inc, COLORMODE mode,
                             PIXELCNT /*flags*/) noexcept {
  const bool inRow = y >= 0 && y < height_;
  const auto [first, inside] = inRow ? insideOf(x, count, width_) : std::pair<LONG, LONG>(0, 0);
  if (inside < 1) return FALSE;
  std::atomic<ULONG>* row = &Word(x + first, y) - first;
  const auto colour = [](const UCHAR* rgb) {
    return static_cast<ULONG>(rgb[0]) << 16 | static_cast<ULONG>(rgb[1]) << 8 | static_cast<ULONG>(rgb[2]);
  };
  const LONG skipped = mode == COLORMODE_ARGB ? 1 : 0;
  if (hasPairs && inc == 4 && skipped == 0) {
    writePairs(row + first, inside, buffer + 4 * static_cast<std::ptrdiff_t>(first));
    return TRUE;
  }
  if (mode == COLORMODE_ARGB && depth_ == 32) {
    eachOfRow(buffer, inc, first, inside, [=](const UCHAR* argb, LONG i) {
      row[i].store(static_cast<ULONG>(argb[0]) << 24 | colour(argb + 1), std::memory_order_relaxed);
    });
  } else {
    eachOfRow(buffer, inc, first, inside, [=](const UCHAR* bytes, LONG i) {
      const ULONG kept = row[i].load(std::memory_order_relaxed) & 0xff000000u;
      row[i].store(kept | colour(bytes + skipped), std::memory_order_relaxed);
    });
  }
  return TRUE;
}

void BaseBitmap::Clear(LONG r, LONG g, LONG b) noexcept {
  Clear(0, 0, width_ - 1, height_ - 1, r, g, b);
}

void BaseBitmap::Clear(LONG x1, LONG y1, LONG x2, LONG y2, LONG r, LONG g, LONG b) noexcept {
  const LONG left = std::max(x1, 0), right = std::min(x2, width_ - 1);
  const LONG top = std::max(y1, 0), bottom = std::min(y2, height_ - 1);
  for (LONG y = top; y <= bottom; ++y)
    for (LONG x = left; x <= right; ++x)
      SetPixel(x, y, r, g, b);
}

BaseBitmap* BaseBitmap::GetClone() const {
  BaseBitmap* clone = Alloc();
  if (clone && !CopyTo(clone)) Free(clone);
  return clone;
}

BaseBitmap* BaseBitmap::GetClonePart(LONG x, LONG y, LONG width, LONG height) const {
  // Compared from the far side, so that no sum can overflow.
  if (x < 0 || y < 0 || width < 1 || height < 1) return nullptr;
  if (x >= width_ || y >= height_ || width > width_ - x || height > height_ - y) return nullptr;
  BaseBitmap* part = Alloc();
  if (!part) return nullptr;
  if (part->Init(width, height, depth_) != IMAGERESULT_OK) {
    Free(part);
    return nullptr;
  }
  for (LONG row = 0; row < height; ++row)
    copyPixels(&Word(x, y + row), &part->Word(0, row), static_cast<std::size_t>(width));
  try {
    if (const std::shared_ptr<host::Film> film = host::filmOf(*this))
      host::setFilm(*part, cutFilm(*film, x, y, width, height));
  } catch (const std::bad_alloc&) {
    Free(part);
  }
  return part;
}

Bool BaseBitmap::CopyTo(BaseBitmap* target) const {
  if (!target) return FALSE;
  if (target == this) return TRUE;
  if (!pixels_) {
    target->FlushAll();
    return TRUE;
  }
  if (!target->pixels_ || target->width_ != width_ || target->height_ != height_) {
    target->FlushAll();
    target->pixels_ = newPixels(width_, height_);
    if (!target->pixels_) return FALSE;
  }
  target->width_ = width_;
  target->height_ = height_;
  target->depth_ = depth_;
  copyPixels(pixels_, target->pixels_, pixelCount(width_, height_));
  host::setFilm(*target, host::filmOf(*this));
  return TRUE;
}

void BaseBitmap::ScaleIt(BaseBitmap* target, LONG intensity, Bool sample, Bool proportional) const {
  if (!target || !pixels_ || !target->pixels_ || target == this || intensity <= 0) return;
  try {
    host::scalePixels({pixels_, width_, height_, depth_ == 32},
                      {target->pixels_, target->width_, target->height_, target->depth_ == 32}, intensity,
                      sample != FALSE, proportional != FALSE);
  } catch (const std::bad_alloc&) {
    // Rows and weights are small beside the pictures: without memory for them nothing can be drawn.
  }
}

IMAGERESULT BaseBitmap::Save(const Filename& name, LONG format, const BaseContainer* options,
                             SAVEBIT bits) const {
  return host::savePicture(*this, name, format, options, bits);
}
