// The end of a job: its units become the output.
#pragma once

#include "exit_code.h"
#include "job_folder.h"

namespace batch {

/// Joins the frames into the movie, merges the parts or tiles, or checks the pictures. Units that are missing
/// are named with their reasons, and nothing is joined. Throws `Stop`.
ExitCode finishJob(const host::farm::JobFolder& folder, const host::farm::FarmJob& job);

/// Whether the output was finished.
bool isFinished(const host::farm::JobFolder& folder);

/// The output is not complete any more: some of its pictures were lost.
void forgetFinish(const host::farm::JobFolder& folder);

} // namespace batch
