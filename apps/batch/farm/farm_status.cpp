#include "farm_status.h"

#include <algorithm>
#include <cstdio>
#include <map>

#include <nlohmann/json.hpp>

#include "command_run.h"
#include "farm_finish.h"
#include "messages.h"

namespace batch {

using host::farm::FarmJob;
using host::farm::JobFolder;

namespace {

constexpr std::size_t mostSlowest = 5, mostLines = 20;

std::string counted(int count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// Times and memory of the finished units.
void addTimes(FarmJobState& state, const host::farm::UnitStates& states, const std::vector<int>& done) {
  double sum = 0;
  for (const int unit : done) {
    const host::farm::DoneUnit how = states.doneUnit(unit);
    sum += how.seconds;
    state.memory = std::max(state.memory, how.memory);
    state.slowest.emplace_back(unit, how.seconds);
  }
  std::sort(state.slowest.begin(), state.slowest.end(), [](const auto& a, const auto& b) {
    return a.second != b.second ? a.second > b.second : a.first < b.first;
  });
  state.slowest.resize(std::min(mostSlowest, state.slowest.size()));
  if (!done.empty()) state.seconds = sum / static_cast<double>(done.size());
  const int left = state.units - state.done - state.failed;
  if (state.seconds > 0 && state.runningTasks > 0 && left > 0)
    state.secondsLeft = state.seconds * left / state.runningTasks;
}

/// Memory and ends of tasks. Many clusters keep no accounts: the job's files then say what they know.
void addAccounts(FarmJobState& state, const JobFolder& folder, const FarmJob& job,
                 const std::set<int>& missing) {
  constexpr int patienceSeconds = 10;
  std::map<std::string, host::farm::Submission> arrays;
  std::vector<std::string> jobs;
  for (int number = 1; number <= folder.lastSubmission(); ++number)
    if (auto sent = folder.readSubmission(number, job); sent && !sent->array.empty())
      jobs.push_back(sent->array), arrays.emplace(sent->array, std::move(*sent));
  if (jobs.empty()) return;
  const auto output = host::farm::runCommand(host::farm::sacctArguments(jobs), patienceSeconds);
  state.accounting = output.worked();
  if (!state.accounting) return;
  std::map<int, EndedUnit> last; // later submissions have precedence
  const auto accounts = host::farm::sacctTasks(output.out);
  for (const std::string& array : jobs) {
    const auto found = accounts.find(array);
    if (found == accounts.end()) continue;
    const auto& tasks = arrays.at(array).tasks;
    for (const host::farm::EndedTask& task : found->second) {
      state.memory = std::max(state.memory, task.memory);
      if (task.index < 0 || static_cast<std::size_t>(task.index) >= tasks.size()) continue;
      const std::string reason = host::farm::whyEnded(task);
      for (const int unit : tasks[static_cast<std::size_t>(task.index)]) {
        last.erase(unit);
        if (!reason.empty() && missing.contains(unit))
          last[unit] = {unit, array + "_" + std::to_string(task.index), reason, task.seconds};
      }
    }
  }
  for (auto& [unit, ended] : last)
    state.ended.push_back(std::move(ended));
}

} // namespace

const char* FarmJobState::word() const {
  if (finished) return "done";
  if (runningTasks > 0 || (!slurm && running > 0)) return "running";
  if (waitingTasks > 0) return "waiting";
  return failed > 0 ? "failed" : "stopped";
}

LiveTasks liveTasks(const JobFolder& folder, const FarmJob& job) {
  LiveTasks live;
  std::vector<host::farm::Submission> submissions;
  for (int number = folder.lastSubmission(); number > 0; --number)
    if (auto sent = folder.readSubmission(number, job)) submissions.push_back(std::move(*sent));
  std::vector<std::string> jobs;
  for (const auto& sent : submissions)
    for (const std::string& id : {sent.array, sent.closing})
      if (!id.empty()) jobs.push_back(id);
  live.known = jobs.empty(); // nothing was handed over
  if (jobs.empty()) return live;
  const auto output = host::farm::runCommand(host::farm::squeueArguments(jobs));
  // Jobs that ended a while ago are unknown to Slurm; the only job of a list is then an error.
  const bool forgotten = output.err.find("Invalid job id") != std::string::npos;
  live.known = output.problem.empty() && (output.code == 0 || forgotten);
  for (const auto& [id, tasks] : host::farm::squeueTasks(output.out)) {
    const auto sent = std::find_if(submissions.begin(), submissions.end(),
                                   [&number = id](const auto& one) { return one.array == number; });
    live.jobs.insert(id);
    for (const host::farm::SlurmTask& task : tasks) {
      const bool waits = task.state == "PENDING" || task.state == "REQUEUED" || task.state == "SUSPENDED";
      ++(waits ? live.waiting : live.running);
      if (waits && std::find(live.reasons.begin(), live.reasons.end(), task.reason) == live.reasons.end())
        live.reasons.push_back(task.reason);
      if (sent == submissions.end() || task.index < 0 ||
          static_cast<std::size_t>(task.index) >= sent->tasks.size())
        continue;
      const std::vector<int>& units = sent->tasks[static_cast<std::size_t>(task.index)];
      live.units.insert(units.begin(), units.end());
    }
  }
  return live;
}

FarmJobState stateOf(const JobFolder& folder, const FarmJob& job) {
  FarmJobState state;
  state.units = job.unitCount();
  // Slurm first: what its tasks wrote before they ended is then in the files.
  const LiveTasks live = liveTasks(folder, job);
  state.finished = isFinished(folder);
  state.slurm = live.known;
  state.runningTasks = live.running, state.waitingTasks = live.waiting;
  state.waiting = live.reasons;
  const host::farm::UnitStates states = folder.states();
  std::vector<int> done;
  for (const auto& [unit, report] : states.scan()) {
    if (unit < 0 || unit >= state.units) continue;
    if (report.done) {
      done.push_back(unit);
      continue;
    }
    if (report.failures > 0) state.failures.push_back(unit);
    if (report.gaveUp()) ++state.failed;
    // A claim whose task has ended is a killed program's.
    else if (report.claimed && (!live.known || live.units.contains(unit)))
      ++state.running;
  }
  state.done = static_cast<int>(done.size());
  std::set<int> missing;
  for (int unit = 0; unit < state.units; ++unit)
    if (!live.units.contains(unit)) missing.insert(unit);
  for (const int unit : done)
    missing.erase(unit);
  addTimes(state, states, done);
  addAccounts(state, folder, job, missing);
  return state;
}

std::string jsonOf(const FarmJobState& state, const JobFolder& folder, const FarmJob& job) {
  using Json = nlohmann::ordered_json;
  Json slowest = Json::array(), failures = Json::array(), ended = Json::array();
  for (const auto& [unit, seconds] : state.slowest)
    slowest.push_back({{"number", job.numberOf(unit)}, {"seconds", seconds}});
  for (const int unit : state.failures)
    failures.push_back({{"number", job.numberOf(unit)},
                        {"attempts", folder.states().failures(unit)},
                        {"reason", folder.states().lastReason(unit)}});
  for (const EndedUnit& one : state.ended)
    ended.push_back({{"number", job.numberOf(one.unit)},
                     {"task", one.task},
                     {"reason", one.reason},
                     {"seconds", one.seconds}});
  Json json = {{"folder", folder.path()},
               {"scene", job.scene},
               {"output", job.output},
               {"submitted", job.created},
               {"state", state.word()},
               {"units", state.units},
               {"done", state.done},
               {"running", state.running},
               {"failed", state.failed},
               {"slurm_answers", state.slurm},
               {"tasks_running", state.runningTasks},
               {"tasks_waiting", state.waitingTasks},
               {"waiting_for", state.waiting},
               {"seconds_a_unit", state.seconds},
               {"seconds_left", nullptr},
               {"memory_bytes", state.memory},
               {"accounting_answers", state.accounting},
               {"ended", ended},
               {"slowest", slowest},
               {"failures", failures}};
  if (state.secondsLeft) json["seconds_left"] = *state.secondsLeft;
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

namespace {

/// Failures, and ends of tasks that the job's files do not know.
std::string reasonsOf(const FarmJobState& state, const JobFolder& folder, const FarmJob& job) {
  std::string text;
  std::size_t lines = 0;
  for (const int one : state.failures) {
    if (++lines > mostLines)
      return text + "  and " + std::to_string(state.failures.size() - mostLines) + " more\n";
    text += "  " + job.nameOf(one) + " failed " + std::to_string(folder.states().failures(one)) +
            " times: " + folder.states().lastReason(one) + "\n";
  }
  lines = 0;
  for (const EndedUnit& one : state.ended) {
    if (++lines > mostLines)
      return text + "  and " + std::to_string(state.ended.size() - mostLines) + " more\n";
    text += "  " + job.nameOf(one.unit) + ": its task " + one.task + " " + one.reason + " after " +
            durationText(static_cast<std::int64_t>(one.seconds + 0.5)) + "\n";
  }
  return text;
}

} // namespace

std::string linesOf(const FarmJobState& state, const JobFolder& folder, const FarmJob& job) {
  const char* unit = job.unitWord();
  std::string text = job.output + ": " + state.word() + "\n";
  text += "  " + counted(state.done, unit) + " of " + std::to_string(state.units) + " done, " +
          std::to_string(state.running) + " running, " + std::to_string(state.failed) + " failed\n";
  if (!state.slurm)
    text += "  Slurm does not answer here; the numbers are those of the job's files\n";
  else if (state.runningTasks + state.waitingTasks > 0)
    text += "  " + counted(state.runningTasks, "task") + " running, " + std::to_string(state.waitingTasks) +
            " waiting" + (state.waiting.empty() ? "" : " (" + listOf(state.waiting) + ")") + "\n";
  if (state.secondsLeft)
    text += "  about " + durationText(static_cast<std::int64_t>(*state.secondsLeft + 0.5)) + " left\n";
  char number[64];
  for (const auto& [one, seconds] : state.slowest) {
    std::snprintf(number, sizeof number, " took %.2f s\n", seconds);
    text += (one == state.slowest.front().first ? "  slowest: " : "           ") + job.nameOf(one) + number;
  }
  if (state.memory > 0) text += "  memory of a task: at most " + std::to_string(state.memory >> 20) + " MB\n";
  return text + reasonsOf(state, folder, job);
}

} // namespace batch
