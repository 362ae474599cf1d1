// Slurm's programs: what they are given, and what they print. Values only; any thread.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "farm_job.h"

namespace host::farm {

/// The script of an array: each task runs `program` with `arguments`. The name is shown by Slurm.
struct SlurmScript {
  std::string name, folder;           // of the job on the shared file system
  int tasks = 0;                      // of the array; 0: none, a single job
  std::string log;                    // a file, with Slurm's patterns
  std::vector<std::string> arguments; // the program first
  SlurmWishes wishes;
};
std::string textOf(const SlurmScript& script);

/// A word of a shell that stands for this text.
std::string quoted(const std::string& text);

/// The number that `sbatch --parsable` printed; nothing for another text.
std::optional<std::string> submittedJob(const std::string& printed);

/// A task as `squeue` or `sacct` tell it.
struct SlurmTask {
  int index = -1;    // in the array; -1: not an array's
  std::string state; // RUNNING, PENDING, COMPLETED ... in capitals
  std::string reason;
};

/// The arguments of `squeue` for these jobs, and its lines "17_4|RUNNING|None"; pending tasks stand together
/// as "17_[5-9,12]|PENDING|Resources". Lines that are none of these are left out.
std::vector<std::string> squeueArguments(const std::vector<std::string>& jobs);
std::map<std::string, std::vector<SlurmTask>> squeueTasks(const std::string& printed);

/// A task that has ended, by Slurm's accounting.
struct EndedTask {
  int index = -1;           // in the array; -1: not an array's
  std::string state;        // COMPLETED, FAILED, OUT_OF_MEMORY, TIMEOUT, NODE_FAIL, CANCELLED ...
  double seconds = 0;       // elapsed
  std::uint64_t memory = 0; // the most that it took, bytes; 0: unknown
};

/// The arguments of `sacct` for these jobs, and its lines "17_4|TIMEOUT|3600|" with those of their steps,
/// "17_4.batch|CANCELLED|3600|812344K", which know the memory. Tasks that still run or wait are left out.
std::vector<std::string> sacctArguments(const std::vector<std::string>& jobs);
std::map<std::string, std::vector<EndedTask>> sacctTasks(const std::string& printed);
/// A clause about an end that is not the task's own fault or success: "ran out of memory (--memory)"; empty
/// for others.
std::string whyEnded(const EndedTask& task);

/// The indices of "[0-3,7%2]" or "4". Nothing for another text, and for more than a million.
std::optional<std::vector<int>> taskIndices(const std::string& text);

} // namespace host::farm
