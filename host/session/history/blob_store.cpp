#include "blob_store.h"

#include <filesystem>

#include "atomic_file.h"
#include "file_path.h"
#include "platform.h"
#include "read_file.h"

namespace host {

namespace {

namespace fs = std::filesystem;

// Calls `visit` with the entries of a folder; one that cannot be listed has none.
template <class Visit>
void forEachEntry(const fs::path& folder, const Visit& visit) {
  std::error_code problem;
  for (fs::directory_iterator entry(folder, problem); !problem && entry != fs::directory_iterator();
       entry.increment(problem))
    visit(*entry);
}

} // namespace

BlobStore::BlobStore(Filename folder, WriteFile write)
    : folder_(std::move(folder)), write_(std::move(write)) {
  if (!write_)
    write_ = [](const Filename& file, std::span<const std::byte> bytes, std::string* error) {
      return replaceFile(file, bytes, error);
    };
}

Filename BlobStore::fileOf(const ContentHash& hash) const {
  const std::string text = hash.text();
  return folder_ + Filename(String(text.substr(0, 2))) + Filename(String(text.substr(2)));
}

void BlobStore::open() {
  sizes_.clear();
  bytes_ = 0;
  forEachEntry(toPath(folder_), [this](const fs::directory_entry& part) {
    const std::string start = part.path().filename().string();
    std::error_code problem;
    if (start.size() != 2 || !part.is_directory(problem)) return;
    removeLeftovers(toFilename(part.path()));
    forEachEntry(part.path(), [&](const fs::directory_entry& file) {
      const std::string text = start + file.path().filename().string();
      std::error_code unknown;
      const std::uint64_t size = file.is_regular_file(unknown) ? file.file_size(unknown) : 0;
      if (unknown || !ContentHash::fromText(text)) return;
      sizes_[text] = size;
      bytes_ += size;
    });
  });
}

bool BlobStore::has(const Blob& blob) const {
  platform::FileTimes times; // another program may have removed it
  return !blob.empty() && platform::fileTimes(fileOf(blob.hash).GetString().GetUTF8(), times) &&
         static_cast<std::uint64_t>(times.size) == blob.size;
}

std::optional<Blob> BlobStore::keep(std::span<const std::byte> content, std::string* error) {
  const Blob blob{hashOf(content), content.size()};
  std::uint64_t& size = sizes_[blob.hash.text()];
  const std::uint64_t before = size;
  if (has(blob)) {
    bytes_ += blob.size - before; // it may be another program's
    size = blob.size;
    return blob;
  }
  const Filename file = fileOf(blob.hash);
  if (!platform::makeOwnFolder(file.GetDirectory())) {
    if (error) *error = "its folder cannot be made";
    return std::nullopt;
  }
  if (!write_(file, content, error)) return std::nullopt;
  bytes_ += blob.size - before; // a damaged file of another size was replaced
  size = blob.size;
  return blob;
}

std::optional<std::vector<std::byte>> BlobStore::read(const Blob& blob) {
  if (blob.empty()) return std::nullopt;
  FileContent content = readFile(fileOf(blob.hash), blob.size);
  if (content.fault == ReadFault::none && content.bytes.size() == blob.size &&
      hashOf(content.bytes) == blob.hash)
    return std::move(content.bytes);
  if (content.fault == ReadFault::none || content.fault == ReadFault::missing ||
      content.fault == ReadFault::tooLarge)
    remove(blob.hash);
  return std::nullopt;
}

void BlobStore::remove(const ContentHash& hash) {
  const auto found = sizes_.find(hash.text());
  std::error_code problem;
  fs::remove(toPath(fileOf(hash)), problem);
  if (problem || found == sizes_.end()) return;
  bytes_ -= found->second;
  sizes_.erase(found);
}

void BlobStore::keepOnly(const std::set<ContentHash>& wanted) {
  std::vector<ContentHash> unwanted;
  for (const auto& [text, size] : sizes_)
    if (const auto hash = ContentHash::fromText(text); hash && !wanted.contains(*hash))
      unwanted.push_back(*hash);
  for (const ContentHash& hash : unwanted)
    remove(hash);
}

} // namespace host
