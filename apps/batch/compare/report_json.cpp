#include <cmath>

#include <nlohmann/json.hpp>

#include "compare_report.h"

namespace batch {
namespace {

using Json = nlohmann::ordered_json;

/// Null for the ratio of equal pictures, which is infinite.
Json number(double value) {
  return std::isfinite(value) ? Json(value) : Json(nullptr);
}

const char* kindOf(ExitCode code) {
  switch (code) {
  case ExitCode::sizesDiffer:
    return "sizes differ";
  case ExitCode::noPartner:
    return "no partner";
  case ExitCode::notFinite:
    return "not finite";
  default:
    return "unreadable";
  }
}

Json pairJson(const PairResult& result, const std::vector<host::Metric>& metrics) {
  Json json{
      {"name", result.name}, {"width", result.width}, {"height", result.height}, {"linear", result.linear}};
  Json failed = Json::array();
  for (std::size_t i = 0; i < result.values.size(); ++i) {
    json[host::kindOf(metrics[i]).name] = number(result.values[i]);
    if (result.failed[i]) failed.push_back(host::kindOf(metrics[i]).name);
  }
  json["failed"] = failed;
  return json;
}

/// The worst value of a metric and the pair that has it.
Json worstJson(const std::vector<PairResult>& results, std::size_t metric, const host::MetricKind& kind) {
  const PairResult* worst = nullptr;
  for (const PairResult& result : results) {
    if (result.values.empty()) continue;
    if (!worst || host::isWorse(kind, result.values[metric], worst->values[metric])) worst = &result;
  }
  if (!worst) return nullptr;
  return {{"value", number(worst->values[metric])}, {"name", worst->name}};
}

} // namespace

std::string reportJson(const CompareReport& report) {
  const MeasureOptions& options = report.options;
  Json json{{"a", options.a}, {"b", options.b}, {"metrics", Json::array()}, {"limits", Json::object()}};
  for (const host::Metric metric : options.metrics)
    json["metrics"].push_back(host::kindOf(metric).name);
  for (const MetricLimit& limit : options.limits)
    json["limits"][host::kindOf(limit.metric).name] = limit.value;
  json["pairs"] = Json::array();
  for (const PairResult& result : report.results)
    if (!result.problem) json["pairs"].push_back(pairJson(result, options.metrics));
  json["problems"] = Json::array();
  for (const PairProblem& problem : report.problems)
    json["problems"].push_back(
        {{"name", problem.name}, {"kind", kindOf(problem.code)}, {"message", problem.sentence}});
  for (std::size_t i = 0; i < options.metrics.size(); ++i) {
    const host::MetricKind& kind = host::kindOf(options.metrics[i]);
    json["worst"][kind.name] = worstJson(report.results, i, kind);
  }
  json["passed"] = report.code == ExitCode::done;
  json["exit_code"] = static_cast<int>(report.code);
  // File names need not be UTF-8.
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace batch
