// The jobs that were submitted from a home: a small file for each, in its folder "farm".
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "farm_job.h"

namespace batch {

struct KnownJob {
  std::string folder;
  std::filesystem::file_time_type time; // of the submission
};

/// Notes a job. A failure leaves it out of the list, which is no harm to the job. Needs a running program.
void rememberJob(const host::farm::FarmJob& job, const std::string& folder);
/// Oldest first; jobs whose folder is gone are left out.
std::vector<KnownJob> knownJobs();
/// The folder of a job: `text` is a folder, a number of Slurm's jobs, or empty for the newest. Throws `Stop`
/// (wrong use).
std::string findJob(const std::string& text);

} // namespace batch
