#include <algorithm>
#include <cmath>

#include "compare_view.h"
#include "worker_threads.h"

namespace host {
namespace {

/// Weights of neighbouring pixels of the source for one pixel of the target.
struct Taps {
  int first = 0;
  std::vector<float> weights;
};

/// Shrinking: the overlap of areas. Enlarging: straight lines between the middles of pixels.
std::vector<Taps> tapsOf(int from, int to) {
  std::vector<Taps> all(static_cast<std::size_t>(to));
  const double scale = static_cast<double>(from) / to, reach = std::max(scale, 1.0);
  for (int i = 0; i < to; ++i) {
    Taps& taps = all[static_cast<std::size_t>(i)];
    const double middle = (i + 0.5) * scale;
    taps.first = std::max(0, static_cast<int>(std::floor(middle - (scale > 1 ? scale / 2 : 1))));
    const int end = std::min(from, static_cast<int>(std::ceil(middle + (scale > 1 ? scale / 2 : 1))));
    float sum = 0;
    for (int at = taps.first; at < end; ++at) {
      const double low = std::max<double>(at, middle - scale / 2),
                   high = std::min(at + 1.0, middle + scale / 2);
      const double weight = scale > 1 ? high - low : reach - std::abs(at + 0.5 - middle);
      taps.weights.push_back(static_cast<float>(std::max(0.0, weight)));
      sum += taps.weights.back();
    }
    for (float& weight : taps.weights)
      weight /= sum;
  }
  return all;
}

std::uint32_t meanPixel(const PixelView& picture, const Taps& across, const Taps& down) noexcept {
  float sums[4] = {0.5f, 0.5f, 0.5f, 0.5f};
  for (std::size_t j = 0; j < down.weights.size(); ++j) {
    const std::uint32_t* row = picture.row(down.first + static_cast<int>(j)) + across.first;
    for (std::size_t i = 0; i < across.weights.size(); ++i) {
      const float weight = across.weights[i] * down.weights[j];
      for (int channel = 0; channel < 4; ++channel)
        sums[channel] += weight * static_cast<float>((row[i] >> (8 * channel)) & 0xff);
    }
  }
  std::uint32_t pixel = 0;
  for (int channel = 0; channel < 4; ++channel)
    pixel |= static_cast<std::uint32_t>(std::min(255.0f, sums[channel])) << (8 * channel);
  return pixel;
}

} // namespace

PicturePixels fitted(const PixelView& picture, int width, int height) {
  PicturePixels fit(width, height);
  if (picture.empty() || width < 1 || height < 1) return fit;
  const double scale =
      std::min(static_cast<double>(width) / picture.width, static_cast<double>(height) / picture.height);
  const int wide = std::clamp(static_cast<int>(std::lround(picture.width * scale)), 1, width);
  const int high = std::clamp(static_cast<int>(std::lround(picture.height * scale)), 1, height);
  const std::vector<Taps> across = tapsOf(picture.width, wide), down = tapsOf(picture.height, high);
  const int left = (width - wide) / 2, top = (height - high) / 2;
  eachRow(high, [&](int y) {
    std::uint32_t* row = fit.target().row(top + y) + left;
    for (int x = 0; x < wide; ++x)
      row[x] = meanPixel(picture, across[static_cast<std::size_t>(x)], down[static_cast<std::size_t>(y)]);
  });
  return fit;
}

} // namespace host
