#include "metrics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numeric>

#include "flip.h"
#include "ssim.h"

namespace host {
namespace {

// In the order of the enumeration.
constexpr MetricKind kinds[] = {
    {Metric::flip, "flip", false, "seen difference, 0 to 1"},
    {Metric::psnr, "psnr", true, "signal-to-noise ratio in dB; higher is better"},
    {Metric::ssim, "ssim", true, "structural similarity; 1 is equal"},
    {Metric::rmse, "rmse", false, "root mean square difference"},
};

/// The mean square of all channels; the map has each pixel's root.
double meanSquare(const MetricImage& a, const MetricImage& b, std::vector<float>& map) {
  map.resize(a.pixels());
  double sum = 0;
  for (std::size_t i = 0; i < map.size(); ++i) {
    double pixel = 0;
    for (std::size_t at = 3 * i; at < 3 * i + 3; ++at) {
      const double difference = static_cast<double>(a.rgb[at]) - static_cast<double>(b.rgb[at]);
      pixel += difference * difference;
    }
    sum += pixel;
    map[i] = static_cast<float>(std::min(1.0, std::sqrt(pixel / 3)));
  }
  return sum / (3 * static_cast<double>(map.size()));
}

Measurement measureSquares(Metric metric, const MetricImage& reference, const MetricImage& test) {
  Measurement result;
  const bool linear = metric == Metric::rmse && reference.linear && test.linear;
  const double square = linear ? meanSquare(reference, test, result.map)
                               : meanSquare(asDisplay(reference), asDisplay(test), result.map);
  result.value = metric == Metric::rmse ? std::sqrt(square) : -10 * std::log10(square);
  return result;
}

Measurement measureSimilarity(const MetricImage& reference, const MetricImage& test) {
  Similarity found = similarity(asDisplay(reference), asDisplay(test));
  for (float& value : found.map)
    value = std::clamp(1 - value, 0.0f, 1.0f);
  return {found.mean, std::move(found.map)};
}

Measurement measureFlip(const MetricImage& reference, const MetricImage& test) {
  Measurement result{0, flipMap(reference, test)};
  result.value =
      std::accumulate(result.map.begin(), result.map.end(), 0.0) / static_cast<double>(result.map.size());
  return result;
}

} // namespace

std::span<const MetricKind> metricKinds() noexcept {
  return kinds;
}

const MetricKind* findMetric(std::string_view name) noexcept {
  const auto found =
      std::find_if(std::begin(kinds), std::end(kinds), [&](auto& kind) { return name == kind.name; });
  return found == std::end(kinds) ? nullptr : found;
}

const MetricKind& kindOf(Metric metric) noexcept {
  return kinds[static_cast<std::size_t>(metric)];
}

bool isWorse(const MetricKind& kind, double value, double limit) noexcept {
  return kind.higherIsBetter ? !(value >= limit) : !(value <= limit);
}

Measurement measure(Metric metric, const MetricImage& reference, const MetricImage& test) {
  switch (metric) {
  case Metric::flip:
    return measureFlip(reference, test);
  case Metric::ssim:
    return measureSimilarity(reference, test);
  default:
    return measureSquares(metric, reference, test);
  }
}

void heatColor(float error, unsigned char rgb[3]) noexcept {
  constexpr std::array<std::array<float, 3>, 6> stops{
      {{0, 0, 0}, {60, 15, 110}, {150, 25, 120}, {225, 70, 60}, {250, 170, 50}, {255, 255, 240}}};
  const float at = std::clamp(error, 0.0f, 1.0f) * (stops.size() - 1);
  const std::size_t low = std::min(static_cast<std::size_t>(at), stops.size() - 2);
  const float part = at - static_cast<float>(low);
  for (std::size_t i = 0; i < 3; ++i)
    rgb[i] =
        static_cast<unsigned char>(std::lround(stops[low][i] + part * (stops[low + 1][i] - stops[low][i])));
}

} // namespace host
