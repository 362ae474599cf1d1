#include "farm_registry.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "atomic_file.h"
#include "exit_code.h"
#include "file_path.h"
#include "job_folder.h"
#include "program.h"
#include "read_file.h"

namespace batch {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t mostBytes = 1 << 16;

fs::path registryFolder() {
  return host::toPath(host::Program::current()->writePath()) / "farm";
}

bool hasNumber(const std::string& folder, const std::string& number) {
  const host::farm::JobFolder place(folder);
  const auto job = place.readJob();
  if (!job) return false;
  for (int submission = place.lastSubmission(); submission > 0; --submission) {
    const auto sent = place.readSubmission(submission, *job);
    if (sent && (sent->array == number || sent->closing == number)) return true;
  }
  return false;
}

} // namespace

void rememberJob(const host::farm::FarmJob& job, const std::string& folder) {
  std::error_code ignored;
  fs::create_directories(registryFolder(), ignored);
  host::replaceFile(host::toFilename(registryFolder() / job.id), folder + "\n");
}

std::vector<KnownJob> knownJobs() {
  std::vector<KnownJob> jobs;
  std::error_code failed;
  for (fs::directory_iterator entry(registryFolder(), failed); !failed && entry != fs::directory_iterator();
       entry.increment(failed)) {
    const host::FileContent content = host::readFile(host::toFilename(entry->path()), mostBytes);
    const std::string text(content.text());
    std::error_code gone;
    const KnownJob job{text.substr(0, text.find('\n')), fs::last_write_time(entry->path(), gone)};
    if (fs::exists(fs::path(job.folder) / "job.json", gone)) jobs.push_back(job);
  }
  std::sort(jobs.begin(), jobs.end(), [](const KnownJob& a, const KnownJob& b) {
    return a.time != b.time ? a.time < b.time : a.folder < b.folder;
  });
  return jobs;
}

std::string findJob(const std::string& text) {
  const std::vector<KnownJob> known = knownJobs();
  if (text.empty()) {
    if (!known.empty()) return known.back().folder;
    throw Stop(ExitCode::wrongUse, "no job was submitted from here; name the folder of a job");
  }
  std::error_code failed;
  const fs::path folder = fs::absolute(text, failed).lexically_normal();
  if (!failed && fs::exists(folder / "job.json", failed)) return folder.string();
  for (auto job = known.rbegin(); job != known.rend(); ++job)
    if (hasNumber(job->folder, text)) return job->folder;
  throw Stop(ExitCode::wrongUse,
             text + " is no job; name the folder of one, or a number that `lumenara farm list` shows");
}

} // namespace batch
