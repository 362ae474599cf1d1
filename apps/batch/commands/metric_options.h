// The options of `compare` that name metrics and their limits.
#pragma once

#include <string>
#include <vector>

#include "metrics.h"

namespace batch {

struct MetricLimit {
  host::Metric metric = host::Metric::flip;
  double value = 0; // flip and rmse fail above it, psnr and ssim below
};

/// "flip,psnr": the metrics, each once. Throws `Stop` (wrong use).
std::vector<host::Metric> parseMetrics(const std::string& text);

/// "flip=0.05,psnr=40", or one number for the first of `metrics`; each limit belongs to one of them. Throws
/// `Stop` (wrong use).
std::vector<MetricLimit> parseLimits(const std::string& text, const std::vector<host::Metric>& metrics);

/// A mean difference of 0 to 1. Throws `Stop` (wrong use).
double parseDifference(const std::string& text);

} // namespace batch
