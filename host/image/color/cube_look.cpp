#include <algorithm>
#include <array>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "light_axis.h"
#include "view_look.h"
#include "worker_threads.h"

namespace host {
namespace {

/// Integers throughout: every processor has the same result. A node is half as large as one of floats, so the
/// cube stays in a core's own cache.
class CubeLook final : public ViewLook {
 public:
  explicit CubeLook(const ViewFunction& function) : nodes_(std::size_t{side} * side * side) {
    eachRow(side * side, [&](int line) {
      std::array<float, 3 * side> colors{};
      for (int r = 0; r < side; ++r) {
        colors[static_cast<std::size_t>(3 * r)] = axis.light(r);
        colors[static_cast<std::size_t>(3 * r + 1)] = axis.light(line % side);
        colors[static_cast<std::size_t>(3 * r + 2)] = axis.light(line / side);
      }
      function(colors.data(), side);
      Node* to = nodes_.data() + static_cast<std::size_t>(line) * side;
      for (std::size_t r = 0; r < side; ++r)
        for (std::size_t c = 0; c < 3; ++c)
          to[r][c] = signedSteps(colors[3 * r + c]);
    });
  }

  void show(const float* rgb, std::int16_t* display, std::size_t pixels) const noexcept override {
    std::array<std::int32_t, 3 * mostPixels> places;
    for (std::size_t i = 0; i < 3 * pixels; ++i)
      places[i] = axis.place(rgb[i]);
    Corners corners;
    for (std::size_t i = 0; i < pixels; ++i)
      choose(&places[3 * i], corners, i);
    for (std::size_t i = 0; i < pixels; ++i)
      blend(corners, i, display + 3 * i);
  }

 private:
  static constexpr LightAxis axis{-10, 16, 2};
  static constexpr int side = axis.last() + 1;
  using Node = std::array<std::int16_t, 4>; // red, green, blue, nothing

  // Values below 0, where a colour lies outside the display's, stay: between nodes the cut at 0 comes after
  // the interpolation.
  static std::int16_t signedSteps(float value) noexcept {
    return value < 0 ? static_cast<std::int16_t>(-toDisplaySteps(-value)) : toDisplaySteps(value);
  }

  /// Four nodes around each pixel's colour and their weights in 2^15ths, two in a number.
  struct Corners {
    std::array<std::int32_t, mostPixels> first, second, third, weightsAB, weightsCD;
  };
  static constexpr std::int32_t farNode = 1 + side + side * side; // from the first one

  /// The cell is divided into six tetrahedra along its diagonal; the order of the fractions chooses one. A
  /// fraction and the way to the next node along its axis are sorted as one number, without branches: colours
  /// change from pixel to pixel.
  static void choose(const std::int32_t* places, Corners& to, std::size_t i) noexcept {
    constexpr std::int32_t full = (1 << LightAxis::fractionBits) - 1, wayMask = 0xffff;
    const auto key = [](std::int32_t place, std::int32_t way) {
      return (axis.fractionOf(place) << 16) | way;
    };
    const std::int32_t r = key(places[0], 1), g = key(places[1], side), b = key(places[2], side * side);
    const std::int32_t high = r > g ? r : g, low = r > g ? g : r;
    const std::int32_t most = high > b ? high : b, between = high > b ? b : high;
    const std::int32_t middle = low > between ? low : between, least = low > between ? between : low;
    const std::int32_t f1 = most >> 16, f2 = middle >> 16, f3 = least >> 16;
    const std::int32_t first =
        axis.nodeOf(places[0]) + side * axis.nodeOf(places[1]) + side * side * axis.nodeOf(places[2]);
    to.first[i] = first;
    to.second[i] = first + (most & wayMask);
    to.third[i] = first + farNode - (least & wayMask);
    to.weightsAB[i] = (full - f1) | ((f1 - f2) << 16);
    to.weightsCD[i] = (f2 - f3) | (f3 << 16);
  }

  /// Writes four values.
  void blend(const Corners& corners, std::size_t i, std::int16_t* display) const noexcept {
    constexpr int half = 1 << (LightAxis::fractionBits - 1);
    const auto at = [&](std::int32_t node) { return nodes_[static_cast<std::size_t>(node)].data(); };
    const std::int16_t* const a = at(corners.first[i]);
    const std::int16_t* const b = at(corners.second[i]);
    const std::int16_t* const c = at(corners.third[i]);
    const std::int16_t* const d = at(corners.first[i] + farNode);
    const std::int32_t weightsAB = corners.weightsAB[i], weightsCD = corners.weightsCD[i];
#ifdef __SSE2__
    const auto load = [](const std::int16_t* node) {
      return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(node));
    };
    const auto pair = [](__m128i x, __m128i y, std::int32_t weights) {
      return _mm_madd_epi16(_mm_unpacklo_epi16(x, y), _mm_set1_epi32(weights));
    };
    const __m128i sum = _mm_add_epi32(pair(load(a), load(b), weightsAB), pair(load(c), load(d), weightsCD));
    const __m128i value = _mm_srai_epi32(_mm_add_epi32(sum, _mm_set1_epi32(half)), LightAxis::fractionBits);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(display),
                     _mm_max_epi16(_mm_packs_epi32(value, value), _mm_setzero_si128()));
#else
    for (std::size_t channel = 0; channel < 4; ++channel) {
      const std::int32_t sum = a[channel] * (weightsAB & 0xffff) + b[channel] * (weightsAB >> 16) +
                               c[channel] * (weightsCD & 0xffff) + d[channel] * (weightsCD >> 16);
      display[channel] = static_cast<std::int16_t>(std::max(0, (sum + half) >> LightAxis::fractionBits));
    }
#endif
  }

  std::vector<Node> nodes_;
};

} // namespace

ViewLookPtr cubeLook(const ViewFunction& function) {
  return std::make_shared<CubeLook>(function);
}

} // namespace host
