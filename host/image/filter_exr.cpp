#include "display_transform.h"
#include "film.h"
#include "filter_encode.h"

namespace host {
namespace {

/// Whether the film's colour is what the bitmap shows.
bool shows(const float* rgba, UWORD r, UWORD g, UWORD b) noexcept {
  return toDisplay(rgba[0]) == r && toDisplay(rgba[1]) == g && toDisplay(rgba[2]) == b;
}

std::vector<float> linearPixels(const FilterJob& job) {
  const BaseBitmap& bitmap = job.bitmap;
  const LONG width = bitmap.GetBw(), height = bitmap.GetBh();
  const std::shared_ptr<const Film> film = filmOf(bitmap);
  std::vector<float> pixels;
  pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * (job.alpha ? 4 : 3));
  for (LONG y = 0; y < height; ++y)
    for (LONG x = 0; x < width; ++x) {
      UWORD r, g, b;
      bitmap.GetPixel(x, y, &r, &g, &b);
      float rgba[4] = {};
      if (film) film->getColor(x, y, rgba);
      if (!film || !shows(rgba, r, g, b)) {
        rgba[0] = fromDisplay(static_cast<unsigned char>(r));
        rgba[1] = fromDisplay(static_cast<unsigned char>(g));
        rgba[2] = fromDisplay(static_cast<unsigned char>(b));
        rgba[3] = static_cast<float>(bitmap.GetAlpha(x, y)) / 255.0f;
      }
      for (int c = 0; c < 3; ++c)
        pixels.push_back(job.alpha ? rgba[c] * rgba[3] : rgba[c]);
      if (job.alpha) pixels.push_back(rgba[3]);
    }
  return pixels;
}

} // namespace

FileBytes encodeExr(const FilterJob& job) {
  return encodePixels("openexr", job, OIIO::TypeDesc::FLOAT, linearPixels(job).data(),
                      [](OIIO::ImageSpec& spec) {
                        spec.attribute("oiio:ColorSpace", "Linear");
                        spec.attribute("compression", "zip");
                      });
}

} // namespace host
