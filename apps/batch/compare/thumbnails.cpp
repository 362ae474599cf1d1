#include "thumbnails.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "c4d_bitmap.h"
#include "metrics.h"
#include "picture_formats.h"

namespace batch {
namespace {

struct Side {
  LONG width, height;
};

Side sideOf(int width, int height) {
  const double scale = std::min({1.0, 320.0 / width, 240.0 / height});
  const auto side = [&](int whole) {
    return std::max<LONG>(1, static_cast<LONG>(std::lround(whole * scale)));
  };
  return {side(width), side(height)};
}

void start(BaseBitmap* bitmap, LONG width, LONG height) {
  if (!bitmap || bitmap->Init(width, height, 24) != IMAGERESULT_OK) throw std::bad_alloc();
}

std::vector<unsigned char> jpegOf(const BaseBitmap& bitmap) {
  BaseContainer options;
  options.SetLong(JPGSAVER_QUALITY, 85);
  return host::encodePicture(bitmap, FILTER_JPG, &options);
}

/// The largest of the values that a pixel of a smaller picture covers.
float largest(const std::vector<float>& map, Side whole, Side small, LONG x, LONG y) {
  const auto from = [](LONG at, LONG of, LONG all) { return at * all / of; };
  const auto to = [](LONG at, LONG of, LONG all) { return std::max(at * all / of + 1, (at + 1) * all / of); };
  float found = 0;
  for (LONG row = from(y, small.height, whole.height); row < to(y, small.height, whole.height); ++row)
    for (LONG column = from(x, small.width, whole.width); column < to(x, small.width, whole.width); ++column)
      found = std::max(found, map[static_cast<std::size_t>(row) * static_cast<std::size_t>(whole.width) +
                                  static_cast<std::size_t>(column)]);
  return found;
}

} // namespace

std::vector<unsigned char> thumbnail(const host::MetricImage& image) {
  const host::MetricImage display = host::asDisplay(image);
  AutoAlloc<BaseBitmap> whole, small;
  start(whole, image.width, image.height);
  const float* p = display.rgb.data();
  const auto code = [](float value) { return static_cast<LONG>(std::lround(value * 255)); };
  for (LONG y = 0; y < image.height; ++y)
    for (LONG x = 0; x < image.width; ++x, p += 3)
      whole->SetPixel(x, y, code(p[0]), code(p[1]), code(p[2]));
  const Side side = sideOf(image.width, image.height);
  start(small, side.width, side.height);
  whole->ScaleIt(small, 256, TRUE, FALSE);
  return jpegOf(*small);
}

std::vector<unsigned char> heatThumbnail(const std::vector<float>& map, int width, int height) {
  const Side whole{width, height}, side = sideOf(width, height);
  AutoAlloc<BaseBitmap> small;
  start(small, side.width, side.height);
  for (LONG y = 0; y < side.height; ++y)
    for (LONG x = 0; x < side.width; ++x) {
      unsigned char rgb[3];
      host::heatColor(largest(map, whole, side, x, y), rgb);
      small->SetPixel(x, y, rgb[0], rgb[1], rgb[2]);
    }
  return jpegOf(*small);
}

} // namespace batch
