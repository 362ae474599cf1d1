// The measurement of one pair of pictures.
#pragma once

#include <optional>
#include <vector>

#include "metric_options.h"
#include "picture_pairs.h"

namespace batch {

struct PairResult {
  std::string name;
  int width = 0, height = 0;
  bool linear = false;        // both are float pictures
  std::vector<double> values; // in the order of the metrics; empty when there is a problem
  std::vector<bool> failed;   // likewise: beyond its limit
  std::optional<PairProblem> problem;
  // Small JPEG files for a report: A, B and a heat map for each metric. Empty unless wanted.
  std::vector<std::vector<unsigned char>> thumbnails;
};

struct MeasureTask {
  const std::vector<host::Metric>& metrics;
  const std::vector<MetricLimit>& limits;
  bool thumbnails = false;
};

/// Reads and measures a pair; A is the reference. A pair that cannot be measured has a problem. Throws
/// std::bad_alloc.
PairResult measurePair(const PicturePair& pair, const MeasureTask& task);

/// "flip 0.0123, psnr 41.2"
std::string valuesText(const PairResult& result, const std::vector<host::Metric>& metrics);

} // namespace batch
