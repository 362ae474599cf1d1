#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "commands.h"
#include "content_hash.h"
#include "farm_finish.h"
#include "frame_join.h"
#include "interrupt.h"
#include "job_folder.h"
#include "patience.h"
#include "read_file.h"
#include "unit_run.h"

namespace batch {
namespace {

using host::farm::FarmJob;
using host::farm::JobFolder;

/// Shared file systems show a file of another machine some time after it was written.
constexpr int patienceSeconds = 60;

host::farm::Patience patience() {
  host::farm::Patience patience;
  patience.seconds = patienceSeconds, patience.stopped = interrupted;
  return patience;
}

FarmJob openJob(const JobFolder& folder) {
  if (auto job = host::farm::lookPatiently(patience(), [&] { return folder.readJob(); })) return *job;
  throw Stop(ExitCode::sceneUnreadable, folder.path() +
                                            " is not the folder of a job, or this machine does not see "
                                            "it; use a file system that all machines share");
}

/// The whole scene is there, as it was packed.
bool isWhole(const JobFolder& folder, const FarmJob& job) {
  const host::FileContent content = host::readFile(Filename(String(folder.sceneFile(job))), job.bytes);
  return content.fault == host::ReadFault::none && content.bytes.size() == job.bytes &&
         host::hashOf(content.bytes).text() == job.content;
}

int taskNumber(const FarmWorkOptions& options, std::size_t count) {
  int task = options.task;
  const char* given = std::getenv("SLURM_ARRAY_TASK_ID");
  if (task < 0 && given) task = std::atoi(given);
  if (task < 0 && count == 1) task = 0;
  if (task >= 0 && static_cast<std::size_t>(task) < count) return task;
  throw Stop(ExitCode::wrongUse,
             "this task does not belong to the job; write --task N, 0 to " + std::to_string(count - 1));
}

/// The units that are claimed for this program now: neither done nor given up, nor another program's.
std::vector<int> claimed(const host::farm::UnitStates& states, const std::vector<int>& units,
                         const Granted& granted, const std::set<int>& failed) {
  std::vector<int> mine;
  for (const int unit : units) {
    if (interrupted()) break;
    if (failed.contains(unit) || states.isDone(unit) || states.failures(unit) >= host::farm::mostAttempts)
      continue;
    if (!states.claim(unit, granted.me)) continue;
    // It may have been finished, or have failed once too often, just before.
    if (states.isDone(unit) || states.failures(unit) >= host::farm::mostAttempts)
      states.release(unit, granted.me);
    else
      mine.push_back(unit);
  }
  return mine;
}

/// The longest start of the list whose units have one distance; parts and tiles stand alone.
std::vector<int> nextRun(const FarmJob& job, const std::vector<int>& units) {
  if (job.isStill() || job.splitsFrames()) return {units.front()};
  std::size_t count = std::min<std::size_t>(2, units.size());
  while (count < units.size() && units[count] - units[count - 1] == units[1] - units[0])
    ++count;
  return {units.begin(), units.begin() + static_cast<std::ptrdiff_t>(count)};
}

void doUnits(const JobFolder& folder, const FarmJob& job, const std::vector<int>& units,
             const Granted& granted) {
  const host::farm::UnitStates states = folder.states();
  UnitRun run(folder, job, granted);
  // A unit that fails waits until the others are done.
  for (int round = 0; round < host::farm::mostAttempts && !interrupted(); ++round) {
    std::set<int> failed;
    while (!interrupted()) {
      const std::vector<int> mine = claimed(states, units, granted, failed);
      if (mine.empty()) break;
      const std::vector<int> next = nextRun(job, mine);
      run.render(next);
      if (job.splitsFrames() && !interrupted())
        FrameJoin(folder, job, granted).joinReady(job.frameIndexOf(next[0]));
      failed.insert(run.failed().begin(), run.failed().end());
      for (const int unit : mine)
        states.release(unit, granted.me);
    }
    if (failed.empty()) break;
  }
}

ExitCode judge(const FarmJob& job, const host::farm::UnitStates& states, const std::vector<int>& units) {
  int open = 0;
  for (const int unit : units) {
    if (states.isDone(unit)) continue;
    ++open;
    const std::string reason = states.lastReason(unit);
    std::fprintf(stderr, "lumenara: %s is not done%s%s\n", job.nameOf(unit).c_str(),
                 reason.empty() ? "" : ": ", reason.c_str());
  }
  if (interrupted()) return ExitCode::cancelled;
  return open == 0 ? ExitCode::done : ExitCode::renderFailed;
}

} // namespace

ExitCode runFarmWork(const FarmWorkOptions& options) {
  std::error_code failed;
  const JobFolder folder(std::filesystem::absolute(options.folder, failed).lexically_normal().string());
  const FarmJob job = openJob(folder);
  if (options.closing) return finishJob(folder, job);
  const auto submission = host::farm::lookPatiently(patience(), [&] {
    return folder.readSubmission(options.submission > 0 ? options.submission : folder.lastSubmission(), job);
  });
  if (!submission)
    throw Stop(ExitCode::sceneUnreadable, folder.path() + " has no such submission; submit the job again");
  const int task = taskNumber(options, submission->tasks.size());
  const bool whole = host::farm::lookPatiently(patience(), [&] { return isWhole(folder, job); });
  if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled before the first unit");
  if (!whole)
    throw Stop(ExitCode::sceneUnreadable, "the packed scene " + folder.sceneFile(job) +
                                              " is missing or damaged; submit the job into another folder");
  const std::vector<int>& units = submission->tasks[static_cast<std::size_t>(task)];
  doUnits(folder, job, units, grantedHere());
  return judge(job, folder.states(), units);
}

} // namespace batch
