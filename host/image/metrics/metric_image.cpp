#include "metric_image.h"

#include <algorithm>

#include "display_transform.h"
#include "picture_load.h"

namespace host {
namespace {

/// Three of the four channels of every pixel, divided by `most`.
template <class Value>
void copyColors(const std::vector<Value>& from, float most, std::vector<float>& to) {
  for (std::size_t in = 0, out = 0; out < to.size(); in += 4, out += 3)
    for (std::size_t channel = 0; channel < 3; ++channel)
      to[out + channel] = static_cast<float>(from[in + channel]) / most;
}

float displayValue(float linear) {
  return static_cast<float>(std::clamp(linearToSrgb(static_cast<double>(linear)), 0.0, 1.0));
}

} // namespace

MetricImage metricImage(const DecodedPicture& picture) {
  MetricImage image;
  image.width = picture.width;
  image.height = picture.height;
  image.linear = !picture.floats.empty();
  image.notFinite = picture.notFinite;
  image.rgb.resize(image.pixels() * 3);
  if (image.linear)
    copyColors(picture.floats, 1.0f, image.rgb);
  else if (!picture.words.empty())
    copyColors(picture.words, 65535.0f, image.rgb);
  else
    copyColors(picture.bytes, 255.0f, image.rgb);
  return image;
}

IMAGERESULT readMetricImage(const std::string& path, MetricImage& image) {
  const LoadedPicture loaded = loadPicture(path);
  if (loaded.picture) image = metricImage(*loaded.picture);
  return loaded.result;
}

MetricImage asDisplay(const MetricImage& image) {
  MetricImage display = image;
  if (!image.linear) return display;
  display.linear = false;
  std::transform(image.rgb.begin(), image.rgb.end(), display.rgb.begin(), displayValue);
  return display;
}

MetricImage asLinear(const MetricImage& image) {
  MetricImage linear = image;
  if (image.linear) return linear;
  linear.linear = true;
  std::transform(image.rgb.begin(), image.rgb.end(), linear.rgb.begin(),
                 [](float value) { return static_cast<float>(srgbToLinear(static_cast<double>(value))); });
  return linear;
}

} // namespace host
