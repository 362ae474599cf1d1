// Each axis has its own list of weighted source pixels for every target pixel; the
// picture goes row by row through the horizontal list, and finished rows through the vertical one.
#include "scale_pixels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <new>
#include <vector>

#include "scale_rows.h"

namespace {

using host::ScaleAxis;
using host::ScaleTaps;

LONG nearestPixel(LONG target, LONG from, LONG to) {
  return static_cast<LONG>((2 * static_cast<LLONG>(target) + 1) * from / (2 * static_cast<LLONG>(to)));
}

/// The average over the pixel's area on the source.
void addAreaTaps(ScaleAxis& axis, LONG target, LONG from, LONG to) {
  const double scale = static_cast<double>(from) / to;
  const double begin = target * scale, end = std::min<double>((target + 1) * scale, from);
  const auto first = static_cast<LONG>(begin);
  axis.begin(first);
  for (LONG i = first; i < end && i < from; ++i)
    axis.add((std::min<double>(end, i + 1) - std::max<double>(begin, i)) / (end - begin));
}

/// A straight line between the two nearest pixel centres; the border's colour beyond the outermost centres.
void addLinearTaps(ScaleAxis& axis, LONG target, LONG from, LONG to) {
  const double centre =
      std::clamp((target + 0.5) * static_cast<double>(from) / to - 0.5, 0.0, static_cast<double>(from - 1));
  const auto first = static_cast<LONG>(centre);
  const double part = centre - first;
  axis.begin(first);
  axis.add(1 - part);
  if (part > 0 && first + 1 < from) axis.add(part);
}

ScaleAxis filterAxis(LONG from, LONG to) {
  ScaleAxis axis;
  for (LONG i = 0; i < to; ++i)
    to < from ? addAreaTaps(axis, i, from, to) : addLinearTaps(axis, i, from, to);
  return axis;
}

constexpr int channels = 4;
/// The four channels of a pixel, which the processor handles at once.
using Lanes = float __attribute__((vector_size(16)));
using WordLanes = ULONG __attribute__((vector_size(16)));
using IntLanes = LONG __attribute__((vector_size(16)));
using Row = std::vector<Lanes>;

/// The codes of a word. Each lane keeps its byte where it stands, and is scaled back by a power of two, which
/// is exact.
Lanes codes(ULONG word) {
  const WordLanes all = {word, word, word, word}, high = all >> 8;
  const WordLanes low = {0xff, 0xff00, 0xff0000, 0}, alpha = {0, 0, 0, 0xff0000};
  const Lanes scale = {1.0f, 1.0f / 256, 1.0f / 65536, 1.0f / 65536};
  return __builtin_convertvector(reinterpret_cast<IntLanes>((all & low) | (high & alpha)), Lanes) * scale;
}

struct Rows {
  const std::atomic<ULONG>* pixels;
  LONG width;
  ULONG opaque; // set in the alpha of pictures without an alpha channel
  const ScaleAxis& columns;
  // Neighbouring target rows share at most one source row when shrinking, two when enlarging.
  std::array<Row, 2> cache;
  std::array<LONG, 2> cached{-1, -1};

  Rows(const std::atomic<ULONG>* source, LONG sourceWidth, ULONG opaqueBits, const ScaleAxis& axis)
      : pixels(source), width(sourceWidth), opaque(opaqueBits), columns(axis) {
    for (Row& row : cache)
      row.resize(columns.taps.size());
  }

  /// A source row at the target's width.
  const Row& at(LONG y) {
    const auto slot = static_cast<std::size_t>(y & 1);
    if (cached[slot] != y) {
      cached[slot] = y;
      resample(y, cache[slot]);
    }
    return cache[slot];
  }

