// Handing the units of a job to Slurm.
#pragma once

#include <string>
#include <vector>

#include "job_folder.h"
#include "slurm.h"

namespace batch {

/// The units of each task of an array.
using FarmTasks = std::vector<std::vector<int>>;

struct SentJobs {
  int submission = 0;
  std::string array, closing; // numbers of Slurm
};

/// The scripts of the tasks and of the job that joins the units.
host::farm::SlurmScript taskScript(const host::farm::JobFolder& folder, const host::farm::FarmJob& job,
                                   int submission, int tasks);
host::farm::SlurmScript closingScript(const host::farm::JobFolder& folder, const host::farm::FarmJob& job,
                                      int submission);

/// Writes the submission and its scripts, and calls `sbatch` for each; without tasks only the closing job is
/// submitted. Throws `Stop`.
SentJobs sendJobs(const host::farm::JobFolder& folder, const host::farm::FarmJob& job,
                  const FarmTasks& tasks);

} // namespace batch
