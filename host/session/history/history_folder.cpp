#include "history_folder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <new>
#include <system_error>

#include "atomic_file.h"
#include "content_chunks.h"
#include "file_path.h"
#include "platform.h"
#include "read_file.h"

namespace host {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t usualText = 8 << 10, usualData = 256 << 10; // bytes of a piece
constexpr std::size_t mostEntryBytes = 64 << 20;
constexpr std::uint64_t mostSceneBytes = std::uint64_t{8} << 30;
constexpr int lockPatience = 10'000; // milliseconds

// The length of a .glb's JSON with what stands before it: it changes with every edit, the data behind it
// does not.
std::size_t startOf(const std::vector<std::byte>& glb) {
  std::uint32_t json = 0;
  if (glb.size() < 20) return glb.size();
  std::memcpy(&json, glb.data() + 12, sizeof json);
  return std::min<std::size_t>(std::size_t{20} + json, glb.size());
}

std::vector<std::byte> thumbnailBytes(const Thumbnail& thumbnail) {
  std::vector<std::byte> bytes{static_cast<std::byte>(thumbnail.width & 255),
                               static_cast<std::byte>(thumbnail.height & 255)};
  const auto pixels = std::as_bytes(std::span(thumbnail.rgb));
  bytes.insert(bytes.end(), pixels.begin(), pixels.end());
  return bytes;
}
static_assert(Thumbnail::mostPixels < 256);

bool isFullDisk(const std::string& reason) {
  const auto is = [&](std::errc code) { return reason == std::make_error_code(code).message(); };
  return is(std::errc::no_space_on_device) || reason == std::system_category().message(EDQUOT);
}

} // namespace

HistoryFolder::HistoryFolder(Filename folder, std::uint64_t mostBytes, BlobStore::WriteFile write)
    : folder_(std::move(folder)), mostBytes_(mostBytes), blobs_(folder_ + Filename("content"), write) {
}

Filename HistoryFolder::entryFile(std::uint64_t id) const {
  return folder_ + Filename("entries") + Filename(String(std::to_string(id) + ".txt"));
}

Filename HistoryFolder::lockFile() const {
  return folder_ + Filename("lock");
}

// Reads the entries that this program does not know, and forgets those that another one has removed.
void HistoryFolder::readEntries() {
  std::map<std::uint64_t, HistoryEntry> there;
  std::error_code problem;
  const fs::path folder = toPath(folder_ + Filename("entries"));
  std::vector<fs::path> damaged;
  for (fs::directory_iterator file(folder, problem); !problem && file != fs::directory_iterator();
       file.increment(problem)) {
    if (file->path().extension() != ".txt") continue;
    const FileContent content = readFile(toFilename(file->path()), mostEntryBytes);
    if (content.fault == ReadFault::failed || content.fault == ReadFault::unreachable) continue;
    const auto entry = entryFromText(content.text());
    if (entry && file->path().stem() == std::to_string(entry->id))
      there.emplace(entry->id, *entry);
    else
      damaged.push_back(file->path());
  }
  for (const fs::path& file : damaged)
    fs::remove(file, problem);
  entries_ = std::move(there);
}

std::vector<HistoryEntryPtr> HistoryFolder::open() {
  std::error_code problem;
  if (!fs::is_directory(toPath(folder_), problem)) return {};
  const platform::FileLock lock(lockFile(), lockPatience);
  removeLeftovers(folder_ + Filename("entries"));
  blobs_.open();
  readEntries();
  sweep();
  std::vector<HistoryEntryPtr> entries;
  for (const auto& [id, entry] : entries_)
    entries.push_back(std::make_shared<HistoryEntry>(entry));
  return entries;
}

std::vector<Blob> HistoryFolder::contentsOf(const HistoryEntry& entry) {
  std::vector<Blob> contents{entry.film, entry.thumbnail, entry.picture, entry.sceneRest};
  contents.insert(contents.end(), entry.sceneStart.begin(), entry.sceneStart.end());
  if (const auto list = blobs_.read(entry.sceneRest))
    if (const auto rest = blobsFromList(*list)) contents.insert(contents.end(), rest->begin(), rest->end());
  return contents;
}

// Removes contents that no entry names.
void HistoryFolder::sweep() {
  std::set<ContentHash> wanted;
  for (const auto& [id, entry] : entries_)
    for (const Blob& blob : contentsOf(entry))
      wanted.insert(blob.hash);
  blobs_.keepOnly(wanted);
}

bool HistoryFolder::keepPieces(std::span<const std::byte> bytes, std::size_t usual, std::vector<Blob>& to,
                               std::string* error) {
  for (const auto piece : chunksOf(bytes, usual)) {
    const auto blob = blobs_.keep(piece, error);
    if (!blob) return false;
    to.push_back(*blob);
  }
  return true;
}

bool HistoryFolder::writeScene(HistoryEntry& entry, const KeptScene& scene, std::string* error) {
  const std::vector<std::byte> glb = sceneToBytes(scene, error);
  if (glb.empty()) return false;
  const std::size_t start = startOf(glb);
  const std::span<const std::byte> all(glb);
  std::vector<Blob> rest;
  if (!keepPieces(all.first(start), usualText, entry.sceneStart, error) ||
      !keepPieces(all.subspan(start), usualData, rest, error))
    return false;
  if (rest.empty()) return true;
  const auto list = blobs_.keep(blobList(rest), error);
  if (list) entry.sceneRest = *list;
  return list.has_value();
}

