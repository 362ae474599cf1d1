// Files that are replaced whole: written beside their target, flushed, renamed. A reader of the target sees
// the old file or the new one. Any thread; one object is used by one thread at a time.
#pragma once

#include <cstddef>
#include <cstdio>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "c4d_filename.h"

namespace host {

/// A file being written; without `commit` it is removed. If the target is a link, the file that it leads to
/// is replaced. A device or pipe is written directly.
class AtomicFile {
 public:
  explicit AtomicFile(const Filename& target);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  /// Makes the file beside the target, in a folder that exists.
  bool open();
  /// After the first failure all further calls fail; the first reason stays.
  bool write(const void* bytes, std::size_t count);
  bool write(std::string_view text) { return write(text.data(), text.size()); }
  /// Counts from the start. Not for devices and pipes.
  bool seek(long long position);

  /// The file being written, hidden, with the suffix "tmp". For a library that opens files itself: `open`,
  /// `closeForOthers`, let it write here, `commit`.
  const Filename& temporary() const noexcept { return temporary_; }
  bool closeForOthers();

  /// Flushes the file to the disk and replaces the target by it.
  bool commit();
  /// The reason of the failure, as a clause: "No space left on device".
  const std::string& error() const noexcept { return error_; }

 private:
  bool fail(int code);
  bool fail(std::string reason);

  Filename target_, temporary_;
  std::FILE* file_ = nullptr;
  bool direct_ = false, made_ = false, failed_ = false;
  std::string error_;
};

/// Replaces a file's content. On failure the old file stays and `error` (may be null) gets the reason.
bool replaceFile(const Filename& target, std::span<const std::byte> bytes, std::string* error = nullptr);
bool replaceFile(const Filename& target, std::string_view text, std::string* error = nullptr);

/// Removes uncommitted files of writers that have ended from this folder; with `wanted`, only those whose
/// target it accepts. The target's name is known from the uncommitted file, where a stem of more than 100
/// bytes is cut and a suffix of more than 30 is missing.
void removeLeftovers(const Filename& folder,
                     const std::function<bool(const std::string& target)>& wanted = nullptr);

} // namespace host
