#include <cstdio>

#include "commands.h"
#include "compare_report.h"
#include "interrupt.h"
#include "output_file.h"
#include "picture_host.h"

namespace batch {
namespace {

void checkTargets(const MeasureOptions& options) {
  if (!options.json.empty()) requireWritable(Filename(String(options.json)), "the report");
  if (!options.html.empty()) requireWritable(Filename(String(options.html)), "the report");
}

void writeReports(const CompareReport& report) {
  const MeasureOptions& options = report.options;
  if (!options.json.empty()) writeText(Filename(String(options.json)), reportJson(report), "the report");
  if (!options.html.empty()) writeText(Filename(String(options.html)), reportPage(report), "the report");
}

/// A line for each metric beyond its limit.
void printFailed(const PairResult& result, const MeasureOptions& options, Messages& messages) {
  for (const MetricLimit& limit : options.limits)
    for (std::size_t i = 0; i < result.values.size(); ++i) {
      if (options.metrics[i] != limit.metric || !result.failed[i]) continue;
      const host::MetricKind& kind = host::kindOf(limit.metric);
      char numbers[100];
      std::snprintf(numbers, sizeof numbers, " is %.6g, %s the limit %.6g", result.values[i],
                    kind.higherIsBetter ? "below" : "above", limit.value);
      messages.problem(result.name + ": " + kind.name + numbers);
    }
}

void measureAll(const PairList& list, CompareReport& report, Messages& messages) {
  const MeasureOptions& options = report.options;
  const MeasureTask task{options.metrics, options.limits, !options.html.empty()};
  messages.begin("Comparing");
  for (const PicturePair& pair : list.pairs) {
    if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled; no report was written");
    report.results.push_back(measurePair(pair, task));
    const PairResult& result = report.results.back();
    if (result.problem) report.problems.push_back(*result.problem);
    if (!result.problem && !options.quiet)
      std::printf("%s: %s\n", result.name.c_str(), valuesText(result, options.metrics).c_str());
    printFailed(result, options, messages);
    for (const bool failed : result.failed)
      if (failed) report.code = ExitCode::tooDifferent;
    messages.progress(static_cast<double>(report.results.size()) / static_cast<double>(list.pairs.size()));
  }
  messages.end();
}

} // namespace

ExitCode runMeasure(const MeasureOptions& options) {
  checkTargets(options);
  PictureHost host(options.home, options.quiet);
  PairList list = findPairs(options.a, options.b);
  CompareReport report{options, {}, std::move(list.problems), ExitCode::done};
  measureAll(list, report, host.messages());
  for (const PairProblem& problem : report.problems)
    host.messages().problem(problem.sentence);
  if (!report.problems.empty()) report.code = report.problems.front().code;
  writeReports(report);
  return report.code;
}

} // namespace batch
