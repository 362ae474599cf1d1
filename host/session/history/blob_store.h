// Files named by the hash of their content, in one folder: equal content is kept once. A file is written
// beside, flushed and renamed, so it is there whole or not at all. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "c4d_filename.h"
#include "content_hash.h"

namespace host {

/// Content that a store keeps.
struct Blob {
  ContentHash hash;
  std::uint64_t size = 0; // bytes; 0: no content

  bool empty() const noexcept { return size == 0; }
  friend bool operator==(const Blob&, const Blob&) = default;
};

class BlobStore {
 public:
  /// Replaces a file whole; false with a reason as a clause.
  using WriteFile = std::function<bool(const Filename&, std::span<const std::byte>, std::string* error)>;
  /// The folder is made with the first content. `write`: `replaceFile` unless a test needs another one.
  explicit BlobStore(Filename folder, WriteFile write = {});

  /// Looks at the files that are there, and removes what killed programs left unfinished.
  void open();
  /// Keeps content that is not empty. Nothing on failure, with the system's reason as a clause in `error`.
  std::optional<Blob> keep(std::span<const std::byte> content, std::string* error);
  /// The content; nothing when it is missing, or its size or hash is another one: then it is removed, so that
  /// the next `keep` of this content mends it.
  std::optional<std::vector<std::byte>> read(const Blob& blob);
  /// Whether a file of its name and size is there.
  bool has(const Blob& blob) const;
  /// Removes all other content.
  void keepOnly(const std::set<ContentHash>& wanted);
  /// Bytes of all content.
  std::uint64_t bytes() const noexcept { return bytes_; }
  Filename fileOf(const ContentHash& hash) const;

 private:
  void remove(const ContentHash& hash);

  Filename folder_;
  WriteFile write_;
  std::unordered_map<std::string, std::uint64_t> sizes_; // of the files, by the hash's text
  std::uint64_t bytes_ = 0;
};

} // namespace host
