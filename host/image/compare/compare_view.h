// Two to four pictures beside and over each other, pixel by pixel. Any thread.
#pragma once

#include <span>

#include "picture_pixels.h"

namespace host {

/// A straight line that parts two pictures. A is shown on the side that the angle points away from.
struct WipeLine {
  double x = 0.5, y = 0.5; // a point of it: shares of width and height
  double angle = 0;        // degrees clockwise from upright: 0 A left of B, 90 A above B

  bool operator==(const WipeLine& other) const = default;
};

/// How far a point in pixels lies from the line; positive on B's side.
double wipeDistance(const WipeLine& line, int width, int height, double x, double y) noexcept;
/// The columns of a row on B's side: `first` to `end` - 1.
struct WipeColumns {
  int first = 0, end = 0;
};
WipeColumns columnsBeyond(const WipeLine& line, int width, int height, int y) noexcept;

/// Fills `out` from A and, beyond the line, from B. All three have one size.
void wipe(const PixelView& a, const PixelView& b, const WipeLine& line, const PixelTarget& out) noexcept;

/// The difference of each channel, absolute, times `gain` (0 and up), cut at 255; opaque. All have one size.
void difference(const PixelView& a, const PixelView& b, double gain, const PixelTarget& out);

/// A map of errors, 0 to 1, as the colours of `heatColor`; `map` has a value for each pixel.
void heatPicture(std::span<const float> map, const PixelTarget& out);

/// Scales a picture into the largest centred box of its shape, black and transparent around it. Larger ones
/// by the mean over each pixel's area, smaller ones by straight lines between pixels.
PicturePixels fitted(const PixelView& picture, int width, int height);

} // namespace host