// Contents first, then the entry that names them.
bool HistoryFolder::write(HistoryEntry& entry, const Content& content, std::string* error) {
  const auto put = [&](std::span<const std::byte> bytes, Blob& to) {
    const auto blob = bytes.empty() ? std::optional<Blob>(Blob()) : blobs_.keep(bytes, error);
    if (blob) to = *blob;
    return blob.has_value();
  };
  if (content.film && !put(filmToBytes(*content.film), entry.film)) return false;
  if (!put(content.picture, entry.picture)) return false;
  if (content.thumbnail && !put(thumbnailBytes(*content.thumbnail), entry.thumbnail)) return false;
  if (content.scene && content.scene == lastScene_) { // rendered again without a change
    entry.sceneStart = lastStart_;
    entry.sceneRest = lastRest_;
  } else if (content.scene) {
    if (!writeScene(entry, *content.scene, error)) return false;
    lastScene_ = content.scene;
    lastStart_ = entry.sceneStart;
    lastRest_ = entry.sceneRest;
  }
  return replaceFile(entryFile(entry.id), entryToText(entry), error);
}

std::optional<HistoryEntry> HistoryFolder::keep(HistoryEntry entry, const Content& content,
                                                std::vector<std::uint64_t>& dropped, std::string* error) {
  std::string why;
  if (!platform::makeOwnFolder(folder_ + Filename("entries"))) {
    if (error) *error = "its folder cannot be made";
    return std::nullopt;
  }
  const platform::FileLock lock(lockFile(), lockPatience);
  readEntries();
  const HistoryEntry empty = entry;
  bool written = false;
  try {
    // Contents that the last entry shares may have been dropped with it.
    for (;;) {
      entry = empty;
      written = write(entry, content, &why);
      if (written || !isFullDisk(why) || !dropOldest(dropped, entry.id)) break;
      lastScene_.reset();
    }
  } catch (const std::bad_alloc&) {
    why = "there is not enough memory";
  }
  if (!written) {
    sweep();
    if (error) *error = why;
    return std::nullopt;
  }
  entries_[entry.id] = entry;
  while (blobs_.bytes() > mostBytes_ && dropOldest(dropped, entry.id))
    lastScene_.reset();
  return entry;
}

// False when no other entry can go.
bool HistoryFolder::dropOldest(std::vector<std::uint64_t>& dropped, std::uint64_t keep) {
  for (const auto& [id, entry] : entries_) {
    if (id == keep || entry.starred) continue;
    dropped.push_back(id);
    std::error_code problem;
    fs::remove(toPath(entryFile(id)), problem);
    entries_.erase(id);
    sweep();
    return true;
  }
  return false;
}

bool HistoryFolder::update(const HistoryEntry& entry, std::string* error) {
  const platform::FileLock lock(lockFile(), lockPatience);
  if (!replaceFile(entryFile(entry.id), entryToText(entry), error)) return false;
  entries_[entry.id] = entry;
  return true;
}

void HistoryFolder::remove(std::uint64_t id) {
  const platform::FileLock lock(lockFile(), lockPatience);
  std::error_code problem;
  fs::remove(toPath(entryFile(id)), problem);
  readEntries();
  sweep();
  lastScene_.reset();
}

std::shared_ptr<Film> HistoryFolder::readFilm(const HistoryEntry& entry) {
  const auto bytes = blobs_.read(entry.film);
  return bytes ? filmFromBytes(*bytes) : nullptr;
}

std::vector<std::byte> HistoryFolder::readPicture(const HistoryEntry& entry) {
  return blobs_.read(entry.picture).value_or(std::vector<std::byte>());
}

ThumbnailPtr HistoryFolder::readThumbnail(const HistoryEntry& entry) {
  const auto bytes = blobs_.read(entry.thumbnail);
  if (!bytes || bytes->size() < 2) return nullptr;
  auto thumbnail = std::make_shared<Thumbnail>();
  thumbnail->width = std::to_integer<int>((*bytes)[0]);
  thumbnail->height = std::to_integer<int>((*bytes)[1]);
  const std::size_t pixels =
      static_cast<std::size_t>(thumbnail->width) * static_cast<std::size_t>(thumbnail->height);
  if (thumbnail->width > Thumbnail::mostPixels || thumbnail->height > Thumbnail::mostPixels || pixels == 0 ||
      bytes->size() != 2 + 3 * pixels)
    return nullptr;
  const auto* start = reinterpret_cast<const unsigned char*>(bytes->data());
  thumbnail->rgb.assign(start + 2, start + bytes->size());
  return thumbnail;
}

KeptScenePtr HistoryFolder::readScene(const HistoryEntry& entry) {
  if (!entry.hasScene()) return nullptr;
  std::vector<Blob> pieces = entry.sceneStart;
  if (!entry.sceneRest.empty()) {
    const auto list = blobs_.read(entry.sceneRest);
    const auto rest = list ? blobsFromList(*list) : std::nullopt;
    if (!rest) return nullptr;
    pieces.insert(pieces.end(), rest->begin(), rest->end());
  }
  std::vector<std::byte> glb;
  for (const Blob& piece : pieces) {
    const auto bytes = blobs_.read(piece);
    if (!bytes || glb.size() + bytes->size() > mostSceneBytes) return nullptr;
    glb.insert(glb.end(), bytes->begin(), bytes->end());
  }
  return sceneFromBytes(glb, Filename(String(std::string_view(entry.sceneFolder))));
}

} // namespace host
