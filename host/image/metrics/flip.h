// FLIP, the difference that a viewer sees who flips between two pictures: Andersson, Nilsson, Akenine-Moller,
// Oskarsson, Astrom and Fairchild 2020, "FLIP: A difference evaluator for alternating images"; for high
// dynamic range Andersson, Nilsson, Shirley and Akenine-Moller 2021, "Visualizing errors in rendered high
// dynamic range images".
#pragma once

#include <vector>

#include "metric_image.h"

namespace host {

/// The papers' viewer: 0.7 m from a screen 0.7 m wide, with 3840 columns.
inline constexpr double flipPixelsPerDegree = 0.7 * 3840 / 0.7 * 3.14159265358979323846 / 180;

/// The difference of each pixel, 0 to 1, of two pictures of one size. Linear pictures, both, are compared at
/// the exposures that show the reference, tone mapped, and each pixel has its largest difference. Otherwise
/// both are compared as displays show them.
std::vector<float> flipMap(const MetricImage& reference, const MetricImage& test,
                           double pixelsPerDegree = flipPixelsPerDegree);

/// The exposures, in stops, at which linear pictures are compared: from the one that keeps the brightest
/// pixel just below white to the one that shows the median so, at least two. A median darker than 2^-14 of
/// the brightest pixel counts as that. A picture without light has the one exposure 0.
std::vector<double> flipExposures(const MetricImage& reference);

} // namespace host
