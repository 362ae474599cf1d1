// The picture in memory that user areas and overlays draw into. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "c4d_bitmap.h"
#include "c4d_math.h"

namespace host {

/// Pixels as 0xAARRGGBB, not premultiplied, rows from the top. Drawing calls take logical pixels; a surface
/// has `ratio` times as many pixels per side. Drawing outside of it is ignored.
class Surface {
 public:
  /// Limited to 32768 pixels per side. Filled with `fill`.
  void resize(int width, int height, double ratio = 1, std::uint32_t fill = 0xff2b2b2e);
  int width() const noexcept { return width_; } // logical
  int height() const noexcept { return height_; }
  double ratio() const noexcept { return ratio_; }
  int pixelWidth() const noexcept { return pixelWidth_; }
  int pixelHeight() const noexcept { return pixelHeight_; }
  const std::uint32_t* pixels() const noexcept { return pixels_.data(); }
  /// A pixel (not logical); 0 outside.
  std::uint32_t at(int x, int y) const noexcept;

  void fill(std::uint32_t color) noexcept;
  void fillRect(int x1, int y1, int x2, int y2, std::uint32_t color) noexcept; // inclusive
  void line(int x1, int y1, int x2, int y2, std::uint32_t color) noexcept;     // both ends drawn
  /// Draws the part (x, y, width, height) of a bitmap into (wx, wy, ww, wh). `smooth`: averages over the
  /// pixel's area (interpolates when enlarging), else takes the nearest pixel; `alpha`: blends by the
  /// bitmap's alpha channel. The part is clipped to the bitmap; the scale stays.
  void blit(const BaseBitmap& bitmap, int wx, int wy, int ww, int wh, int x, int y, int width, int height,
            bool smooth, bool alpha);

 private:
  std::uint32_t* row(int y) noexcept {
    return pixels_.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(pixelWidth_);
  }
  void fillPixels(int left, int top, int right, int bottom, std::uint32_t color) noexcept; // ends excluded

  int width_ = 0, height_ = 0, pixelWidth_ = 0, pixelHeight_ = 0;
  double ratio_ = 1;
  std::vector<std::uint32_t> pixels_;
};

/// 0 to 1 per channel, clamped and rounded.
std::uint32_t packColor(const Vector& color) noexcept;

} // namespace host
