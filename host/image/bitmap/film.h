// The float film of a bitmap: a renderer's linear result before it becomes 8 bits.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "c4d_bitmap.h"

namespace host {

/// Named layers of floats, all of one size; layer 0 is "color" with four channels: red, green, blue (linear,
/// Rec. 709 primaries) and alpha (coverage, not multiplied into the colour). Values are relaxed atomics: any
/// thread writes and reads.
class Film {
 public:
  Film(int width, int height);
  int width() const noexcept { return width_; }
  int height() const noexcept { return height_; }

  /// Inside the film only.
  void setColor(int x, int y, const float rgba[4]) noexcept;
  void getColor(int x, int y, float rgba[4]) const noexcept;

 private:
  int width_, height_;
  std::unique_ptr<std::atomic<float>[]> color_;
};

/// The bitmap's film; null when it has none or its size differs. `Init`, `FlushAll` and loading drop it.
std::shared_ptr<Film> filmOf(const BaseBitmap& bitmap);
void setFilm(BaseBitmap& bitmap, std::shared_ptr<Film> film);

} // namespace host
