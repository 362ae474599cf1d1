// Levels by columns of a picture. Any thread.
#pragma once

#include "scope_pixels.h"

namespace host {

/// Column x of the waveform has the pixels of the picture's columns from x * width / columns to the next
/// one's. Light outside the levels counts in the lowest or the highest one.
struct Waveform {
  int columns = 0;
  std::vector<std::size_t> channels; // ScopeChannel of each plane
  std::vector<std::uint32_t> counts; // plane after plane, column after column, 256 levels each
  std::uint32_t most = 0;            // largest count
  ScopeFaults faults;

  std::uint32_t at(std::size_t plane, int column, int level) const noexcept {
    return counts[(plane * static_cast<std::size_t>(columns) + static_cast<std::size_t>(column)) *
                      scopeLevels +
                  static_cast<std::size_t>(level)];
  }
};

/// One plane of luma; as a parade three of red, green and blue. At most `columns` columns, at least 1.
Waveform waveformOf(const ScopePixels& pixels, int columns, bool parade);

} // namespace host
