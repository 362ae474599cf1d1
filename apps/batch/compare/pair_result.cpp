#include "pair_result.h"

#include <cstdio>

#include "picture_host.h"
#include "thumbnails.h"

namespace batch {
namespace {

std::string sizeText(const host::MetricImage& image) {
  return std::to_string(image.width) + " x " + std::to_string(image.height);
}

std::optional<PairProblem> notFinite(const std::string& file, const host::MetricImage& image) {
  if (image.notFinite == 0) return {};
  return PairProblem{ExitCode::notFinite, file,
                     file + " has " + std::to_string(image.notFinite) +
                         " pixels with NaN or infinities; render it again"};
}

/// The reason why the two cannot be measured.
std::optional<PairProblem> problemOf(const PicturePair& pair, const host::MetricImage& a,
                                     const host::MetricImage& b) {
  if (a.width != b.width || a.height != b.height)
    return PairProblem{ExitCode::sizesDiffer, pair.name,
                       pair.a + " has " + sizeText(a) + " pixels and " + pair.b + " has " + sizeText(b) +
                           "; compare pictures of one size"};
  if (auto problem = notFinite(pair.a, a)) return problem;
  return notFinite(pair.b, b);
}

std::optional<PairProblem> read(const std::string& file, host::MetricImage& image) {
  const IMAGERESULT result = host::readMetricImage(file, image);
  if (result == IMAGERESULT_OK) return {};
  return PairProblem{ExitCode::sceneUnreadable, file, whyUnreadable(result, file)};
}

bool isBeyond(host::Metric metric, double value, const std::vector<MetricLimit>& limits) {
  for (const MetricLimit& limit : limits)
    if (limit.metric == metric && host::isWorse(host::kindOf(metric), value, limit.value)) return true;
  return false;
}

} // namespace

PairResult measurePair(const PicturePair& pair, const MeasureTask& task) {
  PairResult result;
  result.name = pair.name;
  host::MetricImage a, b;
  result.problem = read(pair.a, a);
  if (!result.problem) result.problem = read(pair.b, b);
  if (!result.problem) result.problem = problemOf(pair, a, b);
  if (result.problem) return result;
  result.width = a.width;
  result.height = a.height;
  result.linear = a.linear && b.linear;
  if (task.thumbnails) result.thumbnails = {thumbnail(a), thumbnail(b)};
  for (const host::Metric metric : task.metrics) {
    const host::Measurement measured = host::measure(metric, a, b);
    result.values.push_back(measured.value);
    result.failed.push_back(isBeyond(metric, measured.value, task.limits));
    if (task.thumbnails) result.thumbnails.push_back(heatThumbnail(measured.map, a.width, a.height));
  }
  return result;
}

std::string valuesText(const PairResult& result, const std::vector<host::Metric>& metrics) {
  std::string text;
  for (std::size_t i = 0; i < result.values.size(); ++i) {
    char number[40];
    std::snprintf(number, sizeof number, " %.6g", result.values[i]);
    text += (text.empty() ? "" : ", ") + std::string(host::kindOf(metrics[i]).name) + number;
  }
  return text;
}

} // namespace batch
