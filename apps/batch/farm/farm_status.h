// The state of a job, by Slurm and by the job's files.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "job_folder.h"
#include "slurm.h"

namespace batch {

/// Why a unit's last task ended before it, by Slurm's accounting.
struct EndedUnit {
  int unit = 0;
  std::string task;   // "17_4"
  std::string reason; // a clause
  double seconds = 0; // of the task
};

struct FarmJobState {
  int units = 0, done = 0, running = 0, failed = 0;
  bool finished = false;                       // the output is complete
  bool slurm = false;                          // it answered
  int runningTasks = 0, waitingTasks = 0;      // of all submissions, the closing job included
  std::vector<int> failures;                   // units that failed at least once and are not done
  std::vector<std::string> waiting;            // Slurm's reasons
  std::vector<std::pair<int, double>> slowest; // unit and seconds, at most five, the slowest first
  double seconds = 0;                          // of a unit in the mean; 0: unknown
  std::optional<double> secondsLeft;
  std::uint64_t memory = 0;     // the most that a unit took, bytes; 0: unknown
  bool accounting = false;      // Slurm's accounting answered
  std::vector<EndedUnit> ended; // units that are missing

  /// "done", "running", "waiting", "failed", "stopped".
  const char* word() const;
};

/// The tasks that Slurm still has, of all submissions.
struct LiveTasks {
  bool known = false;           // Slurm answered
  std::set<int> units;          // of tasks of arrays
  std::set<std::string> jobs;   // numbers
  int running = 0, waiting = 0; // tasks
  std::vector<std::string> reasons;
};
LiveTasks liveTasks(const host::farm::JobFolder& folder, const host::farm::FarmJob& job);

FarmJobState stateOf(const host::farm::JobFolder& folder, const host::farm::FarmJob& job);

std::string jsonOf(const FarmJobState& state, const host::farm::JobFolder& folder,
                   const host::farm::FarmJob& job);
/// Several lines for people.
std::string linesOf(const FarmJobState& state, const host::farm::JobFolder& folder,
                    const host::farm::FarmJob& job);

} // namespace batch
