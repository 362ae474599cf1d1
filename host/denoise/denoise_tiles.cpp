#include "denoise_tiles.h"

#include <algorithm>
#include <cassert>

namespace host::denoise {
namespace {

int roundedUp(int value) noexcept {
  return (value + networkStep - 1) / networkStep * networkStep;
}

/// One side of a tile.
struct Span {
  int from, to;       // what it gives
  int seenFrom, seen; // where the network begins, and how much it sees
};

/// A side cut into equal spans at multiples of the step.
std::vector<Span> cut(int length, int count) {
  const int piece = roundedUp((length + count - 1) / count);
  std::vector<Span> spans;
  for (int from = 0; from < length; from += piece) {
    const int to = std::min(from + piece, length);
    const int first = std::max(from - networkReach, 0), end = std::min(to + networkReach, roundedUp(length));
    spans.push_back({from, to, first, roundedUp(end) - first});
  }
  return spans;
}

long long largest(const std::vector<Span>& spans) {
  return std::max_element(spans.begin(), spans.end(),
                          [](const Span& x, const Span& y) { return x.seen < y.seen; })
      ->seen;
}

long long total(const std::vector<Span>& spans) {
  long long sum = 0;
  for (const Span& span : spans)
    sum += span.seen;
  return sum;
}

} // namespace

std::vector<DenoiseTile> planTiles(int width, int height, long long most) {
  assert(width > 0 && height > 0 && most >= 512LL * 512);
  std::vector<Span> columns, rows;
  long long least = -1;
  for (int across = 1; across <= width / networkStep + 1; ++across) {
    const auto wide = cut(width, across);
    if (largest(wide) * networkStep > most) continue;
    for (int down = 1; down <= height / networkStep + 1; ++down) {
      const auto high = cut(height, down);
      if (largest(wide) * largest(high) > most) continue;
      const long long work = total(wide) * total(high);
      if (least < 0 || work < least) {
        least = work;
        columns = wide;
        rows = high;
      }
      break; // more rows are more work
    }
  }
  std::vector<DenoiseTile> tiles;
  for (const Span& row : rows)
    for (const Span& column : columns)
      tiles.push_back(
          {column.from, row.from, column.to, row.to, column.seenFrom, row.seenFrom, column.seen, row.seen});
  return tiles;
}

} // namespace host::denoise