  void resample(LONG y, Row& row) const {
    const std::atomic<ULONG>* line = pixels + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    Lanes* out = row.data();
    for (const ScaleTaps& taps : columns.taps) {
      Lanes sum = {};
      const std::atomic<ULONG>* source = line + taps.first;
      const float* weight = columns.weights.data() + taps.weights;
      for (std::uint32_t i = 0; i < taps.count; ++i)
        sum += weight[i] * codes(source[i].load(std::memory_order_relaxed) | opaque);
      *out++ = sum;
    }
  }
};

/// Half a thousandth of a code makes up for the rounding of the weights' sums, so that halves round up.
ULONG roundWord(Lanes fresh) {
  const IntLanes values = __builtin_convertvector(fresh + 0.5005f, IntLanes);
  ULONG word = 0;
  for (int c = 0; c < channels; ++c)
    word |= static_cast<ULONG>(std::min(values[c], 255)) << (8 * c);
  return word;
}

ULONG mixWords(ULONG fresh, ULONG there, LONG intensity) {
  ULONG word = 0;
  for (int c = 0; c < channels; ++c) {
    const auto value = static_cast<LONG>((fresh >> (8 * c)) & 255);
    const auto old = static_cast<LONG>((there >> (8 * c)) & 255);
    word |= static_cast<ULONG>((value * intensity + old * (256 - intensity) + 128) / 256) << (8 * c);
  }
  return word;
}

/// Stores `word` of every column, mixed by `intensity` of 256 with the present pixel.
template <class WordAt>
void storeRow(std::atomic<ULONG>* out, LONG width, LONG intensity, WordAt word) {
  for (LONG x = 0; x < width; ++x) {
    const ULONG fresh = word(x);
    out[x].store(intensity < 256 ? mixWords(fresh, out[x].load(std::memory_order_relaxed), intensity) : fresh,
                 std::memory_order_relaxed);
  }
}

struct Box {
  LONG x, y, width, height;
};

/// Where the picture goes in the target: all of it, or the largest centred box of the picture's shape.
Box targetBox(LONG fromWidth, LONG fromHeight, LONG width, LONG height, bool proportional) {
  if (!proportional) return {0, 0, width, height};
  const double scale =
      std::min(static_cast<double>(width) / fromWidth, static_cast<double>(height) / fromHeight);
  const auto side = [scale](LONG from, LONG most) {
    return std::clamp(static_cast<LONG>(std::lround(from * scale)), 1, most);
  };
  const LONG w = side(fromWidth, width), h = side(fromHeight, height);
  return {(width - w) / 2, (height - h) / 2, w, h};
}

/// Without a filter, or at the same size, a target pixel is a source pixel.
void scaleNearest(const host::PixelArea& source, const host::PixelArea& target, const Box& box, LONG mix) {
  std::vector<LONG> columns;
  for (LONG x = 0; x < box.width; ++x)
    columns.push_back(nearestPixel(x, source.width, box.width));
  for (LONG y = 0; y < box.height; ++y) {
    const std::atomic<ULONG>* line = source.at(0, nearestPixel(y, source.height, box.height));
    storeRow(target.at(box.x, box.y + y), box.width, mix, [&](LONG x) {
      return line[columns[static_cast<std::size_t>(x)]].load(std::memory_order_relaxed) | source.opaqueBits();
    });
  }
}

void scaleFiltered(const host::PixelArea& source, const host::PixelArea& target, const Box& box, LONG mix) {
  const ScaleAxis columns = filterAxis(source.width, box.width),
                  lines = filterAxis(source.height, box.height);
  if (host::FixedScaleRows::suits(columns, lines)) {
    host::FixedScaleRows rows(source.pixels, source.width, source.opaqueBits(), columns, lines);
    for (LONG y = 0; y < box.height; ++y) {
      const ULONG* row = rows.at(y);
      storeRow(target.at(box.x, box.y + y), box.width, mix, [row](LONG x) { return row[x]; });
    }
    return;
  }
  Rows rows(source.pixels, source.width, source.opaqueBits(), columns);
  Row sum(columns.taps.size());
  for (LONG y = 0; y < box.height; ++y) {
    const ScaleTaps& taps = lines.taps[static_cast<std::size_t>(y)];
    std::fill(sum.begin(), sum.end(), Lanes{});
    for (std::uint32_t i = 0; i < taps.count; ++i) {
      const Lanes* row = rows.at(taps.first + static_cast<LONG>(i)).data();
      const float weight = lines.weights[taps.weights + i];
      for (std::size_t k = 0; k < sum.size(); ++k)
        sum[k] += weight * row[k];
    }
    storeRow(target.at(box.x, box.y + y), box.width, mix,
             [&sum](LONG x) { return roundWord(sum[static_cast<std::size_t>(x)]); });
  }
}

} // namespace

namespace host {

void scalePixels(const PixelArea& source, const PixelArea& target, LONG intensity, bool filtered,
                 bool proportional) {
  const Box box = targetBox(source.width, source.height, target.width, target.height, proportional);
  const bool sameSize = box.width == source.width && box.height == source.height;
  (filtered && !sameSize ? scaleFiltered : scaleNearest)(source, target, box, std::min(intensity, 256));
}

} // namespace host
