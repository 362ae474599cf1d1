#include "farm_finish.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "atomic_file.h"
#include "c4d_bitmap.h"
#include "commands.h"
#include "failures.h"
#include "frame_files.h"
#include "frame_join.h"
#include "interrupt.h"
#include "lm_keys.h"
#include "lm_thread.h"
#include "movie_options.h"
#include "patience.h"
#include "platform.h"
#include "plugin_host.h"
#include "run_settings.h"
#include "unit_run.h"

namespace batch {
namespace {

namespace fs = std::filesystem;
using host::farm::FarmJob;
using host::farm::JobFolder;
using host::farm::JobKind;

constexpr int patienceSeconds = 10; // for a file system that is slow to show files

std::vector<int> openUnits(const JobFolder& folder, const FarmJob& job) {
  const auto states = folder.states().scan();
  std::vector<int> open;
  for (int unit = 0; unit < job.unitCount(); ++unit) {
    const auto found = states.find(unit);
    if (found == states.end() || !found->second.done) open.push_back(unit);
  }
  return open;
}

/// The units whose tasks have ended without them.
std::vector<int> missingUnits(const JobFolder& folder, const FarmJob& job) {
  std::vector<int> open;
  host::farm::Patience patience;
  patience.seconds = patienceSeconds, patience.stopped = interrupted;
  host::farm::lookPatiently(patience, [&] {
    open = openUnits(folder, job);
    return open.empty();
  });
  return open;
}

/// One line for each of them.
ExitCode nameMissing(const JobFolder& folder, const FarmJob& job, const std::vector<int>& units) {
  for (const int unit : units) {
    const std::string reason = folder.states().lastReason(unit);
    std::fprintf(stderr, "lumenara: %s is missing: %s\n", job.nameOf(unit).c_str(),
                 reason.empty() ? "its task ended before it" : reason.c_str());
  }
  std::fprintf(stderr, "lumenara: %s is not complete; `lumenara farm retry %s` renders what is missing\n",
               job.output.c_str(), folder.path().c_str());
  return ExitCode::renderFailed;
}

void forgetFrame(const JobFolder& folder, const FarmJob& job, int index) {
  if (job.splitsFrames())
    FrameJoin(folder, job, {}).forget(index);
  else
    folder.states().clearDone(index);
}

void checkPictures(const JobFolder& folder, const FarmJob& job) {
  std::vector<int> damaged;
  for (int index = 0; index < job.frameCount() && !interrupted(); ++index) {
    const std::string picture = folder.frameFile(job, index);
    if (isWholeFrame(Filename(String(picture)), {job.width, job.height})) continue;
    const int unit = job.splitsFrames() ? index * job.parts : index;
    forgetFrame(folder, job, index);
    folder.states().addFailure(unit, "its picture " + picture + " is missing or damaged");
    damaged.push_back(unit);
  }
  if (damaged.empty()) return;
  nameMissing(folder, job, damaged);
  throw Stop(ExitCode::renderFailed, std::to_string(damaged.size()) + " pictures are missing or damaged");
}

BaseContainer movieOptions(const FarmJob& job) {
  lmSettings settings;
  fillRunSettings(settings, {}, StampChoice::none);
  BaseContainer movie = settings.GetDataInstance()->GetContainer(LM_ANIM_MOVIE_OPTIONS);
  if (job.format == hostMovie)
    movie.SetLong(host::movieCodecKey, host::movieCodecDefault); // not mov's or avi's
  if (job.quality > 0) movie.SetLong(host::movieQualityKey, job.quality);
  return GetMovieOptions(movie);
}

[[noreturn]] void stopMovie(const FarmJob& job) {
  const auto failures = host::takeFailures();
  throw Stop(ExitCode::outputNotWritable,
             failures.empty() ? "the movie " + job.output + " was not written; choose another place"
                              : failures.front().sentence);
}

void joinMovie(const JobFolder& folder, const FarmJob& job) {
  const BaseContainer options = movieOptions(job);
  host::takeFailures(); // earlier failures are not the movie's
  const AutoAlloc<MovieSaver> saver;
  bool begun = false;
  for (int index = 0; index < job.frameCount(); ++index) {
    if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled; " + job.output + " was not written");
    const Filename file(String(folder.frameFile(job, index)));
    const AutoAlloc<BaseBitmap> frame;
    if (frame->Init(file) != IMAGERESULT_OK || frame->GetBw() != job.width || frame->GetBh() != job.height) {
      forgetFrame(folder, job, index);
      throw Stop(ExitCode::sceneUnreadable, "frame " + std::to_string(job.frameAt(index)) +
                                                " cannot be read from " + file.GetString().GetUTF8() +
                                                "; `lumenara farm retry` renders it again");
    }
    const LONG format = host::movieFormatOf(Filename(String(job.output)));
    if (!begun && saver->Open(Filename(String(job.output)), frame, job.fps, format, &options, SAVEBIT_0) !=
                      IMAGERESULT_OK)
      stopMovie(job);
    begun = true;
    if (saver->Write(frame) != IMAGERESULT_OK) stopMovie(job);
  }
  if (!saver->Close()) stopMovie(job);
}

ExitCode mergeUnits(const JobFolder& folder, const FarmJob& job) {
  std::vector<std::string> line{"lumenara", "merge",         "-o",
                                job.output, "--scene",       folder.sceneFile(job),
                                "--home",   folder / "home", "--quiet"};
  line.insert(line.end(), job.closing.begin(), job.closing.end());
  for (int unit = 0; unit < job.unitCount(); ++unit)
    line.push_back(folder.unitFile(job, unit));
  std::vector<const char*> list;
  for (const std::string& one : line)
    list.push_back(one.c_str());
  const CommandLine parsed = parseCommandLine(static_cast<int>(list.size()), list.data());
  return runMerge(std::get<MergeOptions>(parsed));
}

/// Frames whose parts were finished by different tasks at the same moment, or whose join failed.
void joinFrames(const JobFolder& folder, const FarmJob& job, const Granted& granted) {
  const FrameJoin frames(folder, job, granted);
  int failed = 0;
  for (int index = 0; index < job.frameCount(); ++index) {
    if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled; " + job.output + " is not complete");
    if (frames.isJoined(index)) continue;
    const std::string problem = frames.join(index);
    if (problem.empty()) continue;
    ++failed;
    std::fprintf(stderr, "lumenara: frame %d was not joined: %s\n", static_cast<int>(job.frameAt(index)),
                 problem.c_str());
  }
  if (failed > 0)
    throw Stop(ExitCode::renderFailed, std::to_string(failed) +
                                           " frames were not joined; their parts are "
                                           "kept, `lumenara farm retry " +
                                           folder.path() + "` joins them");
}

ExitCode join(const JobFolder& folder, const FarmJob& job) {
  if (job.isStill()) return mergeUnits(folder, job);
  const Granted granted = grantedHere();
  if (job.splitsFrames()) joinFrames(folder, job, granted);
  Messages messages(true);
  BatchInterface ui(messages);
  const PluginHost host(folder / "home", granted.threads, ui);
  if (job.kind == JobKind::movie)
    joinMovie(folder, job);
  else
    checkPictures(folder, job);
  return ExitCode::done;
}

} // namespace

bool isFinished(const JobFolder& folder) {
  std::error_code failed;
  return fs::exists(folder / "finished", failed);
}

void forgetFinish(const JobFolder& folder) {
  std::error_code ignored;
  fs::remove(folder / "finished", ignored);
}

ExitCode finishJob(const JobFolder& folder, const FarmJob& job) {
  constexpr int hour = 3600 * 1000;
  const host::platform::FileLock alone(Filename(String(folder / "closing.lock")), hour);
  const std::vector<int> missing = missingUnits(folder, job);
  if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled; " + job.output + " was not written");
  if (!missing.empty()) return nameMissing(folder, job, missing);
  if (isFinished(folder)) return ExitCode::done;
  const ExitCode code = join(folder, job);
  if (code != ExitCode::done) return code;
  if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled while the pictures were checked");
  std::string error;
  if (!host::replaceFile(Filename(String(folder / "finished")), job.output + "\n", &error))
    throw Stop(ExitCode::outputNotWritable, folder.path() + " cannot be written: " + error);
  std::printf("%s is complete\n", job.output.c_str());
  return ExitCode::done;
}

} // namespace batch
