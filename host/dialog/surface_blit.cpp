// Bitmaps drawn into a surface.
#include <algorithm>
#include <array>
#include <cmath>

#include "access.h"
#include "surface.h"

namespace host {

namespace {

// The source pixels of one target pixel along one axis: `count` pixels from `first` on, with weights that add
// up to 1.
struct Tap {
  int target = 0;
  int first = 0;
  std::vector<float> weights;
};

// One axis of a blit: target pixels [start, start + length) show the source [from, from + extent).
struct Axis {
  double start = 0, length = 0; // pixels of the surface
  double from = 0, extent = 0;  // pixels of the bitmap
  int targetSize = 0, sourceSize = 0;
};

// Target pixels on the surface with their centre in the bitmap.
template <class Visit>
void forTargets(const Axis& axis, const Visit& visit) {
  const int first = static_cast<int>(std::max(0.0, std::round(axis.start)));
  const int end = static_cast<int>(std::min<double>(axis.targetSize, std::round(axis.start + axis.length)));
  for (int target = first; target < end; ++target) {
    const double scale = axis.extent / axis.length;
    const double low = axis.from + (target - axis.start) * scale, middle = low + 0.5 * scale;
    if (middle >= std::max(0.0, axis.from) &&
        middle < std::min<double>(axis.sourceSize, axis.from + axis.extent))
      visit(target, low, scale);
  }
}

struct Pair {
  int target = 0, source = 0;
};

std::vector<Pair> nearestPairs(const Axis& axis) {
  std::vector<Pair> pairs;
  forTargets(axis, [&](int target, double low, double scale) {
    pairs.push_back({target, static_cast<int>(std::floor(low + 0.5 * scale))});
  });
  return pairs;
}

// The mean over the target pixel's extent, or, when that is smaller than a source pixel, linear
// interpolation.
std::vector<Tap> smoothTaps(const Axis& axis) {
  const double lowest = std::max(0.0, axis.from);
  const double highest = std::min<double>(axis.sourceSize, axis.from + axis.extent);
  const int last = static_cast<int>(std::ceil(highest)) - 1, lead = static_cast<int>(std::floor(lowest));
  std::vector<Tap> taps;
  forTargets(axis, [&](int target, double low, double scale) {
    const double width = std::max(scale, 1.0), center = low + 0.5 * scale;
    const double begin = std::max(lowest, center - 0.5 * width);
    const double end = std::min(highest, center + 0.5 * width);
    Tap tap{target, std::clamp(static_cast<int>(std::floor(begin)), lead, last), {}};
    double sum = 0;
    for (int at = tap.first; at <= last && (at < end || sum == 0); ++at) {
      const double part = std::max(0.0, std::min(end, at + 1.0) - std::max<double>(begin, at));
      if (part < 1e-9 && sum > 0) continue;
      tap.weights.push_back(static_cast<float>(std::max(part, 1e-9)));
      sum += std::max(part, 1e-9);
    }
    for (float& weight : tap.weights)
      weight = static_cast<float>(weight / sum);
    taps.push_back(std::move(tap));
  });
  return taps;
}

using Color = std::array<float, 4>; // red, green, blue times alpha, and alpha; 0 to 255

Color unpack(std::uint32_t word) {
  const float a = static_cast<float>(word >> 24);
  const auto code = [&](int shift) { return static_cast<float>((word >> shift) & 255) * (a / 255); };
  return {code(16), code(8), code(0), a};
}

std::uint32_t over(const Color& color, std::uint32_t below) {
  const float rest = 1 - color[3] / 255;
  const auto code = [](float value) {
    return static_cast<std::uint32_t>(std::clamp(value, 0.0f, 255.0f) + 0.5f);
  };
  std::uint32_t word = code(color[3] + rest * static_cast<float>(below >> 24)) << 24;
  for (int channel = 0; channel < 3; ++channel) {
    const int shift = 16 - 8 * channel;
    word |= code(color[static_cast<std::size_t>(channel)] + rest * static_cast<float>((below >> shift) & 255))
            << shift;
  }
  return word;
}

std::uint32_t mixPixel(std::uint32_t word, std::uint32_t below) {
  const std::uint32_t a = word >> 24;
  if (a == 255) return word;
  if (a == 0) return below;
  return over(unpack(word), below);
}

// The bitmap's pixels; without alpha they are opaque.
class Source {
 public:
  Source(const BaseBitmap& bitmap, bool alpha)
      : pixels_(Access::pixels(bitmap)), width_(static_cast<std::size_t>(bitmap.GetBw())),
        opaque_(!alpha || bitmap.GetBt() != 32 ? 0xff000000u : 0) {}
  std::uint32_t at(int x, int y) const {
    return pixels_[static_cast<std::size_t>(y) * width_ + static_cast<std::size_t>(x)].load(
               std::memory_order_relaxed) |
           opaque_;
  }
  bool mixes() const { return opaque_ == 0; }
  void copyRow(int x, int y, std::size_t count, std::uint32_t* target) const {
    const std::atomic<ULONG>* from =
        pixels_ + static_cast<std::size_t>(y) * width_ + static_cast<std::size_t>(x);
    for (std::size_t i = 0; i < count; ++i)
      target[i] = from[i].load(std::memory_order_relaxed) | opaque_;
  }

