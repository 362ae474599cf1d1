// The reports of `compare --metric`.
#pragma once

#include <string>
#include <vector>

#include "command_line.h"
#include "pair_result.h"

namespace batch {

/// All that was found, in the order of the pairs' names.
struct CompareReport {
  const MeasureOptions& options;
  std::vector<PairResult> results;
  std::vector<PairProblem> problems; // pictures without a partner among them
  ExitCode code = ExitCode::done;
};

/// One JSON object; docs/batch.md lists its fields.
std::string reportJson(const CompareReport& report);

/// A web page in one file: a table with thumbnails and heat maps, failed pairs marked.
std::string reportPage(const CompareReport& report);

} // namespace batch
