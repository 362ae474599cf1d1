#include "metric_options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

#include "exit_code.h"

namespace batch {
namespace {

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> parts;
  std::size_t from = 0;
  for (std::size_t comma; (comma = text.find(',', from)) != std::string::npos; from = comma + 1)
    parts.push_back(text.substr(from, comma - from));
  parts.push_back(text.substr(from));
  return parts;
}

std::optional<double> numberOf(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return {};
  return value;
}

std::string allNames() {
  std::string names;
  for (const host::MetricKind& kind : host::metricKinds())
    names += (names.empty() ? "" : ", ") + std::string(kind.name);
  return names;
}

MetricLimit parseLimit(const std::string& part, const std::vector<host::Metric>& metrics) {
  const std::size_t equals = part.find('=');
  const std::optional<double> value = numberOf(equals == std::string::npos ? part : part.substr(equals + 1));
  if (!value)
    throw Stop(ExitCode::wrongUse, "--fail-above " + part +
                                       " has no number; write a number for the first metric, or limits as "
                                       "flip=0.05,psnr=40");
  if (equals == std::string::npos) return {metrics.front(), *value};
  const host::MetricKind* kind = host::findMetric(part.substr(0, equals));
  if (!kind || std::find(metrics.begin(), metrics.end(), kind->metric) == metrics.end())
    throw Stop(ExitCode::wrongUse,
               "--fail-above " + part + " limits a metric that is not measured; name it in --metric");
  return {kind->metric, *value};
}

} // namespace

std::vector<host::Metric> parseMetrics(const std::string& text) {
  std::vector<host::Metric> metrics;
  for (const std::string& name : split(text)) {
    const host::MetricKind* kind = host::findMetric(name);
    if (!kind)
      throw Stop(ExitCode::wrongUse,
                 "--metric " + text + " has an unknown metric \"" + name + "\"; there are " + allNames());
    if (std::find(metrics.begin(), metrics.end(), kind->metric) == metrics.end())
      metrics.push_back(kind->metric);
  }
  return metrics;
}

std::vector<MetricLimit> parseLimits(const std::string& text, const std::vector<host::Metric>& metrics) {
  std::vector<MetricLimit> limits;
  for (const std::string& part : split(text)) {
    const MetricLimit limit = parseLimit(part, metrics);
    const auto same = [&](const MetricLimit& other) { return other.metric == limit.metric; };
    if (std::any_of(limits.begin(), limits.end(), same))
      throw Stop(ExitCode::wrongUse, "--fail-above " + text + " limits " + host::kindOf(limit.metric).name +
                                         " twice; leave one out");
    limits.push_back(limit);
  }
  return limits;
}

double parseDifference(const std::string& text) {
  const std::optional<double> value = numberOf(text);
  if (value && *value >= 0 && *value <= 1) return *value;
  throw Stop(ExitCode::wrongUse,
             "--fail-above " + text + " is not a difference; write a number from 0 to 1, such as 0.5");
}

} // namespace batch
