#include "thumbnails.h"

#include <algorithm>
#include <cmath>

#include "display_transform.h"
#include "view_transform.h"

namespace host {

namespace {

// Calls `read(x, y, rgb)` for the pixels that each small pixel covers, and gives the means row by row.
template <class Read>
std::vector<float> means(int width, int height, int toWidth, int toHeight, const Read& read) {
  std::vector<float> small(static_cast<std::size_t>(toWidth) * static_cast<std::size_t>(toHeight) * 3);
  float* out = small.data();
  for (int y = 0; y < toHeight; ++y)
    for (int x = 0; x < toWidth; ++x, out += 3) {
      const auto edge = [](int index, int of, int side) {
        return static_cast<int>(std::int64_t{index} * side / of);
      };
      const int left = edge(x, toWidth, width), top = edge(y, toHeight, height);
      const int right = std::max(edge(x + 1, toWidth, width), left + 1);
      const int bottom = std::max(edge(y + 1, toHeight, height), top + 1);
      double sum[3] = {};
      for (int v = top; v < bottom; ++v)
        for (int u = left; u < right; ++u) {
          float rgb[4];
          read(u, v, rgb);
          for (int c = 0; c < 3; ++c)
            sum[c] += std::isfinite(rgb[c]) ? rgb[c] : 0;
        }
      for (int c = 0; c < 3; ++c)
        out[c] = static_cast<float>(sum[c] / ((right - left) * (bottom - top)));
    }
  return small;
}

std::shared_ptr<Thumbnail> sized(int width, int height) {
  auto thumbnail = std::make_shared<Thumbnail>();
  const double scale = std::min(1.0, double{Thumbnail::mostPixels} / std::max(width, height));
  thumbnail->width = std::max(1, static_cast<int>(std::lround(width * scale)));
  thumbnail->height = std::max(1, static_cast<int>(std::lround(height * scale)));
  thumbnail->rgb.resize(static_cast<std::size_t>(thumbnail->width) *
                        static_cast<std::size_t>(thumbnail->height) * 3);
  return thumbnail;
}

ThumbnailPtr withCodes(const std::shared_ptr<Thumbnail>& thumbnail, const std::vector<float>& codes) {
  std::transform(codes.begin(), codes.end(), thumbnail->rgb.begin(), [](float code) {
    return static_cast<unsigned char>(std::lround(std::clamp(code, 0.0f, 255.0f)));
  });
  return thumbnail;
}

} // namespace

ThumbnailPtr thumbnailOf(const Film& film, const ViewSettings& view) {
  const auto thumbnail = sized(film.width(), film.height());
  const std::vector<float> light = means(film.width(), film.height(), thumbnail->width, thumbnail->height,
                                         [&](int x, int y, float* rgb) { film.getShown(x, y, rgb); });
  ViewTransform(view).show(light.data(), thumbnail->rgb.data(), light.size() / 3);
  return thumbnail;
}

ThumbnailPtr thumbnailOf(const BaseBitmap& bitmap) {
  if (bitmap.GetBw() < 1 || bitmap.GetBh() < 1) return nullptr;
  const auto thumbnail = sized(bitmap.GetBw(), bitmap.GetBh());
  const std::vector<float> codes = means(bitmap.GetBw(), bitmap.GetBh(), thumbnail->width, thumbnail->height,
                                         [&](int x, int y, float* rgb) {
                                           UWORD r = 0, g = 0, b = 0;
                                           bitmap.GetPixel(x, y, &r, &g, &b);
                                           rgb[0] = r, rgb[1] = g, rgb[2] = b;
                                         });
  return withCodes(thumbnail, codes);
}

ThumbnailPtr thumbnailOf(const DecodedPicture& picture) {
  if (picture.width < 1 || picture.height < 1) return nullptr;
  const auto thumbnail = sized(picture.width, picture.height);
  const auto at = [&](int x, int y) {
    return (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
            static_cast<std::size_t>(x)) *
           4;
  };
  const std::vector<float> values = means(
      picture.width, picture.height, thumbnail->width, thumbnail->height, [&](int x, int y, float* rgb) {
        for (std::size_t c = 0, from = at(x, y); c < 3; ++c)
          rgb[c] = !picture.floats.empty()  ? picture.floats[from + c]
                   : !picture.words.empty() ? static_cast<float>(picture.words[from + c]) / 257
                                            : picture.bytes[from + c];
      });
  if (picture.floats.empty()) return withCodes(thumbnail, values);
  toDisplay(values.data(), thumbnail->rgb.data(), values.size());
  return thumbnail;
}

namespace {

// Calls `read(x, y)` for each pixel of the grid.
template <class Read>
void eachSample(int width, int height, const Read& read) {
  constexpr int side = HistoryEntry::samplesAcross;
  const auto middle = [](int index, int of) {
    return static_cast<int>((std::int64_t{2} * index + 1) * of / (2 * side));
  };
  for (int y = 0; y < side; ++y)
    for (int x = 0; x < side; ++x)
      read(middle(x, width), middle(y, height));
}

} // namespace

std::vector<unsigned char> samplesOf(const Film& film, const ViewSettings& view) {
  if (film.width() < 1 || film.height() < 1) return {};
  std::vector<float> light;
  eachSample(film.width(), film.height(), [&](int x, int y) {
    float rgba[4];
    film.getShown(x, y, rgba);
    light.insert(light.end(), rgba, rgba + 3);
  });
  std::vector<unsigned char> codes(light.size());
  ViewTransform(view).show(light.data(), codes.data(), codes.size() / 3);
  return codes;
}

std::vector<unsigned char> samplesOf(const BaseBitmap& bitmap) {
  if (bitmap.GetBw() < 1 || bitmap.GetBh() < 1) return {};
  std::vector<unsigned char> codes;
  eachSample(bitmap.GetBw(), bitmap.GetBh(), [&](int x, int y) {
    UWORD r = 0, g = 0, b = 0;
    bitmap.GetPixel(x, y, &r, &g, &b);
    for (const UWORD code : {r, g, b})
      codes.push_back(static_cast<unsigned char>(code));
  });
  return codes;
}

} // namespace host
