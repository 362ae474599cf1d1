#include "farm_command_line.h"

#include <utility>

#include <CLI/CLI.hpp>

#include "layer_table.h"
#include "option_values.h"
#include "run_options.h"

namespace batch {
namespace {

/// Options that go to the program of each unit as they were typed.
constexpr const char* unitOptions[] = {
    "--size",     "--camera",         "--variant", "--set",   "--samples",  "--time",    "--noise",
    "--sampling", "--shutter",        "--shading", "--view",  "--exposure", "--denoise", "--quality",
    "--stamps",   "--radiance-cache", "--layers",  "--frame", "--bits"};
/// Options of the picture that parts become.
constexpr const char* closingOptions[] = {"--half", "--compression", "--resumable"};

void forward(const CLI::App& command, const char* name, std::vector<std::string>& to) {
  const CLI::Option* option = command.get_option_no_throw(name);
  if (!option || option->count() == 0) return;
  for (const std::string& value : option->results())
    to.push_back(option->get_items_expected() == 0 && value == "true" ? std::string(name)
                                                                      : std::string(name) + "=" + value);
}

} // namespace

struct FarmCommandLine::Raw {
  FarmSubmitOptions submit;
  FarmJobOptions job;
  FarmWorkOptions work;
  RawRun run;
  std::string frames, tiles, layers, compression;
  LONG frame = 0, quality = 0;
  bool resumable = false;
  CLI::App *submitting = nullptr, *working = nullptr, *closing = nullptr, *farm = nullptr;

