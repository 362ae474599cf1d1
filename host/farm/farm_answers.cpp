#include "farm_answers.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <sstream>

#include <nlohmann/json.hpp>

namespace host::farm {
namespace {

using Json = nlohmann::json;

std::string textAt(const Json& json, const char* name) {
  const auto found = json.find(name);
  return found != json.end() && found->is_string() ? found->get<std::string>() : std::string();
}

int countAt(const Json& json, const char* name) {
  const auto found = json.find(name);
  if (found == json.end() || !found->is_number_integer()) return 0;
  return static_cast<int>(
      std::clamp<std::int64_t>(found->get<std::int64_t>(), -1'000'000'000, 1'000'000'000));
}

const Json& listAt(const Json& json, const char* name) {
  static const Json empty = Json::array();
  const auto found = json.find(name);
  return found != json.end() && found->is_array() ? *found : empty;
}

/// The two numbers of "3 of 10, complete". A job whose file is damaged has none.
bool readCounts(const std::string& text, FarmRow& row) {
  if (text == unreadableJob) return true;
  const char* const end = text.data() + text.size();
  const auto [middle, error] = std::from_chars(text.data(), end, row.done);
  constexpr std::string_view of = " of ";
  if (error != std::errc() ||
      !std::string_view(middle, static_cast<std::size_t>(end - middle)).starts_with(of))
    return false;
  return std::from_chars(middle + of.size(), end, row.units).ec == std::errc();
}

void replace(std::string& text, std::string_view old, std::string_view by) {
  if (const auto at = text.find(old); at != text.npos) text.replace(at, old.size(), by);
}

} // namespace

std::optional<FarmRow> farmRowOf(const std::string& text) {
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_object()) return std::nullopt;
  FarmRow row;
  row.folder = textAt(json, "folder"), row.scene = textAt(json, "scene"), row.output = textAt(json, "output");
  row.submitted = textAt(json, "submitted"), row.state = textAt(json, "state");
  if (row.folder.empty() || row.state.empty()) return std::nullopt;
  row.units = countAt(json, "units"), row.done = countAt(json, "done");
  row.running = countAt(json, "running"), row.failed = countAt(json, "failed");
  row.tasksRunning = countAt(json, "tasks_running"), row.tasksWaiting = countAt(json, "tasks_waiting");
  const auto answers = json.find("slurm_answers"), left = json.find("seconds_left");
  row.slurm = answers != json.end() && answers->is_boolean() && answers->get<bool>();
  if (left != json.end() && left->is_number()) row.secondsLeft = left->get<double>();
  for (const Json& reason : listAt(json, "waiting_for"))
    if (reason.is_string()) row.waiting.push_back(reason.get<std::string>());
  for (const Json& failure : listAt(json, "failures"))
    if (failure.is_object())
      row.failures.push_back(
          {countAt(failure, "number"), countAt(failure, "attempts"), textAt(failure, "reason")});
  return row;
}

std::vector<FarmRow> listedRows(const std::string& printed) {
  std::vector<FarmRow> rows;
  std::istringstream lines(printed);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string number, counts;
    FarmRow row;
    if (std::getline(fields, number, '\t') && std::getline(fields, row.submitted, '\t') &&
        std::getline(fields, counts, '\t') && std::getline(fields, row.folder) && readCounts(counts, row))
      rows.push_back(row);
  }
  return rows;
}

std::string sentenceOf(const std::string& error) {
  std::string text = error;
  constexpr std::string_view prefix = "lumenara: ";
  if (text.starts_with(prefix)) text.erase(0, prefix.size());
  replace(text, "add --without-missing", "switch on \"Submit although files are missing\"");
  replace(text, "add --overwrite to replace it", "switch on \"Replace an existing file\"");
  if (text.empty()) return text;
  if (const auto first = static_cast<unsigned char>(text.front()); std::islower(first))
    text.front() = static_cast<char>(std::toupper(first));
  if (!text.ends_with('.')) text += '.';
  return text;
}

} // namespace host::farm
