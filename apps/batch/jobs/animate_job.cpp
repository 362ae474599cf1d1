#include "animate_job.h"

#include <algorithm>
#include <atomic>

#include "c4d_render.h"
#include "failures.h"
#include "interrupt.h"
#include "lm_thread.h"
#include "plugin_unit.h"
#include "render_job.h"
#include "thread_context.h"
#include "thread_run.h"

namespace batch {
namespace {

LONG currentFrame(const LMTHREAD_DATA& status, const FrameRange& frames) {
  const BaseTime time = status.frameTime;
  return std::clamp(time.GetFrame(status.fps.load()), frames.from, frames.to);
}

/// The fraction of all frames that is done. It never decreases, although the second eye of a stereo frame
/// starts from 0 again and a frame's first progress report follows its number a little later.
class DonePart {
 public:
  DonePart(const FrameRange& frames, const FrameProgress& before) : frames_(frames), before_(before) {}

  double at(LONG frame, double progress) {
    if (frame != frame_) {
      frame_ = frame;
      stale_ = progress;
    }
    if (progress != stale_) stale_ = -1;
    const double begun = stale_ < 0 ? std::clamp(progress, 0.0, 1.0) : 0;
    const double done = before_.done + framesBefore(frames_, frame) + begun;
    return most_ = std::max(most_, done / std::max<LONG>(1, before_.all));
  }

 private:
  const FrameRange& frames_;
  const FrameProgress& before_;
  LONG frame_ = -1;
  double stale_ = -1, most_ = 0;
};

/// Finds the failures of a job's files and frames in the host's record, which holds those of plug-ins, too.
class FailureWatch {
 public:
  explicit FailureWatch(const AnimationTarget& target) : target_(target) { host::takeFailures(); }

  /// Whether any has been recorded so far.
  bool look() {
    if (const std::size_t count = host::failureCount(); count != seen_) {
      seen_ = count;
      read(host::failures());
    }
    return !sentence_.empty() || !frames_.empty();
  }
  /// Error text of the first file; empty without one.
  const std::string& sentence() const { return sentence_; }
  /// The incomplete frames, each once, and the error text of the first.
  const std::vector<LONG>& frames() const { return frames_; }
  const std::string& frameSentence() const { return frameSentence_; }

 private:
  void read(const std::vector<host::Failure>& failures) {
    frames_.clear();
    for (const host::Failure& failure : failures) {
      if (failure.frame >= 0) {
        if (frames_.empty()) frameSentence_ = failure.sentence;
        if (frames_.empty() || frames_.back() != failure.frame) frames_.push_back(failure.frame);
      } else if (sentence_.empty() && isOurs(failure.file)) {
        sentence_ = failure.sentence;
      }
    }
  }
  bool isOurs(const Filename& file) const {
    if (target_.movie()) return file.GetString() == target_.file.GetString();
    return file.GetDirectory().GetString() == target_.file.GetDirectory().GetString() &&
           file.CheckSuffix(target_.file.GetSuffix());
  }

  const AnimationTarget& target_;
  std::size_t seen_ = 0;
  std::string sentence_, frameSentence_;
  std::vector<LONG> frames_;
};

void fillThread(lmThread& thread, const AnimationJob& job, std::atomic<LONG>& running) {
  thread.animation = 1;
  thread.animationRunning = &running;
  thread.frameFrom = job.frames.from;
  thread.frameTo = job.frames.to;
  thread.frameStep = job.frames.step;
  thread.outputFile = job.target.file;
  thread.format = job.target.format;
  thread.jpegQuality = job.jpegQuality;
  thread.photoshop7 = 1;
  thread.stamps = job.stamps;
}

void runFrames(lmThread& thread, const LMTHREAD_DATA& status, const AnimationJob& job,
               const FrameProgress& before, FailureWatch& failures, Messages& messages,
               AnimationReport& report) {
  DonePart part(job.frames, before);
  runThread(thread, [&] {
    const LONG frame = currentFrame(status, job.frames);
    if (interrupted() && !job.target.movie())
      setUnfinishedFile(frameFile(job.target, frame).GetString().GetUTF8());
    const double done = part.at(frame, status.progress);
    messages.progress(done, "frame " + std::to_string(frame));
    report.progress(done, frame, *thread.bitmap);
    return interrupted() || failures.look();
  });
}

/// The thread saves a frame even when it is stopped or its render fails.
void removeUnfinished(const AnimationJob& job, const AnimationResult& outcome) {
  if (job.target.movie() || outcome.moved) return;
  std::vector<LONG> unfinished = outcome.incomplete;
  const bool whole = outcome.result == RENDERRESULT_OK || outcome.result == RENDERRESULT_ASSETMISSING;
  if (!whole) unfinished.push_back(outcome.frame);
  for (const LONG frame : unfinished) {
    const Filename picture = frameFile(job.target, frame);
    if (GeFExist(picture)) GeFKill(picture);
  }
}

} // namespace

AnimationResult runAnimation(BaseDocument& document, BaseBitmap& bitmap, lmSettings& settings,
                             const AnimationJob& job, const FrameProgress& before, Messages& messages,
                             AnimationReport& report) {
  LMTHREAD_DATA status;
  fillStatus(document, status);
  status.frameTime = BaseTime(job.frames.from, document.GetFps());
  std::atomic<LONG> running{1};

  const host::PluginScope plugin(startedPlugin()); // the thread finds the plug-in's pictures
  lmThread thread;
  thread.settings = &settings;
  thread.data = &status;
  thread.bitmap = &bitmap;
  fillThread(thread, job, running);
  FailureWatch failures(job.target);
  runFrames(thread, status, job, before, failures, messages, report);

  AnimationResult outcome;
  report.finished(bitmap, true);
  outcome.rendered = status.progress == 1.0 && running == 0;
  outcome.moved = thread.outputFile.GetString() != job.target.file.GetString();
  outcome.result = status.result;
  outcome.frame = currentFrame(status, job.frames);
  outcome.seconds = status.renderTime;
  failures.look();
  outcome.failure = failures.sentence();
  outcome.incomplete = failures.frames();
  outcome.incompleteWhy = failures.frameSentence();
  removeUnfinished(job, outcome);
  setUnfinishedFile({});
  return outcome;
}

} // namespace batch
