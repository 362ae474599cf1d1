#include "farm_desk.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "command_run.h"
#include "job_folder.h"
#include "platform.h"
#include "scene_file.h"
#include "thumbnails.h"

namespace host::farm {
namespace {

constexpr int submitSeconds = 1800, actSeconds = 200, lookSeconds = 90;

std::string errorOf(const CommandOutput& output) {
  if (output.worked()) return {};
  return sentenceOf(output.why());
}

ThumbnailPtr readThumbnail(const std::string& file) {
  const std::unique_ptr<BaseBitmap, void (*)(BaseBitmap*)> bitmap(
      BaseBitmap::Alloc(), [](BaseBitmap* one) { BaseBitmap::Free(one); });
  if (!bitmap || bitmap->Init(Filename(String(file))) != IMAGERESULT_OK) return nullptr;
  return thumbnailOf(*bitmap);
}

/// The last finished pictures; those of `known` are not read again.
std::vector<FarmFrame> lastFrames(const std::string& path, const std::vector<FarmFrame>& known,
                                  const std::atomic<bool>& ending) {
  const JobFolder folder(path);
  const auto job = folder.readJob();
  std::vector<FarmFrame> frames;
  if (!job) return frames;
  const auto reports = folder.states().scan();
  for (auto unit = reports.rbegin(); unit != reports.rend() && frames.size() < FarmDesk::mostFrames; ++unit) {
    if (!unit->second.done || unit->first < 0 || unit->first >= job->unitCount()) continue;
    FarmFrame frame{job->numberOf(unit->first), folder.unitFile(*job, unit->first), nullptr};
    const auto old = std::find_if(known.begin(), known.end(),
                                  [&frame](const FarmFrame& one) { return one.file == frame.file; });
    if (ending) break;
    frame.thumbnail = old != known.end() && old->thumbnail ? old->thumbnail : readThumbnail(frame.file);
    frames.push_back(std::move(frame));
  }
  std::reverse(frames.begin(), frames.end());
  return frames;
}

} // namespace

struct FarmDesk::Look {
  std::function<CommandOutput(std::vector<std::string>)> run;
  std::vector<FarmRow> before, rows;
  std::vector<FarmFrame> known, frames;
  std::vector<std::string> ask;
  std::string chosen, problem;
  std::shared_ptr<std::atomic<bool>> ending;

  bool mustAsk(const FarmRow& listed, const FarmRow* last) const {
    return !last || last->state.empty() || last->isLive() || last->done != listed.done ||
           std::find(ask.begin(), ask.end(), listed.folder) != ask.end();
  }

  FarmRow rowOf(const FarmRow& listed) const {
    const auto last = std::find_if(before.begin(), before.end(),
                                   [&listed](const FarmRow& row) { return row.folder == listed.folder; });
    if (!mustAsk(listed, last == before.end() ? nullptr : &*last)) return *last;
    const CommandOutput output = run({"farm", "status", listed.folder, "--json"});
    if (auto row = farmRowOf(output.out)) return *row;
    FarmRow row = listed;
    row.problem = output.worked() ? "its state cannot be read" : errorOf(output);
    return row;
  }

