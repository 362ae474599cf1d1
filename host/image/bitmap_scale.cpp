// Resampling of bitmaps. Each axis has its own list of weighted source pixels for every target pixel; the
// picture goes row by row through the horizontal list, and finished rows through the vertical one.
#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <vector>

#include "access.h"

namespace {

/// The source pixels that make one target pixel; the weights add up to 1.
struct Taps {
  LONG first = 0;
  std::vector<float> weights;
};

Taps nearestTap(LONG target, LONG from, LONG to) {
  const LLONG at = (2 * static_cast<LLONG>(target) + 1) * from / (2 * static_cast<LLONG>(to));
  return {static_cast<LONG>(at), {1.0f}};
}

/// The average over the pixel's area on the source.
Taps areaTaps(LONG target, LONG from, LONG to) {
  const double scale = static_cast<double>(from) / to;
  const double begin = target * scale, end = std::min<double>((target + 1) * scale, from);
  Taps taps;
  taps.first = static_cast<LONG>(begin);
  for (LONG i = taps.first; i < end && i < from; ++i)
    taps.weights.push_back(
        static_cast<float>((std::min<double>(end, i + 1) - std::max<double>(begin, i)) / (end - begin)));
  return taps;
}

/// A straight line between the two nearest pixel centres; the border's colour beyond the outermost centres.
Taps linearTaps(LONG target, LONG from, LONG to) {
  const double centre =
      std::clamp((target + 0.5) * static_cast<double>(from) / to - 0.5, 0.0, static_cast<double>(from - 1));
  const auto first = static_cast<LONG>(centre);
  const double part = centre - first;
  Taps taps{first, {static_cast<float>(1 - part)}};
  if (part > 0 && first + 1 < from) taps.weights.push_back(static_cast<float>(part));
  return taps;
}

std::vector<Taps> axisTaps(LONG from, LONG to, bool filter) {
  std::vector<Taps> axis(static_cast<std::size_t>(to));
  for (LONG i = 0; i < to; ++i)
    axis[static_cast<std::size_t>(i)] = !filter     ? nearestTap(i, from, to)
                                        : to < from ? areaTaps(i, from, to)
                                                    : linearTaps(i, from, to);
  return axis;
}

constexpr int channels = 4;
using Row = std::vector<float>;

struct Rows {
  const std::atomic<ULONG>* pixels;
  LONG width;
  ULONG opaque; // set over the alpha of a picture that has none
  const std::vector<Taps>& columns;
  // Neighbouring target rows share at most one source row when shrinking, two when enlarging.
  std::array<Row, 2> cache;
  std::array<LONG, 2> cached{-1, -1};

  Rows(const std::atomic<ULONG>* source, LONG sourceWidth, LONG depth, const std::vector<Taps>& taps)
      : pixels(source), width(sourceWidth), opaque(depth == 32 ? 0 : 0xff000000u), columns(taps) {
    for (Row& row : cache)
      row.resize(columns.size() * channels);
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
    float* out = row.data();
    for (const Taps& taps : columns) {
      float sum[channels] = {};
      const std::atomic<ULONG>* source = line + taps.first;
      for (const float weight : taps.weights) {
        const ULONG word = (source++)->load(std::memory_order_relaxed) | opaque;
        for (int c = 0; c < channels; ++c)
          sum[c] += weight * static_cast<float>((word >> (8 * c)) & 255);
      }
      for (const float value : sum)
        *out++ = value;
    }
  }
};

ULONG mixChannel(float fresh, ULONG old, LONG intensity) {
  // Half a thousandth of a code takes up what the sums of weights lost, so that halves round up.
  const auto value = static_cast<LONG>(fresh + 0.5005f);
  const LONG there = static_cast<LONG>(old);
  return static_cast<ULONG>(std::clamp((value * intensity + there * (256 - intensity) + 128) / 256, 0, 255));
}

ULONG mixWord(const float* fresh, ULONG old, LONG intensity) {
  ULONG word = 0;
  for (int c = 0; c < channels; ++c)
    word |= mixChannel(fresh[c], (old >> (8 * c)) & 255, intensity) << (8 * c);
  return word;
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

} // namespace

void BaseBitmap::ScaleIt(BaseBitmap* target, LONG intensity, Bool sample, Bool proportional) const {
  if (!target || !pixels_ || !target->pixels_ || target == this || intensity <= 0) return;
  const LONG mix = std::min(intensity, 256);
  const Box box = targetBox(width_, height_, target->width_, target->height_, proportional != FALSE);
  try {
    const std::vector<Taps> columns = axisTaps(width_, box.width, sample != FALSE);
    const std::vector<Taps> lines = axisTaps(height_, box.height, sample != FALSE);
    Rows rows(pixels_, width_, depth_, columns);
    Row sum(columns.size() * channels);
    for (LONG y = 0; y < box.height; ++y) {
      const Taps& taps = lines[static_cast<std::size_t>(y)];
      std::fill(sum.begin(), sum.end(), 0.0f);
      for (std::size_t i = 0; i < taps.weights.size(); ++i) {
        const Row& row = rows.at(taps.first + static_cast<LONG>(i));
        for (std::size_t k = 0; k < sum.size(); ++k)
          sum[k] += taps.weights[i] * row[k];
      }
      for (LONG x = 0; x < box.width; ++x) {
        const float* fresh = sum.data() + static_cast<std::size_t>(x) * channels;
        target->Store(box.x + x, box.y + y, mixWord(fresh, target->Load(box.x + x, box.y + y), mix));
      }
    }
  } catch (const std::bad_alloc&) {
    // Rows and weights are small beside the pictures: nothing sensible is left to draw with.
  }
}
