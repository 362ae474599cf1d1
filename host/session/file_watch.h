// Notices that files were written by someone else. It looks at size, time of change and identity; a change
// counts once the file has held still between two looks, so that a file is not read while it is being
// written.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "c4d_filename.h"

namespace host {

/// What tells one state of a file from another, without reading it.
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
  /// Watches these files from the states in which they were read; none: nothing.
  void watch(std::vector<Filename> files, std::vector<FileStamp> read);
  void clear();
  /// The files are known as they are now: our own save.
  void accept();
  const std::vector<Filename>& files() const noexcept { return files_; }
  /// The state in which a watched file is known; nothing for another file.
  std::optional<FileStamp> known(const Filename& file) const;

  /// The first of the files was not there at the last two looks: it is gone, and not just being written anew.
  bool isGone() const noexcept { return missing_ >= 2; }

  enum class Look { same, moving, changed };
  /// Looks once. `changed` is told once for each change, at the first look that finds the changed files as
  /// the look before found them; `moving` before that. A file that is missing for a while (many programs
  /// delete and write anew) counts as moving.
  Look look();

 private:
  std::vector<Filename> files_;
  std::vector<FileStamp> known_, last_;
  int missing_ = 0; // looks in a row that did not find the first file
};

} // namespace host