  void addSubmit();
  void addSlurm(CLI::App& command);
  void addActions();
  void addWork();
};

void FarmCommandLine::Raw::addSubmit() {
  submitting =
      farm->add_subcommand("submit", "Render on the farm: pack the scene and hand the work to Slurm");
  CLI::App& command = *submitting;
  addRun(command, run, submit.run);
  command
      .add_option(
          "-o,--output", submit.run.output,
          "Movie (mov, mp4, avi), pictures by base name or pattern (shot.tif, shot.####.exr), or an exr with "
          "--split-samples and --split-tiles")
      ->type_name("FILE")
      ->required();
  CLI::Option* range =
      command
          .add_option("--frames", frames,
                      "Frames, ranges of first, last and step, with commas between them, or all")
          ->type_name("A[:B[:STEP]],...|all");
  command
      .add_option("--split-samples", submit.parts,
                  "Render the picture, or each frame, as so many parts of its samples")
      ->type_name("N")
      ->check(CLI::Range(1, static_cast<int>(mostParts)))
      ->excludes(command.get_option("--time"), command.get_option("--noise"));
  command
      .add_option("--split-tiles", tiles, "Render one picture as so many tiles, each in memory of its own")
      ->type_name("N|CxR")
      ->excludes(range, command.get_option("--split-samples"), command.get_option("--time"),
                 command.get_option("--noise"));
  command.add_option("--frame", frame, "The frame of a split picture; default: the scene's current one")
      ->type_name("N")
      ->excludes(range);
  command.add_option("--layers", layers, "Layers of an exr: all, or some of " + host::layerNames())
      ->type_name("A,B,...");
  addBits(command, submit.run.bits);
  command.add_flag("--half", submit.run.half, "Colours of an exr as 16-bit floats");
  command.add_option("--compression", compression, "Of an exr: " + compressionNames() + " (default zip)")
      ->type_name("NAME");
  command.add_flag("--resumable", resumable, "Keep the samples in an exr")
      ->excludes(range, command.get_option("--split-tiles"));
  command.add_option("--quality", quality, "1 to 100, of jpg (default 95) and webp pictures, and of movies")
      ->type_name("N")
      ->check(CLI::Range(1, 100));
  command.add_flag("--stamps", submit.run.stamps, "Draw the stamps that the settings switch on");
  command.add_flag("--overwrite", submit.run.overwrite, "Replace an existing file without asking");
  addSlurm(command);
}

void FarmCommandLine::Raw::addSlurm(CLI::App& command) {
  command.add_option("--chunk", submit.chunk, "Frames of a task; default: chosen by their number")
      ->type_name("N")
      ->check(CLI::Range(1, 1000000));
  command.add_option("--partition", submit.wishes.partition, "Slurm's partition")->type_name("NAME");
  command.add_option("--account", submit.wishes.account, "Slurm's account")->type_name("NAME");
  // --time is the limit of a picture, as in `render`.
  command.add_option("--task-time", submit.wishes.time, "Slurm's limit of a task's time, as 2:00:00")
      ->type_name("TIME");
  command.add_option("--memory", submit.wishes.memory, "Memory of a task, as 8G")->type_name("SIZE");
  command
      .add_option("--folder", submit.folder, "Folder of the job, on a file system that all machines share")
      ->type_name("DIR");
  command
      .add_option("--program", submit.program, "Path of lumenara on the farm's machines; default: as here")
      ->type_name("PATH");
  command.add_flag("--without-missing", submit.withoutMissing,
                   "Submit although files of the scene are missing");
  command.add_flag("--prepare", submit.prepare, "Make the job's folder only, for another scheduler");
  command.add_flag("--dry-run", submit.dryRun, "Show the script and submit nothing");
  command.add_option("SBATCH", submit.wishes.others, "After --: further options of sbatch");
}

void FarmCommandLine::Raw::addActions() {
  const auto add = [this](const char* name, const char* help, FarmAction action) {
    CLI::App* command = farm->add_subcommand(name, help);
    command->add_option("--home", job.home, "Folder of the settings")->type_name("DIR");
    command->add_flag("--quiet", job.quiet, "Print errors only");
    command->final_callback([this, action] { job.action = action; });
    if (action != FarmAction::list)
      command->add_option("JOB", job.job, "Its folder or a number of Slurm's; default: the newest");
    return command;
  };
  CLI::App* status = add("status", "Show what is done, running and failed", FarmAction::status);
  status->add_flag("--watch", job.watch, "Again and again, until the job has ended");
  status->add_flag("--json", job.json, "As JSON");
  add("cancel", "End a job; what is done stays", FarmAction::cancel);
  add("retry", "Submit what is missing again", FarmAction::retry);
  add("log", "Print what the task of a frame printed", FarmAction::log)
      ->add_option("--frame", job.frame, "The frame, or the part; default: failed ones")
      ->type_name("N");
  add("list", "The jobs that were submitted from here", FarmAction::list)
      ->add_flag("--json", job.json, "As JSON");
}

void FarmCommandLine::Raw::addWork() {
  working = farm->add_subcommand("work", "Do a task of a job")->group("");
  closing = farm->add_subcommand("finish", "Join the units of a job")->group("");
  for (CLI::App* command : {working, closing}) {
    command->add_option("FOLDER", work.folder, "The job's folder")->required();
    command->add_option("--submission", work.submission, "Its number");
  }
  working->add_option("--task", work.task, "Its number in the array");
}

FarmCommandLine::FarmCommandLine(CLI::App& app) : raw_(std::make_unique<Raw>()) {
  raw_->farm = app.add_subcommand("farm", "Render on many machines, by Slurm");
  raw_->farm->require_subcommand(1);
  raw_->addSubmit();
  raw_->addActions();
  raw_->addWork();
}

FarmCommandLine::~FarmCommandLine() = default;

std::optional<CommandLine> FarmCommandLine::finish() {
  Raw& raw = *raw_;
  if (!raw.farm->parsed()) return std::nullopt;
  if (raw.working->parsed() || raw.closing->parsed()) {
    raw.work.closing = raw.closing->parsed();
    return raw.work;
  }
  if (!raw.submitting->parsed()) return raw.job;
  FarmSubmitOptions& options = raw.submit;
  const CLI::App& command = *raw.submitting;
  finishRun(command, raw.run, options.run);
  options.frames = command.count("--frames") > 0;
  if (options.frames) options.run.frames = parseFrames(raw.frames);
  if (command.count("--split-tiles")) options.tiles = parseGrid("--split-tiles", raw.tiles);
  if (!options.frames && options.parts == 0 && !options.tiles)
    throw wrong("there is nothing to split; write --frames A:B for an animation, or --split-samples N or "
                "--split-tiles N for a picture");
  if (command.count("--frame")) options.frame = raw.frame;
  if (command.count("--layers")) options.run.layers = parseLayers(raw.layers);
  if (command.count("--quality")) options.run.quality = raw.quality;
  if (command.count("--compression")) options.run.compression = parseCompression(raw.compression);
  for (const char* name : unitOptions)
    forward(command, name, options.units);
  for (const char* name : closingOptions)
    forward(command, name, options.isStill() ? options.closing : options.units);
  options.wishes.cpus = options.run.threads;
  return std::move(options);
}

} // namespace batch
