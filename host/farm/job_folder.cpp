#include "job_folder.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <random>
#include <system_error>

#include "atomic_file.h"
#include "platform.h"
#include "read_file.h"

namespace host::farm {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t mostTextBytes = std::uintmax_t{256} << 20;

std::optional<std::string> readText(const std::string& file) {
  const FileContent content = readFile(Filename(String(file)), mostTextBytes);
  if (content.fault != ReadFault::none) return std::nullopt;
  return std::string(content.text());
}

bool writeText(const std::string& file, const std::string& text, std::string& error) {
  if (replaceFile(Filename(String(file)), text, &error)) return true;
  error = file + " cannot be written: " + error;
  return false;
}

std::string submissionFile(int number) {
  return "submissions/" + std::to_string(number) + ".json";
}

} // namespace

bool JobFolder::make(std::string& error) const {
  std::error_code failed;
  if (!fs::create_directory(path_, failed)) {
    error = failed ? path_ + " cannot be made: " + failed.message() : path_ + " is there already";
    return false;
  }
  for (const char* name : {"contents", "home", "submissions", "state", "log", "units", "work"}) {
    fs::create_directory(*this / name, failed);
    if (!failed) continue;
    error = *this / name + " cannot be made: " + failed.message();
    return false;
  }
  // Programs run plug-ins of their home only when nobody else can write to it.
  fs::permissions(*this / "home", fs::perms::owner_all, failed);
  return true;
}

bool JobFolder::writeJob(const FarmJob& job, std::string& error) const {
  return writeText(*this / "job.json", textOf(job), error);
}

std::optional<FarmJob> JobFolder::readJob() const {
  const auto text = readText(*this / "job.json");
  return text ? farmJobOf(*text) : std::nullopt;
}

int JobFolder::lastSubmission() const {
  int last = 0;
  std::error_code failed;
  for (fs::directory_iterator entry(*this / "submissions", failed);
       !failed && entry != fs::directory_iterator(); entry.increment(failed)) {
    const std::string name = entry->path().filename().string();
    int number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error == std::errc() && std::string(end) == ".json") last = std::max(last, number);
  }
  return last;
}

int JobFolder::addSubmission(const Submission& submission, std::string& error) const {
  // Two programs at a time: the folder of a number can be made once.
  for (int number = lastSubmission() + 1;; ++number) {
    std::error_code failed;
    if (!fs::create_directory(*this / ("submissions/" + std::to_string(number)), failed)) {
      if (!failed) continue;
      error = path_ + " cannot be written: " + failed.message();
      return 0;
    }
    return writeSubmission(number, submission, error) ? number : 0;
  }
}

bool JobFolder::writeSubmission(int number, const Submission& submission, std::string& error) const {
  return writeText(*this / submissionFile(number), textOf(submission), error);
}

std::optional<Submission> JobFolder::readSubmission(int number, const FarmJob& job) const {
  const auto text = readText(*this / submissionFile(number));
  return text ? submissionOf(*text, job) : std::nullopt;
}

std::string JobFolder::sceneFile(const FarmJob& job) const {
  return *this / ("contents/" + job.content.substr(0, 2) + "/" +
                  job.content.substr(std::min<std::size_t>(2, job.content.size())));
}

std::string JobFolder::frameName(const std::string& base, LONG frame) {
  const fs::path file(base);
  std::string start = file.stem().string(), end = file.extension().string();
  std::size_t width = 4;
  if (const auto mark = start.rfind('#'); mark != start.npos) {
    const auto before = start.find_last_not_of('#', mark);
    width = mark - before; // npos is -1
    end = start.substr(mark + 1) + end;
    start.resize(before + 1);
  }
  std::string digits = std::to_string(frame);
  constexpr std::size_t mostDigits = 16;
  width = std::min(width, mostDigits);
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return start + digits + end;
}

std::string JobFolder::frameFile(const FarmJob& job, int index) const {
  char name[32];
  if (job.kind != JobKind::movie)
    return (fs::path(job.output).parent_path() / frameName(job.output, job.frameAt(index))).string();
  std::snprintf(name, sizeof name, "units/frame%06d.tif", static_cast<int>(job.frameAt(index)));
  return *this / name;
}

std::string JobFolder::unitFile(const FarmJob& job, int unit) const {
  char name[48];
  switch (job.kind) {
  case JobKind::pictures:
  case JobKind::movie:
    if (!job.splitsFrames()) return frameFile(job, unit);
    std::snprintf(name, sizeof name, "units/frame%06d-part%04d.exr", static_cast<int>(job.numberOf(unit)),
                  static_cast<int>(job.partOf(unit)));
    break;
  case JobKind::parts:
    std::snprintf(name, sizeof name, "units/part%06d.exr", static_cast<int>(job.numberOf(unit)));
    break;
  case JobKind::tiles:
    std::snprintf(name, sizeof name, "units/tile%06d.exr", static_cast<int>(job.numberOf(unit)));
    break;
  }
  return *this / name;
}

bool publishFile(const std::string& from, const std::string& to, std::string& error) {
  std::error_code failed;
  fs::rename(from, to, failed);
  if (!failed) {
    platform::flushFolder(Filename(String(fs::path(to).parent_path().string())));
    return true;
  }
  if (failed != std::errc::cross_device_link) {
    error = to + " cannot be written: " + failed.message();
    return false;
  }
  const FileContent content = readFile(Filename(String(from)));
  if (content.fault != ReadFault::none) {
    error = from + " cannot be read";
    return false;
  }
  if (!replaceFile(Filename(String(to)), content.bytes, &error)) {
    error = to + " cannot be written: " + error;
    return false;
  }
  fs::remove(from, failed);
  return true;
}

std::string uniqueWord() {
  std::random_device random;
  char word[17];
  std::snprintf(word, sizeof word, "%08x%08x", random(), random());
  return word;
}

} // namespace host::farm
