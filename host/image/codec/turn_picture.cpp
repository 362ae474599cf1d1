#include "turn_picture.h"

#include <algorithm>
#include <utility>

namespace host {
namespace {

template <class Value>
void turn(std::vector<Value>& pixels, int width, int height, int orientation) {
  if (pixels.empty()) return;
  // The value says at which sides of the upright picture the stored first row and first column lie.
  const bool swapped = orientation >= 5;
  const bool fromRight = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
  const bool fromBottom = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
  const auto wide = static_cast<std::size_t>(width), high = static_cast<std::size_t>(height);
  const std::size_t newWide = swapped ? high : wide, newHigh = swapped ? wide : high;
  std::vector<Value> turned(pixels.size());
  for (std::size_t y = 0; y < newHigh; ++y)
    for (std::size_t x = 0; x < newWide; ++x) {
      const std::size_t column = swapped ? y : x, row = swapped ? x : y;
      const std::size_t fromX = fromRight ? wide - 1 - column : column;
      const std::size_t fromY = fromBottom ? high - 1 - row : row;
      std::copy_n(pixels.data() + (fromY * wide + fromX) * 4, 4, turned.data() + (y * newWide + x) * 4);
    }
  pixels.swap(turned);
}

} // namespace

void turnUpright(DecodedPicture& picture, int orientation) {
  if (orientation < 2 || orientation > 8) return;
  turn(picture.bytes, picture.width, picture.height, orientation);
  turn(picture.words, picture.width, picture.height, orientation);
  turn(picture.floats, picture.width, picture.height, orientation);
  if (orientation >= 5) std::swap(picture.width, picture.height);
}

} // namespace host