 private:
  const std::atomic<ULONG>* pixels_;
  std::size_t width_;
  std::uint32_t opaque_;
};

// One source row, resampled: one colour per column.
void resampleRow(const Source& source, int y, const std::vector<Tap>& columns, std::vector<Color>& row) {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    Color sum{};
    for (std::size_t k = 0; k < columns[i].weights.size(); ++k) {
      const Color color = unpack(source.at(columns[i].first + static_cast<int>(k), y));
      for (std::size_t c = 0; c < 4; ++c)
        sum[c] += columns[i].weights[k] * color[c];
    }
    row[i] = sum;
  }
}

} // namespace

void Surface::blit(const BaseBitmap& bitmap, int wx, int wy, int ww, int wh, int x, int y, int width,
                   int height, bool smooth, bool alpha) {
  if (ww <= 0 || wh <= 0 || width <= 0 || height <= 0 || bitmap.GetBw() <= 0 || bitmap.GetBh() <= 0) return;
  const Axis across{wx * ratio_, ww * ratio_, 1.0 * x, 1.0 * width, pixelWidth_, bitmap.GetBw()};
  const Axis down{wy * ratio_, wh * ratio_, 1.0 * y, 1.0 * height, pixelHeight_, bitmap.GetBh()};
  const bool scaled = across.length != width || down.length != height;
  const Source source(bitmap, alpha);
  if (!smooth || !scaled) {
    const std::vector<Pair> columns = nearestPairs(across);
    for (const Pair& to : nearestPairs(down)) {
      std::uint32_t* const pixels = row(to.target);
      if (scaled || source.mixes())
        for (const Pair& column : columns)
          pixels[column.target] = mixPixel(source.at(column.source, to.source), pixels[column.target]);
      else if (!columns.empty())
        source.copyRow(columns.front().source, to.source, columns.size(), pixels + columns.front().target);
    }
    return;
  }
  const std::vector<Tap> columns = smoothTaps(across), rows = smoothTaps(down);
  // Neighbouring target rows share source rows, so the last even and the last odd one are cached.
  struct Line {
    int y = -1;
    std::vector<Color> colors;
  } lines[2];
  std::vector<Color> sum(columns.size());
  for (Line& line : lines)
    line.colors.resize(columns.size());
  for (const Tap& to : rows) {
    std::fill(sum.begin(), sum.end(), Color{});
    for (std::size_t k = 0; k < to.weights.size(); ++k) {
      const int at = to.first + static_cast<int>(k);
      Line& line = lines[at & 1];
      if (line.y != at) resampleRow(source, line.y = at, columns, line.colors);
      for (std::size_t i = 0; i < columns.size(); ++i)
        for (std::size_t c = 0; c < 4; ++c)
          sum[i][c] += to.weights[k] * line.colors[i][c];
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
      std::uint32_t& pixel = row(to.target)[columns[i].target];
      pixel = over(sum[i], pixel);
    }
  }
}

} // namespace host
