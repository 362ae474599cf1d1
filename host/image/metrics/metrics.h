// Measures of the difference of two pictures, by name.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "metric_image.h"

namespace host {

/// flip: see flip.h; the mean of the picture. psnr: peak signal-to-noise ratio of display values in
/// decibels, infinite for equal pictures. ssim: see ssim.h, of display values. rmse: root mean square
/// difference of all channels, of linear light when both pictures are linear, else of display values.
enum class Metric : std::uint8_t { flip, psnr, ssim, rmse };

struct MetricKind {
  Metric metric;
  const char* name;    // as options and reports write it
  bool higherIsBetter; // of psnr and ssim
  const char* note;    // a few words for a report's reader
};

/// All of them.
std::span<const MetricKind> metricKinds() noexcept;
/// Null for an unknown name.
const MetricKind* findMetric(std::string_view name) noexcept;
const MetricKind& kindOf(Metric metric) noexcept;

/// Whether the value lies beyond the limit, on the worse side.
bool isWorse(const MetricKind& kind, double value, double limit) noexcept;

struct Measurement {
  double value = 0;
  std::vector<float> map; // the error of each pixel for a heat map: 0 none, 1 most
};

/// Measures two pictures of one size with at least one pixel. Uses the workers. Any thread. Throws
/// std::bad_alloc.
Measurement measure(Metric metric, const MetricImage& reference, const MetricImage& test);

/// A colour for an error of 0 to 1: black, violet, red, yellow, white, ever brighter.
void heatColor(float error, unsigned char rgb[3]) noexcept;

} // namespace host
