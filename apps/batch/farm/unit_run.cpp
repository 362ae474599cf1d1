#include "unit_run.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>
#include <thread>

#include "command_run.h"
#include "frame_files.h"
#include "interrupt.h"
#include "platform.h"
#include "read_file.h"

namespace batch {

using host::farm::FarmJob;
using host::farm::JobFolder;
using host::farm::JobKind;

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t mostLogBytes = 1 << 20;
constexpr double settleSeconds = 1; // a picture of this age is not taken back any more

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

std::uint64_t numberOf(const std::string& text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

/// Seconds since the file was written; nothing when it is not there.
std::optional<double> ageOf(const std::string& file) {
  std::error_code failed;
  const auto written = fs::last_write_time(file, failed);
  if (failed) return std::nullopt;
  return std::chrono::duration<double>(fs::file_time_type::clock::now() - written).count();
}

} // namespace

Granted grantedHere() {
  constexpr std::uint64_t mostCpus = 1024, mega = 1 << 20;
  Granted granted;
  std::uint64_t cpus = numberOf(variable("SLURM_CPUS_PER_TASK"));
  if (cpus == 0) cpus = numberOf(variable("SLURM_CPUS_ON_NODE"));
  granted.threads = static_cast<int>(std::min(cpus, mostCpus));
  granted.memory = numberOf(variable("SLURM_MEM_PER_NODE")) * mega;
  if (granted.memory == 0)
    granted.memory = numberOf(variable("SLURM_MEM_PER_CPU")) * std::max<std::uint64_t>(1, cpus) * mega;
  granted.me.word = host::farm::uniqueWord();
  granted.me.host = host::platform::machineName();
  granted.me.process = host::platform::processNumber();
  const std::string array = variable("SLURM_ARRAY_JOB_ID"), task = variable("SLURM_ARRAY_TASK_ID");
  if (!array.empty() && !task.empty()) granted.me.task = array + "_" + task;
  granted.me.restart = static_cast<int>(numberOf(variable("SLURM_RESTART_COUNT")));
  return granted;
}

UnitRun::UnitRun(const JobFolder& folder, const FarmJob& job, const Granted& granted)
    : folder_(folder), job_(job), granted_(granted), states_(folder.states()),
      place_(folder / ("work/" + granted.me.word)) {
  std::error_code ignored;
  fs::create_directories(place_, ignored);
  // Programs write their settings when they end: each has a copy.
  fs::copy(folder / "home", place_ + "/home", fs::copy_options::recursive, ignored);
  fs::permissions(place_ + "/home", fs::perms::owner_all, ignored);
}

UnitRun::~UnitRun() {
  std::error_code ignored;
  fs::remove_all(place_, ignored);
}

std::string UnitRun::workFile(int unit) const {
  if (job_.isStill() || job_.splitsFrames()) return place_ + "/part.exr";
  const std::string base = job_.kind == JobKind::movie ? "f.tif" : fs::path(job_.output).filename().string();
  return place_ + "/" + JobFolder::frameName(base, job_.numberOf(unit));
}

std::vector<std::string> UnitRun::arguments(const std::vector<int>& units) const {
  const std::string scene = folder_.sceneFile(job_);
  const std::string program = host::platform::programPath().GetString().GetUTF8();
  std::vector<std::string> list;
  if (job_.isStill()) {
    const std::string number = std::to_string(job_.numberOf(units.front())) + "/";
    list = {program,
            "render",
            scene,
            "-o",
            workFile(units.front()),
            job_.kind == JobKind::parts
                ? "--part=" + number + std::to_string(job_.parts)
                : "--tile=" + number + std::to_string(job_.columns) + "x" + std::to_string(job_.rows)};
  } else if (job_.splitsFrames()) {
    const int unit = units.front();
    list = {program,
            "render",
            scene,
            "-o",
            workFile(unit),
            "--frame=" + std::to_string(job_.numberOf(unit)),
            "--part=" + std::to_string(job_.partOf(unit)) + "/" + std::to_string(job_.parts)};
  } else {
    std::vector<LONG> frames;
    for (const int unit : units)
      frames.push_back(job_.numberOf(unit));
    const std::string base =
        job_.kind == JobKind::movie ? "f.tif" : fs::path(job_.output).filename().string();
    list = {program, "animate", scene, "-o", place_ + "/" + base, "--frames=" + textOf(joinFrames(frames))};
    if (job_.kind == JobKind::pictures && job_.format != hostPictures)
      list.push_back("--format=" + std::to_string(job_.format));
  }
  list.insert(list.end(), {"--home", place_ + "/home", "--quiet"});
  if (granted_.threads > 0) list.push_back("--threads=" + std::to_string(granted_.threads));
  list.insert(list.end(), job_.options.begin(), job_.options.end());
  return list;
}

std::string UnitRun::reasonOf(int code) const {
  const host::FileContent log = host::readFile(Filename(String(place_ + "/errors")), mostLogBytes);
  const std::string line = host::farm::lastLine(std::string(log.text()));
  if (code > 128) {
    const std::string signal = "its program was ended by signal " + std::to_string(code - 128);
    return code == 128 + 9 ? signal + ", perhaps for want of memory" : signal;
  }
  return line.empty() ? "its program ended with code " + std::to_string(code) : line;
}

void UnitRun::fail(int unit, const std::string& reason) {
  settled_.insert(unit), failed_.insert(unit);
  const int count = states_.addFailure(unit, reason);
  std::fprintf(stderr, "%s failed (%d of %d): %s\n", job_.nameOf(unit).c_str(), count,
               host::farm::mostAttempts, reason.c_str());
  states_.release(unit, granted_.me);
}

void UnitRun::publish(int unit) {
  settled_.insert(unit);
  if (!states_.holds(unit, granted_.me)) return; // another program has taken it over
  std::string error;
  // By the files' times: pictures may be put in their places long after they were written.
  std::error_code failed;
  const auto end = fs::last_write_time(workFile(unit), failed);
  const double seconds = failed ? 0 : std::max(0.0, std::chrono::duration<double>(end - since_).count());
  if (!host::farm::publishFile(workFile(unit), folder_.unitFile(job_, unit), error) ||
      !states_.setDone(unit, {seconds, memory_, granted_.me.host}, error))
    return fail(unit, error);
  if (!failed) since_ = end;
  states_.release(unit, granted_.me);
  std::printf("%s is done\n", job_.nameOf(unit).c_str());
  std::fflush(stdout);
}

// A picture is whole when it has its name, but a program that fails takes its last one back. So the newest
// one waits until the program has gone on for a while, or has ended.
void UnitRun::publishFinished(const std::vector<int>& units, bool ended, bool killed) {
  for (std::size_t i = 0; i < units.size(); ++i) {
    if (settled_.contains(units[i])) continue;
    const auto age = ageOf(workFile(units[i]));
    if (!age) return;
    const bool followed = i + 1 < units.size() && ageOf(workFile(units[i + 1])).has_value();
    const bool safe = ended ? !killed || followed : followed && *age >= settleSeconds;
    if (!safe) return;
    publish(units[i]);
  }
}

void UnitRun::render(const std::vector<int>& units) {
  settled_.clear(), failed_.clear();
  since_ = fs::file_time_type::clock::now();
  std::error_code ignored;
  fs::remove(place_ + "/errors", ignored);
  fs::remove(workFile(units.front()), ignored);
  const Filename errors(String(place_ + "/errors"));
  host::platform::ChildProgram child(arguments(units), errors, errors, granted_.memory);
  if (!child.error().empty()) return fail(units.front(), "its program cannot be started: " + child.error());
  std::optional<int> code;
  bool asked = false;
  for (std::size_t current = 0; !(code = child.ended());) {
    while (current < units.size() && (settled_.contains(units[current]) || ageOf(workFile(units[current]))))
      ++current;
    if (current < units.size()) states_.begin(units[current], granted_.me);
    memory_ = std::max(memory_, child.peakMemory());
    publishFinished(units, false, false);
    if (interrupted() && !asked) child.ask(), asked = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  publishFinished(units, true, *code > 128);
  if (asked) return;
  for (const int unit : units) {
    if (settled_.contains(unit)) continue;
    // The first one is the one that the program could not finish; the others were not begun.
    return fail(unit, reasonOf(*code));
  }
}

} // namespace batch
