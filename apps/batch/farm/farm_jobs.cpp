#include <chrono>
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <system_error>
#include <thread>

#include "command_run.h"
#include "commands.h"
#include "farm_answers.h"
#include "farm_finish.h"
#include "farm_registry.h"
#include "farm_send.h"
#include "farm_status.h"
#include "frame_join.h"
#include "interrupt.h"
#include "job_folder.h"
#include "picture_host.h"
#include "read_file.h"

namespace batch {
namespace {

namespace fs = std::filesystem;
using host::farm::FarmJob;
using host::farm::JobFolder;

constexpr std::uintmax_t mostLogBytes = 64 << 20;

FarmJob readJob(const JobFolder& folder) {
  if (auto job = folder.readJob()) return *job;
  throw Stop(ExitCode::sceneUnreadable,
             folder.path() + "/job.json cannot be read; submit the job again into another folder");
}

ExitCode showStatus(const FarmJobOptions& options, const JobFolder& folder, const FarmJob& job) {
  constexpr auto pause = std::chrono::seconds(2);
  while (true) {
    const FarmJobState state = stateOf(folder, job);
    std::fputs((options.json ? jsonOf(state, folder, job) : linesOf(state, folder, job)).c_str(), stdout);
    std::fflush(stdout);
    const std::string word = state.word();
    const bool ended = word != "running" && word != "waiting";
    if (!options.watch || ended) return state.failed > 0 && ended ? ExitCode::renderFailed : ExitCode::done;
    const auto next = std::chrono::steady_clock::now() + pause;
    while (std::chrono::steady_clock::now() < next) {
      if (interrupted()) return ExitCode::cancelled;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
}

ExitCode cancelJob(const JobFolder& folder, const FarmJob& job, Messages& messages) {
  const LiveTasks live = liveTasks(folder, job);
  if (!live.known) throw Stop(ExitCode::renderFailed, "Slurm does not answer; ask again, or use scancel");
  if (live.jobs.empty()) {
    messages.note("lumenara: no task of " + folder.path() + " is running or waiting");
    return ExitCode::done;
  }
  std::vector<std::string> arguments{"scancel"};
  arguments.insert(arguments.end(), live.jobs.begin(), live.jobs.end());
  const auto output = host::farm::runCommand(arguments);
  if (!output.worked()) throw Stop(ExitCode::renderFailed, "Slurm did not cancel the job: " + output.why());
  messages.note("lumenara: cancelled; what is done stays, and `lumenara farm retry` renders the rest");
  return ExitCode::done;
}

/// The units that nobody works on and that are not done; their states begin anew.
std::vector<int> takeMissing(const JobFolder& folder, const FarmJob& job, const LiveTasks& live) {
  const host::farm::UnitStates states = folder.states();
  const auto reports = states.scan();
  std::vector<int> missing;
  for (int unit = 0; unit < job.unitCount(); ++unit) {
    const auto found = reports.find(unit);
    std::error_code failed;
    if (found != reports.end() && found->second.done) {
      const bool joined = job.kind != host::farm::JobKind::pictures && isFinished(folder);
      if (joined || fs::exists(folder.unitFile(job, unit), failed)) continue;
      const FrameJoin frames(folder, job, {});
      if (job.splitsFrames() && frames.isJoined(job.frameIndexOf(unit))) {
        if (fs::exists(folder.frameFile(job, job.frameIndexOf(unit)), failed)) continue;
        // The other parts of the frame see that it is not joined, and their films are gone.
        states.clearDone(JobFolder::joinUnit(job, job.frameIndexOf(unit)));
      }
      states.clearDone(unit); // its picture was lost
    }
    if (live.units.contains(unit)) continue;
    states.clearFailures(unit);
    states.breakClaim(unit);
    missing.push_back(unit);
  }
  return missing;
}

ExitCode retryJob(const JobFolder& folder, const FarmJob& job, Messages& messages) {
  const LiveTasks live = liveTasks(folder, job);
  if (!live.known && folder.lastSubmission() > 0)
    throw Stop(ExitCode::renderFailed,
               "Slurm does not answer, so it is unknown which frames are being rendered; ask again");
  const std::vector<int> missing = takeMissing(folder, job, live);
  if (missing.empty() && (isFinished(folder) || !live.jobs.empty())) {
    messages.note("lumenara: " + job.output +
                  (isFinished(folder) ? " is complete" : " has no missing units to submit"));
    return ExitCode::done;
  }
  if (!missing.empty()) forgetFinish(folder);
  const SentJobs sent = sendJobs(folder, job, host::farm::planTasks(missing, job.chunk));
  std::printf("%s\n", sent.array.empty() ? sent.closing.c_str() : sent.array.c_str());
  messages.note("lumenara: " + std::to_string(missing.size()) + " of " + std::to_string(job.unitCount()) +
                " were submitted again");
  return ExitCode::done;
}

bool printLog(const std::string& file) {
  const host::FileContent content = host::readFile(Filename(String(file)), mostLogBytes);
  if (content.fault != host::ReadFault::none) return false;
  std::fwrite(content.bytes.data(), 1, content.bytes.size(), stdout);
  return true;
}

/// The logs of the tasks that had the unit, oldest first.
bool printLogs(const JobFolder& folder, const FarmJob& job, int unit) {
  bool any = false;
  for (int number = 1; number <= folder.lastSubmission(); ++number) {
    const auto sent = folder.readSubmission(number, job);
    for (std::size_t task = 0; sent && task < sent->tasks.size(); ++task)
      for (const int one : sent->tasks[task])
        if (one == unit)
          any = printLog(folder / ("log/" + std::to_string(number) + "-" + std::to_string(task) + ".txt")) ||
                any;
  }
  return any;
}

ExitCode showLog(const FarmJobOptions& options, const JobFolder& folder, const FarmJob& job) {
  if (options.frame.empty()) {
    for (const int unit : stateOf(folder, job).failures)
      std::printf("%s: %s\n", job.nameOf(unit).c_str(), folder.states().lastReason(unit).c_str());
    const std::string last = std::to_string(folder.lastSubmission());
    printLog(folder / ("log/" + last + "-closing.txt"));
    return ExitCode::done;
  }
  std::optional<int> unit;
  try {
    unit = job.unitOf(std::stoi(options.frame));
  } catch (const std::exception&) { // not a number, or none of a frame
  }
  if (!unit)
    throw Stop(ExitCode::wrongUse, options.frame + " does not belong to the job, which has " + job.nameOf(0) +
                                       " to " + job.nameOf(job.unitCount() - 1));
  if (printLogs(folder, job, *unit)) return ExitCode::done;
  throw Stop(ExitCode::sceneUnreadable, "the task of " + job.nameOf(*unit) + " has printed nothing yet");
}

ExitCode listJobs(bool asJson) {
  using Json = nlohmann::ordered_json;
  Json json = Json::array();
  for (const KnownJob& known : knownJobs()) {
    const JobFolder folder(known.folder);
    const auto job = folder.readJob();
    if (!job) {
      if (asJson)
        json.push_back({{"folder", known.folder}, {"problem", "job.json cannot be read"}});
      else
        std::printf("-\t-\t%s\t%s\n", host::farm::unreadableJob, known.folder.c_str());
      continue;
    }
    int done = 0;
    for (const auto& [unit, report] : folder.states().scan())
      done += report.done ? 1 : 0;
    const auto sent = folder.readSubmission(folder.lastSubmission(), *job);
    const std::string number = sent ? sent->array : "";
    const bool complete = isFinished(folder);
    if (asJson)
      json.push_back({{"number", number},
                      {"created", job->created},
                      {"done", done},
                      {"units", job->unitCount()},
                      {"complete", complete},
                      {"folder", known.folder}});
    else
      std::printf("%s\t%s\t%d of %d%s\t%s\n", number.empty() ? "-" : number.c_str(), job->created.c_str(),
                  done, job->unitCount(), complete ? ", complete" : "", known.folder.c_str());
  }
  if (asJson) std::printf("%s\n", json.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
  return ExitCode::done;
}

} // namespace

ExitCode runFarmJob(const FarmJobOptions& options) {
  PictureHost host(options.home, options.quiet);
  if (options.action == FarmAction::list) return listJobs(options.json);
  const JobFolder folder(findJob(options.job));
  const FarmJob job = readJob(folder);
  switch (options.action) {
  case FarmAction::cancel:
    return cancelJob(folder, job, host.messages());
  case FarmAction::retry:
    return retryJob(folder, job, host.messages());
  case FarmAction::log:
    return showLog(options, folder, job);
  default:
    return showStatus(options, folder, job);
  }
}

} // namespace batch
