// A view's picture and texts for the screen.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "c4d_string.h"

namespace host {

/// Opaque pixels 0xffRRGGBB, rows from the top without gaps.
struct ViewImage {
  int width = 0, height = 0; // device pixels
  std::vector<std::uint32_t> pixels;

  bool empty() const noexcept { return pixels.empty(); }
  std::uint32_t at(int x, int y) const { return pixels[index(x, y)]; }
  std::uint32_t& at(int x, int y) { return pixels[index(x, y)]; }
  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
  }
};

/// A text over the picture; the desktop draws it in its own font.
struct ViewText {
  enum class Anchor { topRight, bottomLeft, center };
  double x = 0, y = 0; // of the anchor, in logical pixels
  Anchor anchor = Anchor::topRight;
  String text;
  std::uint32_t color = 0xffd8d8dc; // 0xffRRGGBB
};

} // namespace host
