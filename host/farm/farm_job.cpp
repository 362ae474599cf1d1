#include "farm_job.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>

#include <nlohmann/json.hpp>

namespace host::farm {
namespace {

using Json = nlohmann::ordered_json;

constexpr int version = 1;
constexpr int mostUnits = 1'000'000;
constexpr const char* kinds[] = {"pictures", "movie", "parts", "tiles"};

/// The object's members; throws nlohmann's exceptions for a wrong one.
FarmJob readJob(const Json& json) {
  FarmJob job;
  const std::string kind = json.at("kind");
  const auto* found = std::find(std::begin(kinds), std::end(kinds), kind);
  if (found == std::end(kinds)) throw std::out_of_range("kind");
  job.kind = static_cast<JobKind>(found - std::begin(kinds));
  job.id = json.at("id"), job.created = json.at("created"), job.scene = json.at("scene");
  job.content = json.at("content"), job.bytes = json.at("bytes");
  job.output = json.at("output"), job.format = json.at("format");
  job.from = json.at("from"), job.to = json.at("to"), job.step = json.at("step");
  if (json.contains("frames")) job.frames = json.at("frames").get<std::vector<LONG>>();
  job.parts = json.at("parts"), job.width = json.at("width"), job.height = json.at("height");
  job.columns = json.value("columns", 0), job.rows = json.value("rows", 0); // older jobs have none
  job.fps = json.at("fps"), job.quality = json.at("quality");
  job.options = json.at("options").get<std::vector<std::string>>();
  job.closing = json.at("closing").get<std::vector<std::string>>();
  const Json& slurm = json.at("slurm");
  SlurmWishes& wishes = job.wishes;
  wishes.partition = slurm.at("partition"), wishes.account = slurm.at("account");
  wishes.time = slurm.at("time"), wishes.memory = slurm.at("memory"), wishes.cpus = slurm.at("cpus");
  wishes.others = slurm.at("others").get<std::vector<std::string>>();
  job.program = json.at("program"), job.chunk = json.at("chunk");
  return job;
}

bool isSound(const FarmJob& job) {
  const bool range = job.from >= 0 && job.to >= job.from && job.step >= 1 && job.to < mostUnits;
  const bool listed =
      job.frames.empty() || (job.frames.front() >= 0 && job.frames.back() < mostUnits &&
                             std::adjacent_find(job.frames.begin(), job.frames.end(),
                                                [](LONG a, LONG b) { return a >= b; }) == job.frames.end());
  const LONG most = mostUnits / std::max<LONG>(1, job.parts);
  const bool frames = range && listed && job.parts >= 0 && job.parts <= mostUnits && job.frameCount() <= most;
  const bool parts = job.parts >= 1 && job.parts <= mostUnits;
  const bool tiles =
      job.columns >= 1 && job.columns <= mostUnits && job.rows >= 1 && job.rows <= mostUnits / job.columns;
  const bool named =
      !job.output.empty() && job.output.front() == '/' && !job.id.empty() &&
      std::all_of(job.id.begin(), job.id.end(), [](unsigned char c) { return std::isalnum(c); });
  return named && (job.kind == JobKind::parts ? parts : job.kind == JobKind::tiles ? tiles : frames);
}

} // namespace

const char* FarmJob::unitWord() const {
  if (kind == JobKind::tiles) return "tile";
  return kind == JobKind::parts || splitsFrames() ? "part" : "frame";
}

int FarmJob::frameCount() const {
  return frames.empty() ? (to - from) / step + 1 : static_cast<int>(frames.size());
}

LONG FarmJob::frameAt(int index) const {
  return frames.empty() ? from + index * step : frames[static_cast<std::size_t>(index)];
}

int FarmJob::unitCount() const {
  if (kind == JobKind::tiles) return columns * rows;
  if (kind == JobKind::parts) return parts;
  return splitsFrames() ? frameCount() * parts : frameCount();
}

LONG FarmJob::numberOf(int unit) const {
  return isStill() ? unit + 1 : frameAt(frameIndexOf(unit));
}

std::optional<int> FarmJob::unitOf(LONG number) const {
  if (!isStill() && !frames.empty()) {
    const auto found = std::lower_bound(frames.begin(), frames.end(), number);
    if (found == frames.end() || *found != number) return std::nullopt;
    return static_cast<int>(found - frames.begin()) * (splitsFrames() ? parts : 1);
  }
  const LONG first = isStill() ? 1 : from, stride = isStill() ? 1 : step;
  if (number < first || (number - first) % stride != 0) return std::nullopt;
  const LONG unit = (number - first) / stride * (splitsFrames() ? parts : 1);
  return unit < unitCount() ? std::optional<int>(unit) : std::nullopt;
}

std::string FarmJob::nameOf(int unit) const {
  const std::string number = std::to_string(numberOf(unit));
  if (splitsFrames())
    return "frame " + number + ", part " + std::to_string(partOf(unit)) + " of " + std::to_string(parts);
  if (!isStill()) return "frame " + number;
  return std::string(unitWord()) + " " + number + " of " + std::to_string(unitCount());
}

std::string textOf(const FarmJob& job) {
  const Json slurm = {{"partition", job.wishes.partition}, {"account", job.wishes.account},
                      {"time", job.wishes.time},           {"memory", job.wishes.memory},
                      {"cpus", job.wishes.cpus},           {"others", job.wishes.others}};
  const Json json = {{"lumenara_farm", version},
                     {"kind", kinds[static_cast<std::size_t>(job.kind)]},
                     {"id", job.id},
                     {"created", job.created},
                     {"scene", job.scene},
                     {"content", job.content},
                     {"bytes", job.bytes},
                     {"output", job.output},
                     {"format", job.format},
                     {"from", job.from},
                     {"to", job.to},
                     {"step", job.step},
                     {"frames", job.frames},
                     {"parts", job.parts},
                     {"columns", job.columns},
                     {"rows", job.rows},
                     {"width", job.width},
                     {"height", job.height},
                     {"fps", job.fps},
                     {"quality", job.quality},
                     {"options", job.options},
                     {"closing", job.closing},
                     {"program", job.program},
                     {"chunk", job.chunk},
                     {"slurm", slurm}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::optional<FarmJob> farmJobOf(const std::string& text) {
  try {
    const Json json = Json::parse(text);
    if (json.at("lumenara_farm") != version) return std::nullopt;
    FarmJob job = readJob(json);
    if (isSound(job)) return job;
  } catch (const std::exception&) { // it is cut off, or of something else
  }
  return std::nullopt;
}

std::string textOf(const Submission& submission) {
  const Json json = {{"tasks", submission.tasks},
                     {"array", submission.array},
                     {"closing", submission.closing},
                     {"time", submission.time}};
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::optional<Submission> submissionOf(const std::string& text, const FarmJob& job) {
  try {
    const Json json = Json::parse(text);
    Submission submission;
    submission.tasks = json.at("tasks").get<std::vector<std::vector<int>>>();
    submission.array = json.at("array"), submission.closing = json.at("closing");
    submission.time = json.at("time");
    for (const std::vector<int>& task : submission.tasks)
      for (const int unit : task)
        if (unit < 0 || unit >= job.unitCount()) return std::nullopt;
    return submission;
  } catch (const std::exception&) { // likewise
  }
  return std::nullopt;
}

std::vector<std::vector<int>> planTasks(const std::vector<int>& units, int chunk, double unitSeconds) {
  constexpr std::size_t mostTasks = 1000; // Slurm's usual limit of an array is 1001
  constexpr double taskSeconds = 600;
  std::size_t size = static_cast<std::size_t>(std::max(1, chunk));
  if (chunk <= 0) {
    if (unitSeconds > 0)
      size = static_cast<std::size_t>(std::clamp(std::floor(taskSeconds / unitSeconds), 1.0, 1e6));
    // Every task of a few units: a lost one costs little, and machines of any number share them evenly.
    else if (units.size() > 100)
      size = 10;
    size = std::max(size, (units.size() + mostTasks - 1) / mostTasks);
  }
  std::vector<std::vector<int>> tasks;
  for (std::size_t at = 0; at < units.size(); at += size)
    tasks.emplace_back(units.begin() + static_cast<std::ptrdiff_t>(at),
                       units.begin() + static_cast<std::ptrdiff_t>(std::min(at + size, units.size())));
  return tasks;
}

} // namespace host::farm
