#include "slurm.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <sstream>

namespace host::farm {
namespace {

constexpr int mostTasks = 1'000'000;

bool isNumber(const std::string& text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c); });
}

std::optional<int> numberOf(const std::string& text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 0) return std::nullopt;
  return number;
}

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

/// Text of a comment line, which ends at a line break.
std::string oneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, ' ');
  return text;
}

/// sbatch reads a value up to a blank unless it stands in quotes, and knows no way to write a quote in them.
std::string directive(const std::string& option, const std::string& value) {
  return value.empty() ? std::string() : "#SBATCH --" + option + "=\"" + oneLine(value) + "\"\n";
}

} // namespace

std::string quoted(const std::string& text) {
  std::string word = "'";
  for (const char c : text)
    word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + "'";
}

std::string textOf(const SlurmScript& script) {
  std::string text = "#!/bin/sh\n";
  text += directive("job-name", script.name);
  if (script.tasks > 0) text += "#SBATCH --array=0-" + std::to_string(script.tasks - 1) + "\n";
  text += directive("output", script.log);
  text += directive("chdir", script.folder);
  // A task that is preempted, or whose node fails, starts again; its lines follow the earlier ones.
  text += "#SBATCH --ntasks=1\n#SBATCH --requeue\n#SBATCH --open-mode=append\n";
  text += directive("partition", script.wishes.partition);
  text += directive("account", script.wishes.account);
  text += directive("time", script.wishes.time);
  text += directive("mem", script.wishes.memory);
  if (script.wishes.cpus > 0) text += "#SBATCH --cpus-per-task=" + std::to_string(script.wishes.cpus) + "\n";
  for (const std::string& option : script.wishes.others)
    text += "#SBATCH " + oneLine(option) + "\n";
  // The shell becomes the program, so Slurm's signals reach it.
  text += "exec";
  for (const std::string& argument : script.arguments)
    text += " " + quoted(argument);
  return text + "\n";
}

std::optional<std::string> submittedJob(const std::string& printed) {
  // "17" or "17;cluster", after possible warnings on lines of their own.
  std::istringstream lines(printed);
  std::optional<std::string> found;
  for (std::string line; std::getline(lines, line);) {
    const std::string number = trimmed(line.substr(0, line.find(';')));
    if (isNumber(number)) found = number;
  }
  return found;
}

std::vector<std::string> squeueArguments(const std::vector<std::string>& jobs) {
  std::string list;
  for (const std::string& job : jobs)
    list += (list.empty() ? "" : ",") + job;
  return {"squeue", "--noheader", "--array", "--format=%i|%T|%r", "--jobs=" + list};
}

std::optional<std::vector<int>> taskIndices(const std::string& text) {
  std::string list = text;
  if (list.size() >= 2 && list.front() == '[' && list.back() == ']') list = list.substr(1, list.size() - 2);
  list = list.substr(0, list.find('%')); // the most that run at a time
  std::vector<int> indices;
  std::istringstream ranges(list);
  for (std::string range; std::getline(ranges, range, ',');) {
    const auto colon = range.find(':'), dash = range.find('-');
    const auto first = numberOf(range.substr(0, std::min(dash, colon)));
    auto last = first;
    std::optional<int> step = 1;
    if (dash != range.npos)
      last = numberOf(range.substr(dash + 1, colon == range.npos ? colon : colon - dash - 1));
    if (colon != range.npos) step = numberOf(range.substr(colon + 1));
    if (!first || !last || !step || *step < 1 || *last < *first) return std::nullopt;
    if ((*last - *first) / *step + static_cast<int>(indices.size()) >= mostTasks) return std::nullopt;
    for (int index = *first; index <= *last; index += *step)
      indices.push_back(index);
  }
  if (indices.empty()) return std::nullopt;
  return indices;
}

