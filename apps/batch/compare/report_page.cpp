#include <cstdio>
#include <span>

#include "compare_report.h"
#include "gltf_json.h"
#include "markup_text.h"

namespace batch {
namespace {

using host::markupText;

constexpr const char* head = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>Comparison of pictures</title>
<style>
body { background: #2b2b2e; color: #d8d8dc; font: 13px sans-serif; margin: 24px }
table { border-collapse: collapse }
td, th { border-bottom: 1px solid #3f3f45; padding: 8px; text-align: left; vertical-align: top }
img { display: block; margin-top: 4px }
.failed { color: #ff8080; font-weight: bold }
.problem { color: #d9a050 }
.limit { color: #8e8e96 }
</style>
</head>
<body>
)";

std::string image(const std::vector<unsigned char>& jpeg, const std::string& text) {
  return "<img alt=\"" + markupText(text) + "\" src=\"data:image/jpeg;base64," +
         host::toBase64(std::as_bytes(std::span(jpeg))) + "\">";
}

std::string numberText(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

std::string headings(const MeasureOptions& options) {
  std::string row = "<tr><th>Picture</th><th>A</th><th>B</th>";
  for (const host::Metric metric : options.metrics) {
    const host::MetricKind& kind = host::kindOf(metric);
    row += "<th>" + std::string(kind.name) + "<br><span class=\"limit\">" + kind.note;
    for (const MetricLimit& limit : options.limits)
      if (limit.metric == metric)
        row +=
            std::string("<br>") + (kind.higherIsBetter ? "at least " : "at most ") + numberText(limit.value);
    row += "</span></th>";
  }
  return row + "</tr>\n";
}

std::string pairRow(const PairResult& result, const std::vector<host::Metric>& metrics) {
  std::string row = "<tr><td>" + markupText(result.name) + "<br><span class=\"limit\">" +
                    std::to_string(result.width) + " x " + std::to_string(result.height) + "</span></td>";
  row += "<td>" + image(result.thumbnails[0], result.name + ", A") + "</td>";
  row += "<td>" + image(result.thumbnails[1], result.name + ", B") + "</td>";
  for (std::size_t i = 0; i < result.values.size(); ++i) {
    row += std::string("<td") + (result.failed[i] ? " class=\"failed\">" : ">") +
           numberText(result.values[i]) + (result.failed[i] ? " failed" : "");
    row += image(result.thumbnails[i + 2], result.name + ", " + host::kindOf(metrics[i]).name) + "</td>";
  }
  return row + "</tr>\n";
}

} // namespace

std::string reportPage(const CompareReport& report) {
  std::string page = head;
  page +=
      "<h1>Comparison of pictures</h1>\n<p>A: " + markupText(report.options.a) +
      "<br>B: " + markupText(report.options.b) + "</p>\n<p>" +
      (report.code == ExitCode::done ? "All pairs passed." : "<span class=\"failed\">Not passed.</span>") +
      "</p>\n";
  for (const PairProblem& problem : report.problems)
    page += "<p class=\"problem\">" + markupText(problem.sentence) + "</p>\n";
  page += "<table>\n" + headings(report.options);
  for (const PairResult& result : report.results)
    if (!result.problem) page += pairRow(result, report.options.metrics);
  return page + "</table>\n</body>\n</html>\n";
}

} // namespace batch
