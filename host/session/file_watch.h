// Detects that another program has written files. It compares size, time of change and identity; a change
// counts once the file was the same at two successive looks, so that a file is not read while it is being
// written. Main thread, except where stated.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "c4d_filename.h"

namespace host {

/// Distinguishes the states of a file without reading it.
struct FileStamp {
  bool exists = false;
  std::uint64_t size = 0, device = 0, inode = 0;
  std::int64_t modified = 0; // in the system's finest unit
  friend bool operator==(const FileStamp&, const FileStamp&) = default;
};
/// Any thread.
FileStamp stampOf(const Filename& file);
std::vector<FileStamp> stampsOf(const std::vector<Filename>& files);

class FileWatch {
 public:
  /// Watches these files from the states in which they were read; an empty list watches nothing.
  void watch(std::vector<Filename> files, std::vector<FileStamp> read);
  void clear();
  /// Accepts the present states as known, after a save of our own.
  void accept();
  const std::vector<Filename>& files() const noexcept { return files_; }
  /// The known state of a watched file; empty for any other file.
  std::optional<FileStamp> known(const Filename& file) const;

  /// The first of the files was missing at the last two looks: it is deleted, not just being replaced.
  bool isGone() const noexcept { return missing_ >= 2; }

  enum class Look { same, moving, changed };
  /// Looks once. Returns `changed` once for each change, at the first look that finds the changed files as
  /// the previous look did; `moving` before that. A missing file (many programs delete and write anew) counts
  /// as moving.
  Look look();

 private:
  std::vector<Filename> files_;
  std::vector<FileStamp> known_, last_;
  int missing_ = 0; // looks in a row that did not find the first file
};

} // namespace host
