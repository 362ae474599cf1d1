// BrowseFiles, and local times.
#include <algorithm>
#include <ctime>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "c4d_file.h"
#include "clock.h"
#include "file_path.h"
#include "platform.h"

namespace fs = std::filesystem;

namespace {

struct Entry {
  std::string path; // below the directory
  bool directory = false, hidden = false;
  LLONG size = 0;
  host::platform::FileTimes times;
};

struct Found {
  std::string name;
  bool directory, link;
};

Entry describe(const Found& found, const std::string& folder, const std::string& prefix) {
  Entry entry;
  entry.path = prefix + found.name;
  entry.hidden = found.name[0] == '.';
  entry.directory = found.directory;
  host::platform::fileTimes(folder + found.name, entry.times);
  if (!entry.directory) entry.size = entry.times.size;
  return entry;
}

// A directory's entries, sorted by the bytes of their names, each directory followed by its own entries.
// Links to directories are listed but not entered: they may form a circle.
void list(const fs::path& directory, const std::string& prefix, bool recursive, std::vector<Entry>& entries) {
  std::error_code error;
  std::vector<Found> all;
  for (fs::directory_iterator at(directory, error), end; !error && at != end; at.increment(error)) {
    std::error_code unknown;
    all.push_back({at->path().filename().native(), at->is_directory(unknown), at->is_symlink(unknown)});
  }
  std::sort(all.begin(), all.end(), [](const Found& a, const Found& b) { return a.name < b.name; });
  const std::string folder = directory.native() + "/";
  entries.reserve(entries.size() + all.size());
  for (const Found& found : all) {
    entries.push_back(describe(found, folder, prefix));
    if (recursive && found.directory && !found.link)
      list(directory / found.name, prefix + found.name + "/", true, entries);
  }
}

std::tm localTime(std::int64_t seconds) {
  const auto time = static_cast<std::time_t>(seconds);
  std::tm local{};
  localtime_r(&time, &local);
  return local;
}

} // namespace

struct BrowseFiles::Data {
  std::vector<Entry> entries;
  std::size_t next = 0;

  const Entry* current() const { return next > 0 && next <= entries.size() ? &entries[next - 1] : nullptr; }
};

BrowseFiles::BrowseFiles() : data_(new Data) {
}

BrowseFiles::~BrowseFiles() {
  delete data_;
}

BrowseFiles* BrowseFiles::Alloc() {
  return new (std::nothrow) BrowseFiles;
}

void BrowseFiles::Free(BrowseFiles*& browser) {
  delete browser;
  browser = nullptr;
}

void BrowseFiles::Init(const Filename& directory, Bool recursive) {
  *data_ = Data();
  list(host::toPath(directory), "", recursive != FALSE, data_->entries);
}

Bool BrowseFiles::GetNext() {
  if (data_->next <= data_->entries.size()) ++data_->next;
  return data_->current() != nullptr;
}

Filename BrowseFiles::GetFilename() const {
  const Entry* entry = data_->current();
  return entry ? Filename(String(std::string_view(entry->path))) : Filename();
}

Bool BrowseFiles::IsDir() const {
  const Entry* entry = data_->current();
  return entry && entry->directory;
}

Bool BrowseFiles::IsHidden() const {
  const Entry* entry = data_->current();
  return entry && entry->hidden;
}

LLONG BrowseFiles::GetSize() const {
  const Entry* entry = data_->current();
  return entry ? entry->size : 0;
}

void BrowseFiles::GetFileTime(LONG mode, LocalFileTime* time) const {
  *time = LocalFileTime();
  const Entry* entry = data_->current();
  if (!entry) return;
  const auto& times = entry->times;
  const std::tm local = localTime(mode == GE_FILETIME_CREATED  ? times.created
                                  : mode == GE_FILETIME_ACCESS ? times.accessed
                                                               : times.modified);
  time->year = static_cast<UWORD>(local.tm_year + 1900);
  time->month = static_cast<UWORD>(local.tm_mon + 1);
  time->day = static_cast<UWORD>(local.tm_mday);
  time->hour = static_cast<UWORD>(local.tm_hour);
  time->minute = static_cast<UWORD>(local.tm_min);
  time->second = static_cast<UWORD>(local.tm_sec);
}

void GetDateTimeNow(DateTime& now) {
  const std::tm local = localTime(host::clock().wallSeconds());
  now = {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec};
}
