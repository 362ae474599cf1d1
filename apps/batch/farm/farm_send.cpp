#include "farm_send.h"

#include <filesystem>

#include "command_run.h"
#include "exit_code.h"
#include "output_file.h"

namespace batch {

using host::farm::FarmJob;
using host::farm::JobFolder;
using host::farm::SlurmScript;
using host::farm::Submission;

namespace {

std::string baseOf(const JobFolder& folder, int submission) {
  return folder / ("submissions/" + std::to_string(submission));
}

SlurmScript script(const JobFolder& folder, const FarmJob& job) {
  SlurmScript made;
  made.name = "lumenara " + std::filesystem::path(job.output).filename().string();
  made.folder = folder.path();
  made.wishes = job.wishes;
  return made;
}

/// Slurm's number of the job.
std::string submit(const std::vector<std::string>& arguments) {
  const host::farm::CommandOutput output = host::farm::runCommand(arguments);
  if (!output.problem.empty())
    throw Stop(ExitCode::renderFailed, "the job cannot be submitted: " + output.problem +
                                           "; install Slurm's programs (slurm-client), or "
                                           "submit from a machine that has them");
  if (!output.worked()) throw Stop(ExitCode::renderFailed, "Slurm refused the job: " + output.why());
  if (const auto job = host::farm::submittedJob(output.out)) return *job;
  throw Stop(ExitCode::renderFailed,
             "sbatch printed no number of a job: " + host::farm::lastLine(output.out));
}

} // namespace

SlurmScript taskScript(const JobFolder& folder, const FarmJob& job, int submission, int tasks) {
  SlurmScript made = script(folder, job);
  made.tasks = tasks;
  made.log = folder / ("log/" + std::to_string(submission) + "-%a.txt");
  made.arguments = {job.program, "farm", "work", folder.path(), "--submission=" + std::to_string(submission)};
  return made;
}

SlurmScript closingScript(const JobFolder& folder, const FarmJob& job, int submission) {
  SlurmScript made = script(folder, job);
  made.log = folder / ("log/" + std::to_string(submission) + "-closing.txt");
  made.arguments = {job.program, "farm", "finish", folder.path()};
  return made;
}

SentJobs sendJobs(const JobFolder& folder, const FarmJob& job, const FarmTasks& tasks) {
  Submission submission{tasks, {}, {}, {}};
  std::string error;
  SentJobs sent;
  sent.submission = folder.addSubmission(submission, error);
  if (sent.submission == 0) throw Stop(ExitCode::outputNotWritable, error);
  const std::string base = baseOf(folder, sent.submission);
  const auto write = [](const std::string& file, const SlurmScript& script) {
    writeText(Filename(String(file)), host::farm::textOf(script), "the script");
  };
  write(base + ".sh", taskScript(folder, job, sent.submission, static_cast<int>(tasks.size())));
  write(base + "-closing.sh", closingScript(folder, job, sent.submission));
  const auto note = [&] {
    submission.array = sent.array, submission.closing = sent.closing;
    if (!folder.writeSubmission(sent.submission, submission, error))
      throw Stop(ExitCode::outputNotWritable, error);
  };
  std::vector<std::string> closing{"sbatch", "--parsable"};
  if (!tasks.empty()) {
    sent.array = submit({"sbatch", "--parsable", base + ".sh"});
    note();
    // It also tells what is missing after failures.
    closing.push_back("--dependency=afterany:" + sent.array);
  }
  closing.push_back(base + "-closing.sh");
  sent.closing = submit(closing);
  note();
  return sent;
}

} // namespace batch
