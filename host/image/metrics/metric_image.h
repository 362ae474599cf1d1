// Pictures as the metrics see them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "c4d_bitmap.h"

namespace host {

struct DecodedPicture;

/// Red, green and blue of each pixel, rows from the top; alpha does not count. `linear` pictures (from float
/// files) hold linear light of Rec. 709's primaries with values above 1; the others hold sRGB values, 0 to 1.
struct MetricImage {
  int width = 0, height = 0;
  bool linear = false;
  std::size_t notFinite = 0; // pixels of the file with NaN or an infinity, which the reader replaced
  std::vector<float> rgb;

  std::size_t pixels() const noexcept {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
};

/// The values of a decoded picture.
MetricImage metricImage(const DecodedPicture& picture);

/// Reads a picture file; see loadPicture for the results. `image` is set when the result is OK. Any thread.
IMAGERESULT readMetricImage(const std::string& path, MetricImage& image);

/// The same picture as sRGB values cut to 0 and 1, or as linear light.
MetricImage asDisplay(const MetricImage& image);
MetricImage asLinear(const MetricImage& image);

} // namespace host
