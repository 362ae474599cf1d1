// Resampling of a bitmap's pixels. Private to host/image.
#pragma once

#include <atomic>
#include <cstddef>

#include "c4d_types.h"

namespace host {

/// The pixels of a bitmap: words 0xAARRGGBB, rows from the top.
struct PixelArea {
  std::atomic<ULONG>* pixels;
  LONG width, height;
  bool hasAlpha;

  std::atomic<ULONG>* at(LONG x, LONG y) const noexcept {
    return pixels + static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + x;
  }
  /// Set over every word that is read.
  ULONG opaqueBits() const noexcept { return hasAlpha ? 0 : 0xff000000u; }
};

/// Resamples all of `source` into `target`, mixed by `intensity` (1 to 256) of 256 with the target's pixels.
/// `filtered`: the mean over a pixel's area, straight lines between pixels when enlarging; else the nearest
/// pixel. `proportional`: into the largest centred box of the source's shape. Throws std::bad_alloc.
void scalePixels(const PixelArea& source, const PixelArea& target, LONG intensity, bool filtered,
                 bool proportional);

} // namespace host
