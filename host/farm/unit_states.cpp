#include "unit_states.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <system_error>

#include <nlohmann/json.hpp>

#include "atomic_file.h"
#include "platform.h"
#include "read_file.h"

namespace host::farm {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr std::uintmax_t mostBytes = 1 << 16;
constexpr int mostFailures = 99;

std::string dumped(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

/// An object without members when the file is missing or none of ours.
Json readJson(const std::string& file) {
  const FileContent content = readFile(Filename(String(file)), mostBytes);
  if (content.fault != ReadFault::none) return Json::object();
  Json json = Json::parse(content.text(), nullptr, false);
  return json.is_object() ? json : Json::object();
}

template <class Value>
Value member(const Json& json, const char* name, Value otherwise) {
  try {
    return json.value(name, otherwise);
  } catch (const Json::exception&) { // of another type
    return otherwise;
  }
}

/// Makes a file that is not there yet; false when it is, or when it cannot be made.
bool makeNew(const std::string& file, const std::string& text) {
  std::FILE* made = std::fopen(file.c_str(), "wxe");
  if (!made) return false;
  const bool written = std::fwrite(text.data(), 1, text.size(), made) == text.size();
  const bool whole = std::fclose(made) == 0 && written;
  if (!whole) std::remove(file.c_str());
  return whole;
}

} // namespace

std::string UnitStates::file(int unit, const std::string& kind) const {
  char name[16];
  std::snprintf(name, sizeof name, "/%06d.", unit);
  return folder_ + name + kind;
}

Claimant UnitStates::claimantOf(int unit) const {
  const Json json = readJson(file(unit, "claim"));
  Claimant found;
  found.word = member(json, "word", std::string());
  found.host = member(json, "host", std::string());
  found.process = member(json, "process", 0L);
  found.task = member(json, "task", std::string());
  found.restart = member(json, "restart", 0);
  return found;
}

bool UnitStates::isLeft(const Claimant& other, const Claimant& me) const {
  if (other.word == me.word) return false;
  if (!other.task.empty() && other.task == me.task) return other.restart < me.restart;
  return other.host == me.host && other.process > 0 && platform::hasEnded(other.process);
}

bool UnitStates::claim(int unit, const Claimant& me) const {
  const std::string text = dumped({{"word", me.word},
                                   {"host", me.host},
                                   {"process", me.process},
                                   {"task", me.task},
                                   {"restart", me.restart}});
  const std::string name = file(unit, "claim");
  if (makeNew(name, text)) return true;
  const Claimant other = claimantOf(unit);
  if (other.word.empty() || !isLeft(other, me)) return false;
  // Several programs may find the same claim: one of them breaks it.
  const std::string alone = file(unit, "breaking");
  if (!makeNew(alone, me.word + "\n")) return false;
  std::error_code failed;
  bool mine = false;
  if (claimantOf(unit).word == other.word) {
    fs::remove(name, failed);
    if (fs::remove(file(unit, "begun"), failed))
      addFailure(unit, "the program on " + other.host + " ended in the middle of it");
    mine = makeNew(name, text);
  }
  fs::remove(alone, failed);
  return mine;
}

void UnitStates::begin(int unit, const Claimant& me) const {
  makeNew(file(unit, "begun"), me.word + "\n");
}

bool UnitStates::holds(int unit, const Claimant& me) const {
  return claimantOf(unit).word == me.word;
}

void UnitStates::release(int unit, const Claimant& me) const {
  if (holds(unit, me)) breakClaim(unit);
}

void UnitStates::breakClaim(int unit) const {
  std::error_code ignored;
  for (const char* kind : {"begun", "claim", "breaking"})
    fs::remove(file(unit, kind), ignored);
}

bool UnitStates::isDone(int unit) const {
  std::error_code failed;
  return fs::exists(file(unit, "done"), failed);
}

bool UnitStates::setDone(int unit, const DoneUnit& how, std::string& error) const {
  const std::string name = file(unit, "done");
  const Json json = {{"seconds", how.seconds}, {"memory", how.memory}, {"host", how.host}};
  if (replaceFile(Filename(String(name)), dumped(json), &error)) return true;
  error = name + " cannot be written: " + error;
  return false;
}

void UnitStates::clearDone(int unit) const {
  std::error_code ignored;
  fs::remove(file(unit, "done"), ignored);
}

int UnitStates::addFailure(int unit, const std::string& reason) const {
  for (int number = failures(unit) + 1; number <= mostFailures; ++number)
    if (makeNew(file(unit, "fail" + std::to_string(number)), reason + "\n")) return number;
  return failures(unit);
}

int UnitStates::failures(int unit) const {
  int count = 0;
  std::error_code failed;
  while (count < mostFailures && fs::exists(file(unit, "fail" + std::to_string(count + 1)), failed))
    ++count;
  return count;
}

std::string UnitStates::lastReason(int unit) const {
  const int count = failures(unit);
  if (count == 0) return {};
  const FileContent content =
      readFile(Filename(String(file(unit, "fail" + std::to_string(count)))), mostBytes);
  std::string reason(content.text());
  reason.erase(std::find(reason.begin(), reason.end(), '\n'), reason.end());
  return reason;
}

void UnitStates::clearFailures(int unit) const {
  std::error_code ignored;
  for (int number = failures(unit); number > 0; --number)
    fs::remove(file(unit, "fail" + std::to_string(number)), ignored);
}

std::map<int, UnitReport> UnitStates::scan() const {
  std::map<int, UnitReport> units;
  std::error_code failed;
  for (fs::directory_iterator entry(folder_, failed); !failed && entry != fs::directory_iterator();
       entry.increment(failed)) {
    const std::string name = entry->path().filename().string();
    int unit = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), unit);
    if (error != std::errc()) continue;
    const std::string kind(end);
    if (kind == ".done") units[unit].done = true;
    if (kind == ".claim") units[unit].claimed = true;
    if (kind.starts_with(".fail")) ++units[unit].failures;
  }
  return units;
}

DoneUnit UnitStates::doneUnit(int unit) const {
  const Json json = readJson(file(unit, "done"));
  DoneUnit found;
  found.seconds = member(json, "seconds", 0.0);
  found.memory = member(json, "memory", std::uint64_t{0});
  found.host = member(json, "host", std::string());
  return found;
}

} // namespace host::farm
