// Colours of a picture by hue and saturation. Any thread.
#pragma once

#include "scope_pixels.h"

namespace host {

/// A plane of 256 x 256 cells: blue difference Cb to the right, red difference Cr upwards, 254 cells from
/// -0.5 to 0.5; grey is the cell (128, 128). ITU-R BT.709: Cb = (B - Y) / 1.8556, Cr = (R - Y) / 1.5748.
struct Vectorscope {
  static constexpr int side = 256, middle = 128;
  std::vector<std::uint32_t> counts; // rows by Cr, from the lowest
  std::uint32_t most = 0;            // largest count, without that of grey
  ScopeFaults faults;

  std::uint32_t at(int cb, int cr) const noexcept {
    return counts[static_cast<std::size_t>(cr) * side + static_cast<std::size_t>(cb)];
  }
};

struct ChromaCell {
  int cb = Vectorscope::middle, cr = Vectorscope::middle;
  bool operator==(const ChromaCell& other) const = default;
};

/// The cell of a colour, each channel 0 to 1.
ChromaCell chromaCell(double red, double green, double blue) noexcept;

/// Of a display: its values. Of light: negative channels count as 0, and colours brighter than 1 are scaled
/// to a largest channel of 1, which keeps their hue.
Vectorscope vectorscopeOf(const ScopePixels& pixels);

} // namespace host
