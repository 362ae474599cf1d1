#include "frame_join.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <thread>

#include "command_run.h"
#include "interrupt.h"
#include "platform.h"
#include "read_file.h"

namespace batch {

namespace fs = std::filesystem;
using host::farm::FarmJob;
using host::farm::JobFolder;

FrameJoin::FrameJoin(const JobFolder& folder, const FarmJob& job, const Granted& granted)
    : folder_(folder), job_(job), granted_(granted), states_(folder.states()) {
}

bool FrameJoin::isJoined(int index) const {
  return states_.isDone(JobFolder::joinUnit(job_, index));
}

bool FrameJoin::partsDone(int index) const {
  for (int part = 0; part < job_.parts; ++part)
    if (!states_.isDone(index * job_.parts + part)) return false;
  return true;
}

void FrameJoin::joinReady(int index) const {
  const int unit = JobFolder::joinUnit(job_, index);
  if (isJoined(index) || !partsDone(index) || !states_.claim(unit, granted_.me)) return;
  const std::string problem = isJoined(index) ? std::string() : join(index);
  if (!problem.empty()) {
    states_.addFailure(unit, problem);
    std::fprintf(stderr, "frame %d was not joined: %s\n", static_cast<int>(job_.frameAt(index)),
                 problem.c_str());
  }
  states_.release(unit, granted_.me);
}

std::vector<std::string> FrameJoin::arguments(int index, const std::string& picture,
                                              const std::string& home) const {
  std::vector<std::string> list{host::platform::programPath().GetString().GetUTF8(),
                                "merge",
                                "-o",
                                picture,
                                "--scene",
                                folder_.sceneFile(job_),
                                "--home",
                                home,
                                "--quiet"};
  if (granted_.threads > 0) list.push_back("--threads=" + std::to_string(granted_.threads));
  list.insert(list.end(), job_.closing.begin(), job_.closing.end());
  for (int part = 0; part < job_.parts; ++part)
    list.push_back(folder_.unitFile(job_, index * job_.parts + part));
  return list;
}

// By a program of its own, which may crash or run out of memory.
std::string FrameJoin::mergeParts(int index) const {
  constexpr std::uintmax_t mostLogBytes = 1 << 20;
  const std::string place = folder_ / ("work/" + host::farm::uniqueWord());
  const std::string target = folder_.frameFile(job_, index);
  const std::string picture = place + "/joined" + fs::path(target).extension().string();
  std::error_code ignored;
  fs::create_directories(place + "/home", ignored);
  std::string problem;
  {
    const Filename errors(String(place + "/errors"));
    host::platform::ChildProgram child(arguments(index, picture, place + "/home"), errors, errors,
                                       granted_.memory);
    problem = child.error();
    std::optional<int> code;
    bool asked = false;
    while (problem.empty() && !(code = child.ended())) {
      if (interrupted() && !asked) child.ask(), asked = true;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    if (problem.empty() && *code != 0) {
      const host::FileContent log = host::readFile(errors, mostLogBytes);
      problem = host::farm::lastLine(std::string(log.text()));
      if (problem.empty()) problem = "its program ended with code " + std::to_string(*code);
    }
  }
  if (problem.empty()) host::farm::publishFile(picture, target, problem);
  fs::remove_all(place, ignored);
  return problem;
}

std::string FrameJoin::join(int index) const {
  std::string problem = mergeParts(index);
  if (problem.empty()) states_.setDone(JobFolder::joinUnit(job_, index), {0, 0, granted_.me.host}, problem);
  if (!problem.empty()) return problem;
  // Films of samples are large.
  std::error_code ignored;
  for (int part = 0; part < job_.parts; ++part)
    fs::remove(folder_.unitFile(job_, index * job_.parts + part), ignored);
  return {};
}

void FrameJoin::forget(int index) const {
  const int unit = JobFolder::joinUnit(job_, index);
  states_.clearDone(unit), states_.clearFailures(unit), states_.breakClaim(unit);
  for (int part = 0; part < job_.parts; ++part)
    states_.clearDone(index * job_.parts + part);
}

} // namespace batch
