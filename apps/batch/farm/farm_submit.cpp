#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <numeric>
#include <string>
#include <system_error>

#include "atomic_file.h"
#include "blob_store.h"
#include "commands.h"
#include "farm_registry.h"
#include "farm_send.h"
#include "frame_files.h"
#include "frame_pictures.h"
#include "interrupt.h"
#include "job_folder.h"
#include "messages.h"
#include "output_file.h"
#include "picture_file.h"
#include "platform.h"
#include "plugin_host.h"
#include "program.h"
#include "read_file.h"
#include "run_settings.h"
#include "scene_file.h"
#include "scene_load.h"
#include "scene_setup.h"

namespace batch {
namespace {

namespace fs = std::filesystem;
using host::farm::FarmJob;
using host::farm::JobFolder;
using host::farm::JobKind;

std::string timeText() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  char text[32] = {};
  if (localtime_r(&now, &parts)) std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
  return text;
}

bool isOne(const std::string& option, std::initializer_list<const char*> names) {
  return std::any_of(names.begin(), names.end(), [&](const char* name) {
    return option == name || option.starts_with(std::string(name) + "=");
  });
}

/// Of the programs that render the units: those of a movie's frames do not know its quality, and films know
/// nothing of the picture that they become.
void chooseOptions(FarmJob& job, const FarmSubmitOptions& options) {
  const bool films = job.isStill() || job.splitsFrames();
  for (const std::string& option : options.units) {
    const bool movies = job.kind == JobKind::movie && isOne(option, {"--quality"});
    const bool pictures =
        isOne(option, {"--quality", "--bits", "--view", "--exposure", "--half", "--compression"});
    if (films && pictures && !movies)
      job.closing.push_back(option);
    else if (!movies)
      job.options.push_back(option);
  }
  job.closing.insert(job.closing.end(), options.closing.begin(), options.closing.end());
}

/// Stamps are drawn into a picture when it is rendered, and the samples of a part or tile are even.
void refuseForFilms(const FarmSubmitOptions& options) {
  if (options.run.stamps)
    throw Stop(ExitCode::wrongUse, "--stamps has no effect on a split picture; leave it out");
}

/// Checks the options before any work begins.
FarmJob describe(const FarmSubmitOptions& options) {
  refuseStandardOutput(options.run.output);
  checkAssignments(options.run.settings);
  FarmJob job;
  job.id = host::farm::uniqueWord();
  job.created = timeText();
  std::error_code failed;
  job.scene = fs::absolute(options.run.scene, failed).lexically_normal().string();
  if (options.isStill()) {
    job.kind = options.parts > 0 ? JobKind::parts : JobKind::tiles;
    job.parts = options.parts;
    if (options.tiles) job.columns = options.tiles->columns, job.rows = options.tiles->rows;
    PictureOptions how = framePictureOptions(options.run);
    how.resumable = std::any_of(options.closing.begin(), options.closing.end(),
                                [](const std::string& option) { return isOne(option, {"--resumable"}); });
    checkPictureFile(options.run.output, how);
    if (options.run.view.given() && holdsLight(options.run.output))
      throw Stop(ExitCode::wrongUse, "--view and --exposure have no effect on an exr, which holds the light "
                                     "itself; leave them out");
    job.output = fs::absolute(options.run.output, failed).lexically_normal().string();
  } else {
    const AnimationTarget target = animationTarget(options.run.output, options.run.format);
    job.kind = target.movie() ? JobKind::movie : JobKind::pictures;
    job.output = target.file.GetString().GetUTF8();
    job.format = target.format;
    checkFramePictures(options.run, target);
    job.parts = options.parts;
  }
  job.wishes = options.wishes;
  job.program =
      options.program.empty() ? host::platform::programPath().GetString().GetUTF8() : options.program;
  job.chunk = job.isStill() ? 1 : options.chunk;
  job.quality = options.run.quality.value_or(0);
  chooseOptions(job, options);
  if (options.parts > 0 || options.tiles) refuseForFilms(options);
  requireWritable(Filename(String(job.output)), job.kind == JobKind::movie ? "the movie" : "the picture");
  return job;
}

void checkExisting(const FarmJob& job, bool overwrite) {
  std::error_code failed;
  if (overwrite || job.kind == JobKind::pictures || !fs::exists(job.output, failed)) return;
  throw Stop(ExitCode::outputNotWritable,
             job.output + " exists already; add --overwrite to replace it, or choose another name");
}

/// Slurm's scripts have no way to write some characters, and others are patterns of its own.
void checkName(const std::string& path) {
  const auto bad = std::find_if(path.begin(), path.end(),
                                [](unsigned char c) { return c < ' ' || c == '"' || c == '\\' || c == '%'; });
  if (bad == path.end()) return;
  throw Stop(ExitCode::wrongUse,
             path + " has a character that Slurm's scripts cannot hold (quotation marks, backslashes, "
                    "percent signs, line breaks); choose another name");
}

/// The scene as the farm gets it. It is packed as it was loaded: each unit's program makes its own changes.
std::vector<std::byte> packScene(const Scene& scene, const FarmSubmitOptions& options) {
  if (!scene.missing.empty() && !options.withoutMissing)
    throw Stop(ExitCode::sceneUnreadable, options.run.scene + " needs " + listOf(scene.missing) +
                                              ", which cannot be read; put it in its place, or add "
                                              "--without-missing");
  std::string error;
  std::vector<std::byte> bytes = host::saveDocumentToMemory(*scene.document, true, &error);
  if (bytes.empty()) throw Stop(ExitCode::sceneUnreadable, error);
  return bytes;
}

constexpr std::size_t mostUnits = 1'000'000; // as a job's file takes them

void setFrames(FarmJob& job, std::vector<LONG> frames) {
  const std::vector<FrameRange> ranges = joinFrames(frames);
  job.from = ranges.front().from, job.to = ranges.back().to, job.step = ranges.front().step;
  const std::size_t units = frames.size() * static_cast<std::size_t>(std::max<LONG>(1, job.parts));
  if (units > mostUnits)
    throw Stop(ExitCode::wrongUse, std::to_string(units) +
                                       " parts are too many for a job, which has at most " +
                                       std::to_string(mostUnits) + "; submit fewer frames or parts");
  if (ranges.size() > 1) job.step = 1, job.frames = std::move(frames);
}

/// The job's facts that the scene decides, with the same checks as a render here.
void fillFromScene(FarmJob& job, BaseDocument& document, const FarmSubmitOptions& options) {
  lmSettings settings;
  fillRunSettings(settings, options.run.settings,
                  options.run.stamps ? StampChoice::stored : StampChoice::none);
  if (!options.run.camera.empty()) chooseCamera(document, options.run.camera);
  if (!options.run.variant.empty()) chooseVariant(document, options.run.variant);
  setSampling(document, options.run.sampling);
  setView(document, options.run.view);
  if (options.parts > 0) setPart(document, {1, options.parts});
  const PixelSize size = pictureSize(options.run.size, document, settings);
  if (options.frames) setFrames(job, framesOf(options.run.frames, sceneFrames(document)));
  if (options.tiles) setTile(document, {1, *options.tiles}, size);
  job.width = size.width, job.height = size.height;
  job.fps = document.GetFps();
}

/// Refuses a disk that the units cannot fit on: uncompressed, as their programs may write them.
void checkSpace(const FarmJob& job, std::uint64_t scene) {
  const std::uint64_t pixels = static_cast<std::uint64_t>(job.width) * static_cast<std::uint64_t>(job.height);
  const bool films = job.kind == JobKind::parts || job.splitsFrames();
  const std::uint64_t unit = pixels * (films ? 100 : job.format == hostPictures ? 16 : 4);
  const std::uint64_t units =
      job.kind == JobKind::tiles ? 8 : static_cast<std::uint64_t>(job.unitCount()); // floats, and the picture
  const std::uint64_t all = scene + unit * units;
  std::error_code failed;
  const fs::space_info space = fs::space(fs::path(job.output).parent_path(), failed);
  if (failed || space.available >= all) return;
  constexpr std::uint64_t mega = 1 << 20;
  throw Stop(ExitCode::outputNotWritable, "the job may need " + std::to_string(all / mega + 1) + " MB, and " +
                                              fs::path(job.output).parent_path().string() + " has " +
                                              std::to_string(space.available / mega) +
                                              " MB left; make room or choose another place");
}

void copySettings(const JobFolder& folder) {
  const Filename stored = host::Program::current()->preferences().file();
  const host::FileContent content = host::readFile(stored);
  if (content.fault == host::ReadFault::missing) return;
  std::string error;
  const fs::path name = fs::path(stored.GetString().GetUTF8()).filename();
  if (content.fault != host::ReadFault::none ||
      !host::replaceFile(Filename(String(folder / ("home/" + name.string()))), content.bytes, &error))
    throw Stop(ExitCode::outputNotWritable,
               "the settings cannot be copied to " + folder.path() + "/home: " + error);
}

void fillFolder(const JobFolder& folder, FarmJob& job, const std::vector<std::byte>& scene) {
  std::string error;
  if (!folder.make(error))
    throw Stop(
        ExitCode::outputNotWritable,
        error +
            "; `lumenara farm retry` renders what is missing of a job, another --folder begins a new one");
  host::BlobStore store(Filename(String(folder / "contents")));
  const auto blob = store.keep(scene, &error);
  if (!blob) throw Stop(ExitCode::outputNotWritable, folder.path() + " cannot be written: " + error);
  job.content = blob->hash.text();
  job.bytes = blob->size;
  copySettings(folder);
  if (!folder.writeJob(job, error)) throw Stop(ExitCode::outputNotWritable, error);
}

/// "shot.####.exr" is "shot.frames.exr".
std::string withoutMarks(std::string name) {
  const auto last = name.rfind('#');
  if (last == name.npos) return name;
  const auto before = name.find_last_not_of('#', last);
  const std::size_t first = before == name.npos ? 0 : before + 1;
  return name.replace(first, last + 1 - first, "frames");
}

std::vector<int> allUnits(const FarmJob& job) {
  std::vector<int> units(static_cast<std::size_t>(job.unitCount()));
  std::iota(units.begin(), units.end(), 0);
  return units;
}

} // namespace

