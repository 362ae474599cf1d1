// The answers of `lumenara farm list`, of `farm status --json`, and of commands that fail. Values only; any
// thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "c4d_types.h"

namespace host::farm {

/// A frame or part that failed at least once and is not done.
struct FarmFailure {
  LONG number = 0;
  int attempts = 0;
  std::string reason;
};

struct FarmRow {
  std::string folder, scene, output, submitted;
  std::string state; // "done", "running", "waiting", "failed", "stopped"; empty: unknown
  int units = 0, done = 0, running = 0, failed = 0;
  int tasksRunning = 0, tasksWaiting = 0;
  bool slurm = false;                // it answered
  std::optional<double> secondsLeft; // until the job's end
  std::vector<std::string> waiting;  // Slurm's reasons
  std::vector<FarmFailure> failures;
  std::string problem; // why the state is unknown; a clause

  bool isLive() const { return state == "running" || state == "waiting"; }
};

/// In the place of the counts of a job whose file cannot be read.
inline constexpr char unreadableJob[] = "unreadable";

/// Nothing for a text that is no answer of `farm status --json`.
std::optional<FarmRow> farmRowOf(const std::string& json);

/// The rows of `farm list` as far as it tells: folder, time and counts, oldest first. Other lines are left
/// out.
std::vector<FarmRow> listedRows(const std::string& printed);

/// A failed command's error as a sentence in the words of a window: its options are named as the dialog names
/// them.
std::string sentenceOf(const std::string& error);

} // namespace host::farm
