// Bloom, glare and vignette of a picture's light. Any thread.
#pragma once

#include <vector>

#include "lens_settings.h"

namespace host {

/// Changes linear light in place: red, green and blue of each pixel, rows from the top. Uses the workers.
/// Throws std::bad_alloc.
///
/// Bloom and glare move light, they add none: of the light above the threshold, by the largest channel, the
/// strength's share leaves its pixel and is spread around it, half by each effect when both are on. Light
/// that is spread beyond an edge is lost. Light above 65504 is spread as that.
///
/// Bloom is the mean of three filters, weighed 3, 2 and 1, with standard deviations of a ninth, a third and
/// the whole of half its radius. Each is an exponential, forwards and backwards along rows and columns, five
/// times. The rays of glare fall off exponentially. Recursive filters (Deriche 1990, "Fast algorithms for
/// low-level vision") take the same time for every radius and length.
///
/// Vignette multiplies by 1 - amount + amount / (1 + (d / size)^2)^2, where d is the distance from the
/// middle, 1 in the corners; its square is the mean, by roundness, of those of a circle and of the picture's
/// ellipse. With a size and an amount of 1 that is the fourth power of the cosine of a lens of 90 degrees.
///
/// Pixels with NaN or an infinity stay as they are, apart from the vignette, and give no light to others.
void applyLens(const LensSettings& settings, int width, int height, std::vector<float>& rgb);

/// The factor of the vignette at the middle of a pixel.
float vignetteAt(const LensSettings& settings, int width, int height, int x, int y) noexcept;

} // namespace host
