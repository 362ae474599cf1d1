// Small pictures for a report.
#pragma once

#include <vector>

#include "metric_image.h"

namespace batch {

/// A JPEG file of the picture as displays show it, at most 320 pixels wide and 240 high. Throws
/// std::bad_alloc.
std::vector<unsigned char> thumbnail(const host::MetricImage& image);

/// The same of an error for each pixel, as a heat map. A pixel of the thumbnail shows the largest error that
/// it covers, so that single wrong pixels are seen.
std::vector<unsigned char> heatThumbnail(const std::vector<float>& map, int width, int height);

} // namespace batch
