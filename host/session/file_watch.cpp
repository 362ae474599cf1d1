#include "file_watch.h"

#include <filesystem>
#include <system_error>

#include "file_path.h"
#include "platform.h"

namespace host {

FileStamp stampOf(const Filename& file) {
  FileStamp stamp;
  const std::filesystem::path path = toPath(file);
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error) || error) return stamp;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  if (error) return stamp;
  const auto time = std::filesystem::last_write_time(path, error);
  if (error) return stamp;
  stamp.exists = true;
  stamp.size = size;
  stamp.modified = time.time_since_epoch().count();
  platform::fileIdentity(file, stamp.device, stamp.inode);
  return stamp;
}

std::vector<FileStamp> stampsOf(const std::vector<Filename>& files) {
  std::vector<FileStamp> stamps;
  for (const Filename& file : files)
    stamps.push_back(stampOf(file));
  return stamps;
}

void FileWatch::watch(std::vector<Filename> files, std::vector<FileStamp> read) {
  files_ = std::move(files);
  known_ = std::move(read);
  known_.resize(files_.size());
  last_ = known_;
  missing_ = 0;
}

void FileWatch::clear() {
  files_.clear();
  known_.clear();
  last_.clear();
  missing_ = 0;
}

std::optional<FileStamp> FileWatch::known(const Filename& file) const {
  for (std::size_t i = 0; i < files_.size(); ++i)
    if (files_[i].GetString() == file.GetString()) return known_[i];
  return std::nullopt;
}

void FileWatch::accept() {
  known_ = last_ = stampsOf(files_);
}

FileWatch::Look FileWatch::look() {
  std::vector<FileStamp> now = stampsOf(files_);
  const bool still = now == last_;
  last_ = std::move(now);
  missing_ = last_.empty() || last_.front().exists ? 0 : std::min(missing_ + 1, 2);
  if (last_ == known_) return Look::same;
  // A scene or a part of it is missing: another program is probably about to write it.
  for (std::size_t i = 0; i < last_.size(); ++i)
    if (!last_[i].exists && known_[i].exists) return Look::moving;
  if (!still) return Look::moving;
  known_ = last_;
  return Look::changed;
}

} // namespace host