std::map<std::string, std::vector<SlurmTask>> squeueTasks(const std::string& printed) {
  std::map<std::string, std::vector<SlurmTask>> jobs;
  std::istringstream lines(printed);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string id, state, reason;
    if (!std::getline(fields, id, '|') || !std::getline(fields, state, '|')) continue;
    std::getline(fields, reason);
    id = trimmed(id), state = trimmed(state), reason = trimmed(reason);
    const auto below = id.find('_');
    const std::string job = id.substr(0, below);
    if (!isNumber(job) || state.empty()) continue;
    if (below == id.npos) {
      jobs[job].push_back({-1, state, reason});
      continue;
    }
    const auto indices = taskIndices(id.substr(below + 1));
    if (!indices) continue;
    for (const int index : *indices)
      jobs[job].push_back({index, state, reason});
  }
  return jobs;
}

std::vector<std::string> sacctArguments(const std::vector<std::string>& jobs) {
  std::string list;
  for (const std::string& job : jobs)
    list += (list.empty() ? "" : ",") + job;
  return {"sacct", "--noheader", "--parsable2", "--format=JobID,State,ElapsedRaw,MaxRSS", "--jobs=" + list};
}

namespace {

/// "812344K", "1.5G", "2048": bytes. 0 for another text.
std::uint64_t bytesOf(const std::string& text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || !(value >= 0) || value > 1e15) return 0;
  const std::string unit(end, text.data() + text.size());
  const std::string units = "KMGT";
  if (unit.empty()) return static_cast<std::uint64_t>(value);
  const auto power = units.find(unit.front());
  if (unit.size() > 1 || power == units.npos) return 0;
  const double bytes = std::ldexp(value, 10 * (static_cast<int>(power) + 1));
  return bytes < 1e18 ? static_cast<std::uint64_t>(bytes) : 0;
}

/// A line of `sacct`: the job, and the task or a step of it.
struct AccountLine {
  std::string job;
  EndedTask task;
  bool step = false;
};

std::optional<AccountLine> accountLine(const std::string& line) {
  std::istringstream fields(line);
  std::string id, state, seconds, memory;
  if (!std::getline(fields, id, '|') || !std::getline(fields, state, '|') ||
      !std::getline(fields, seconds, '|'))
    return std::nullopt;
  std::getline(fields, memory);
  AccountLine found;
  const auto dot = id.find('.');
  found.step = dot != id.npos;
  id = id.substr(0, dot);
  const auto below = id.find('_');
  found.job = id.substr(0, below);
  state = state.substr(0, state.find(' ')); // "CANCELLED by 0"
  if (!isNumber(found.job) || state.empty()) return std::nullopt;
  if (below != id.npos) {
    const auto index = numberOf(id.substr(below + 1)); // waiting tasks stand together
    if (!index) return std::nullopt;
    found.task.index = *index;
  }
  found.task.state = state;
  found.task.seconds = numberOf(seconds).value_or(0);
  found.task.memory = bytesOf(trimmed(memory));
  return found;
}

} // namespace

std::map<std::string, std::vector<EndedTask>> sacctTasks(const std::string& printed) {
  std::map<std::string, std::vector<EndedTask>> jobs;
  std::istringstream lines(printed);
  for (std::string line; std::getline(lines, line);) {
    const auto found = accountLine(line);
    if (!found) continue;
    std::vector<EndedTask>& tasks = jobs[found->job];
    const bool own = !tasks.empty() && tasks.back().index == found->task.index;
    if (found->step && own)
      tasks.back().memory = std::max(tasks.back().memory, found->task.memory);
    else if (!found->step)
      tasks.push_back(found->task);
  }
  for (auto& [job, tasks] : jobs)
    std::erase_if(tasks, [](const EndedTask& task) {
      for (const char* state : {"RUNNING", "PENDING", "REQUEUED", "RESIZING", "SUSPENDED", "COMPLETING"})
        if (task.state == state) return true;
      return false;
    });
  return jobs;
}

std::string whyEnded(const EndedTask& task) {
  if (task.state == "OUT_OF_MEMORY") return "ran out of memory (--memory)";
  if (task.state == "TIMEOUT") return "reached its time limit (--task-time)";
  if (task.state == "NODE_FAIL" || task.state == "BOOT_FAIL") return "lost its machine";
  if (task.state == "PREEMPTED") return "was preempted";
  if (task.state == "CANCELLED") return "was cancelled";
  if (task.state == "DEADLINE") return "passed its deadline";
  return {};
}

} // namespace host::farm