ExitCode runFarmSubmit(const FarmSubmitOptions& options) {
  FarmJob job = describe(options);
  checkExisting(job, options.run.overwrite);
  std::error_code failed;
  const std::string place = options.folder.empty() ? withoutMarks(job.output) + ".farm" : options.folder;
  const JobFolder folder(fs::absolute(place, failed).lexically_normal().string());
  checkName(folder.path());
  checkName(job.output);
  Messages messages(options.run.quiet);
  BatchInterface ui(messages);
  const PluginHost host(options.run.home, options.run.threads, ui);
  const Scene scene = loadScene(options.run.scene, messages);
  const std::vector<std::byte> packed = packScene(scene, options);
  fillFromScene(job, *scene.document, options);
  const FarmTasks tasks = host::farm::planTasks(allUnits(job), job.chunk);
  checkSpace(job, packed.size());
  if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled; nothing was submitted");
  if (options.dryRun) {
    std::printf("%s\n%s",
                host::farm::textOf(taskScript(folder, job, 1, static_cast<int>(tasks.size()))).c_str(),
                host::farm::textOf(closingScript(folder, job, 1)).c_str());
    return ExitCode::done;
  }
  fillFolder(folder, job, packed);
  rememberJob(job, folder.path());
  if (options.prepare) {
    std::string error;
    if (folder.addSubmission({tasks, {}, {}, {}}, error) == 0) throw Stop(ExitCode::outputNotWritable, error);
    std::printf("%s\n", folder.path().c_str());
    messages.note("lumenara: tasks 0 to " + std::to_string(tasks.size() - 1) +
                  " are ready for `lumenara farm work`");
    return ExitCode::done;
  }
  const SentJobs sent = sendJobs(folder, job, tasks);
  std::printf("%s\n", sent.array.c_str());
  messages.note("lumenara: " + std::to_string(job.unitCount()) + " " + job.unitWord() +
                (job.unitCount() == 1 ? "" : "s") + " in " + std::to_string(tasks.size()) +
                (tasks.size() == 1 ? " task" : " tasks") + " were submitted as job " + sent.array +
                "; its folder is " + folder.path());
  return ExitCode::done;
}

} // namespace batch
