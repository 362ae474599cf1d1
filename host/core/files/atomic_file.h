// Files that are replaced whole: written beside their target, flushed, renamed. Whoever reads the target sees
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

/// A file on its way. Without `commit` nothing of it stays. A target that is a link is replaced behind the
/// link; a device or pipe is written directly.
class AtomicFile {
 public:
  explicit AtomicFile(const Filename& target);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  /// Makes the file beside the target. The folder must be there.
  bool open();
  /// After the first failure all else fails too; the first reason stays.
  bool write(const void* bytes, std::size_t count);
  bool write(std::string_view text) { return write(text.data(), text.size()); }
  /// From the start. Not for devices and pipes.
  bool seek(long long position);

  /// Where it is written, a hidden file of the suffix "tmp". For a library that opens files itself: `open`,
  /// `closeForOthers`, let it write here, `commit`.
  const Filename& temporary() const noexcept { return temporary_; }
  bool closeForOthers();

  /// Brings it to the disk and puts it in the target's place.
  bool commit();
  /// What went wrong, as a clause to follow the file's name: "No space left on device".
  const std::string& error() const noexcept { return error_; }

 private:
  bool fail(int code);
  bool fail(std::string reason);

  Filename target_, temporary_;
  std::FILE* file_ = nullptr;
  bool direct_ = false, made_ = false, failed_ = false;
  std::string error_;
};

/// Replaces a file by these bytes. On failure the old file stays and `error` (when given) says why.
bool replaceFile(const Filename& target, std::span<const std::byte> bytes, std::string* error = nullptr);
bool replaceFile(const Filename& target, std::string_view text, std::string* error = nullptr);

/// Removes the leftovers of writers that have ended: files in this folder that were not committed. With
/// `wanted` only those whose target it accepts; it gets the target's name as the leftover tells it, where a
/// stem of more than 100 bytes is cut and a suffix of more than 30 is missing.
void removeLeftovers(const Filename& folder,
                     const std::function<bool(const std::string& target)>& wanted = nullptr);

} // namespace host
