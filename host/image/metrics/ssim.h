// Structural similarity (Wang, Bovik, Sheikh and Simoncelli 2004, "Image quality assessment: from error
// visibility to structural similarity").
#pragma once

#include <vector>

#include "metric_image.h"

namespace host {

struct Similarity {
  double mean = 1;        // 1: equal; -1 at least
  std::vector<float> map; // of each pixel
};

/// Of the luma (Rec. 601's weights) of two pictures of display values and of one size. The window is a
/// Gaussian of 11 by 11 pixels with a deviation of 1.5; K1 is 0.01, K2 is 0.03. The mean is over the windows
/// that lie inside the picture, as in the paper; where a side has fewer than 11 pixels it is over all pixels,
/// with the edges repeated.
Similarity similarity(const MetricImage& a, const MetricImage& b);

} // namespace host
