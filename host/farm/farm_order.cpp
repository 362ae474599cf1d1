#include "farm_order.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>

namespace host::farm {
namespace {

namespace fs = std::filesystem;

constexpr LONG mostUnits = 1'000'000;

std::string problemOfOutput(const FarmOrder& order) {
  if (order.output.empty()) return "Choose a file for the output.";
  std::error_code failed;
  const fs::path file(order.output);
  if (!fs::is_directory(file.parent_path(), failed))
    return "The folder \"" + file.parent_path().string() +
           "\" does not exist. Make it, or choose another place for the output.";
  if (fs::exists(order.folder(), failed))
    return "\"" + order.folder() +
           "\" exists already: a job has this output. Retry that job, choose another name, or delete the "
           "folder.";
  const std::string suffix = file.extension().string();
  if (order.isStill() && (suffix == ".mov" || suffix == ".mp4" || suffix == ".avi"))
    return "One picture cannot be a movie. Let the output end in the suffix of pictures, such as \".exr\".";
  if (suffix.empty()) return "The output needs a suffix that says its format, such as \".tif\" or \".mov\".";
  return {};
}

std::string problemOfFrames(const FarmOrder& order) {
  if (order.isStill()) return {};
  if (order.to < order.from) return "The last frame is before the first. Swap them.";
  if (order.step < 1) return "The step between frames must be 1 or more.";
  const LLONG frames = (static_cast<LLONG>(order.to) - order.from) / order.step + 1;
  if (frames > mostUnits) return "A job has at most a million frames. Submit several jobs.";
  if (order.split == FarmSplit::frameSamples && frames * order.parts > mostUnits)
    return "A job has at most a million parts. Submit fewer frames or parts.";
  return {};
}

} // namespace

std::string installedProgram(const std::string& name) {
  const char* places = std::getenv("PATH");
  std::istringstream list(places ? places : "");
  for (std::string place; std::getline(list, place, ':');) {
    std::error_code failed;
    const fs::path file = fs::path(place.empty() ? "." : place) / name;
    const fs::file_status status = fs::status(file, failed);
    constexpr auto runs = fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
    if (!failed && fs::is_regular_file(status) && (status.permissions() & runs) != fs::perms::none)
      return file.string();
  }
  return {};
}

std::string problemOf(const FarmOrder& order) {
  std::string problem = problemOfOutput(order);
  if (problem.empty()) problem = problemOfFrames(order);
  if (!problem.empty()) return problem;
  if (!wordsOf(order.others)) return "A quotation mark in the further options is not closed. Close it.";
  std::string missing;
  for (const char* name : {"sbatch", "squeue", "scancel"})
    if (installedProgram(name).empty()) missing += std::string(missing.empty() ? "" : ", ") + name;
  if (missing.empty()) return {};
  return "Slurm's programs are not on this machine (" + missing +
         "). Install them (slurm-client), or submit from a machine that has them.";
}

std::vector<std::string> submitArguments(const FarmOrder& order, const std::string& scene) {
  std::vector<std::string> list{"farm", "submit", scene, "--output=" + order.output, "--quiet"};
  const auto add = [&list](const char* name, const std::string& value) {
    if (!value.empty()) list.push_back("--" + std::string(name) + "=" + value);
  };
  const auto addNumber = [&add](const char* name, LONG value) {
    if (value > 0) add(name, std::to_string(value));
  };
  if (order.split == FarmSplit::tiles)
    add("split-tiles", std::to_string(order.columns) + "x" + std::to_string(order.rows));
  else if (order.split != FarmSplit::frames)
    addNumber("split-samples", order.parts);
  if (order.isStill()) {
    add("frame", std::to_string(order.from));
  } else {
    add("frames",
        std::to_string(order.from) + ":" + std::to_string(order.to) + ":" + std::to_string(order.step));
    addNumber("chunk", order.chunk);
  }
  if (order.width > 0 && order.height > 0)
    add("size", std::to_string(order.width) + "x" + std::to_string(order.height));
  add("camera", order.camera);
  addNumber("samples", order.samples);
  add("partition", order.partition);
  add("account", order.account);
  add("memory", order.memory);
  add("task-time", order.time);
  add("program", order.program);
  if (order.overwrite) list.emplace_back("--overwrite");
  if (order.withoutMissing) list.emplace_back("--without-missing");
  const auto others = wordsOf(order.others);
  if (others && !others->empty()) {
    list.emplace_back("--");
    list.insert(list.end(), others->begin(), others->end());
  }
  return list;
}

std::optional<std::vector<std::string>> wordsOf(const std::string& text) {
  std::vector<std::string> words;
  std::string word;
  bool begun = false;
  char quote = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    char c = text[at];
    if (!quote && (c == ' ' || c == '\t' || c == '\n')) {
      if (begun) words.push_back(word);
      word.clear(), begun = false;
      continue;
    }
    begun = true;
    if (c == quote || (!quote && (c == '"' || c == '\''))) {
      quote = quote ? '\0' : c;
      continue;
    }
    if (c == '\\' && quote != '\'' && at + 1 < text.size()) c = text[++at];
    word += c;
  }
  if (quote) return std::nullopt;
  if (begun) words.push_back(word);
  return words;
}

} // namespace host::farm