  void work() {
    const CommandOutput list = run({"farm", "list"});
    problem = errorOf(list);
    if (!problem.empty()) {
      rows = before;
      return;
    }
    std::vector<FarmRow> listed = listedRows(list.out);
    std::reverse(listed.begin(), listed.end());
    listed.resize(std::min(listed.size(), mostRows));
    for (const FarmRow& one : listed) {
      if (*ending) return;
      rows.push_back(rowOf(one));
    }
    if (!chosen.empty()) frames = lastFrames(chosen, known, *ending);
  }
};

FarmDesk::FarmDesk(std::string program, std::string home)
    : program_(std::move(program)), home_(std::move(home)) {
}

FarmDesk::~FarmDesk() {
  lifetime_.end();
  *ending_ = *stopSubmit_ = true;
  mainLoop().removeTimer(timer_);
  orders_.finish();
  looks_.finish();
}

std::vector<std::string> FarmDesk::command(std::vector<std::string> arguments) const {
  // Before the options of sbatch, which end the line.
  arguments.insert(arguments.begin() + 2, "--home=" + home_);
  arguments.insert(arguments.begin(), program_);
  return arguments;
}

// --- orders ---

void FarmDesk::submit(DocumentPtr scene, const std::string& name, const FarmOrder& order, Done done) {
  if (submitting_) return done("A scene is being submitted already. Wait for it, or cancel it.");
  struct Packed {
    DocumentPtr scene;
    std::string error;
  };
  submitting_ = true;
  *stopSubmit_ = false;
  auto made = std::make_shared<Packed>();
  made->scene = std::move(scene);
  const auto work = [made, name, order, stop = stopSubmit_, base = command({"farm", "submit"})] {
    const platform::PrivateFolder place;
    const Filename file = place.folder() + Filename(String(name));
    if (!place.folder().Content())
      made->error = "No folder for temporary files can be made. Make room on the disk.";
    else if (made->scene && !saveDocument(*made->scene, file, &made->error, {}, OutsidePictures::packed) &&
             made->error.empty())
      made->error = "The scene cannot be written to a temporary file.";
    made->scene.reset();
    if (!made->error.empty() || *stop) {
      if (*stop) made->error = "Cancelled; nothing was submitted.";
      return;
    }
    std::vector<std::string> arguments = submitArguments(order, file.GetString().GetUTF8());
    arguments.erase(arguments.begin(), arguments.begin() + 2);
    arguments.insert(arguments.begin(), base.begin(), base.end());
    made->error = errorOf(runCommand(arguments, submitSeconds, [&stop] { return stop->load(); }));
    if (*stop && !made->error.empty())
      made->error =
          "Cancelled. Slurm may have the job already: see the list of jobs, and delete the folder \"" +
          order.folder() + "\" if the job is not in it.";
  };
  orders_.push(work, [self = lifetime_.ref(), made, done] {
    if (!self) return;
    self->submitting_ = false;
    self->changed.call();
    done(made->error);
    if (self) self->refresh();
  });
  changed.call();
}

void FarmDesk::cancelSubmission() noexcept {
  if (submitting_) *stopSubmit_ = true;
}

void FarmDesk::act(const char* what, const std::string& folder, Done done) {
  auto error = std::make_shared<std::string>();
  orders_.push(
      [error, ending = ending_, line = command({"farm", what, folder, "--quiet"})] {
        *error = errorOf(runCommand(line, actSeconds, [&ending] { return ending->load(); }));
      },
      [self = lifetime_.ref(), error, folder, done] {
        if (!self) return;
        self->ask_.push_back(folder);
        done(*error);
        if (self) self->refresh();
      });
}

void FarmDesk::cancel(const std::string& folder, Done done) {
  act("cancel", folder, std::move(done));
}

void FarmDesk::retry(const std::string& folder, Done done) {
  act("retry", folder, std::move(done));
}

void FarmDesk::log(const std::string& folder, std::optional<LONG> number, Printed done) {
  std::vector<std::string> line = command({"farm", "log", folder});
  if (number) line.push_back("--frame=" + std::to_string(*number));
  auto output = std::make_shared<CommandOutput>();
  orders_.push(
      [output, line, ending = ending_] {
        *output = runCommand(line, lookSeconds, [&ending] { return ending->load(); });
      },
      [self = lifetime_.ref(), output, done] {
        if (self) done(errorOf(*output), output->out);
      });
}

// --- the list ---

void FarmDesk::refresh() {
  if (looks_.isBusy()) {
    again_ = true;
    return;
  }
  again_ = false;
  auto look = std::make_shared<Look>();
  look->before = rows_, look->known = frames_, look->chosen = chosen_, look->ending = ending_;
  look->ask = std::exchange(ask_, {});
  look->run = [base = command({"farm", "list"}), ending = ending_](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin() + 2, base.back());
    arguments.insert(arguments.begin(), base.front());
    return runCommand(arguments, lookSeconds, [&ending] { return ending->load(); });
  };
  looks_.push([look] { look->work(); },
              [self = lifetime_.ref(), look] {
                if (self) self->looked(*look);
              });
}

void FarmDesk::looked(const Look& look) {
  rows_ = look.rows;
  problem_ = look.problem;
  if (look.chosen == chosen_) frames_ = look.frames;
  const auto ref = lifetime_.ref();
  changed.call();
  if (ref && (again_ || look.chosen != chosen_))
    mainLoop().post([ref] {
      if (ref) ref->refresh();
    });
}

void FarmDesk::watch(bool on) {
  mainLoop().removeTimer(std::exchange(timer_, 0));
  if (!on) return;
  timer_ = mainLoop().addTimer(period, [this] {
    if (!looks_.isBusy()) refresh();
  });
  refresh();
}

void FarmDesk::choose(const std::string& folder) {
  if (folder == chosen_) return;
  chosen_ = folder;
  frames_.clear();
  if (!chosen_.empty()) refresh();
}

void FarmDesk::finish() {
  do {
    orders_.finish();
    looks_.finish();
  } while (orders_.isBusy() || looks_.isBusy());
}

} // namespace host::farm
