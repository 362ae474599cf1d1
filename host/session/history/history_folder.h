// The history on disk: a folder with an index file for each entry, and the contents that they name, each
// once. A program killed at any moment leaves whole entries; what it left besides is removed at the next
// opening. Several programs may use the folder: they take turns by a lock. One thread at a time.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "blob_store.h"
#include "film_bytes.h"
#include "history_entry.h"
#include "kept_scene.h"

namespace host {

class HistoryFolder {
 public:
  /// Entries beyond `mostBytes` are dropped, oldest first, and when the disk is full; starred ones stay.
  HistoryFolder(Filename folder, std::uint64_t mostBytes, BlobStore::WriteFile write = {});

  /// Removes leftovers and contents that no entry names. Returns the entries, oldest first; damaged ones are
  /// removed too.
  std::vector<HistoryEntryPtr> open();

  struct Content {
    std::shared_ptr<const Film> film;
    ThumbnailPtr thumbnail;
    KeptScenePtr scene;             // may be null
    std::vector<std::byte> picture; // of a file instead of a film; may be empty
  };
  /// The entry with its contents on disk. Entries that were dropped for it, by the budget or by a full disk,
  /// are named in `dropped`. Nothing on failure, with a sentence in `error`; a scene that cannot be kept
  /// leaves an entry without scene.
  std::optional<HistoryEntry> keep(HistoryEntry entry, const Content& content,
                                   std::vector<std::uint64_t>& dropped, std::string* error);
  /// Writes an entry's index file again, with another name, note or star.
  bool update(const HistoryEntry& entry, std::string* error);
  void remove(std::uint64_t id);

  std::shared_ptr<Film> readFilm(const HistoryEntry& entry);
  std::vector<std::byte> readPicture(const HistoryEntry& entry);
  ThumbnailPtr readThumbnail(const HistoryEntry& entry);
  KeptScenePtr readScene(const HistoryEntry& entry);

  /// Bytes of the contents.
  std::uint64_t bytes() const noexcept { return blobs_.bytes(); }
  const Filename& folder() const noexcept { return folder_; }
  Filename pictureFile(const HistoryEntry& entry) const { return blobs_.fileOf(entry.picture.hash); }

 private:
  bool write(HistoryEntry& entry, const Content& content, std::string* error);
  bool writeScene(HistoryEntry& entry, const KeptScene& scene, std::string* error);
  bool keepPieces(std::span<const std::byte> bytes, std::size_t usual, std::vector<Blob>& to,
                  std::string* error);
  bool dropOldest(std::vector<std::uint64_t>& dropped, std::uint64_t keep);
  void readEntries();
  void sweep();
  std::vector<Blob> contentsOf(const HistoryEntry& entry);
  Filename entryFile(std::uint64_t id) const;
  Filename lockFile() const;

  Filename folder_;
  std::uint64_t mostBytes_;
  BlobStore blobs_;
  std::map<std::uint64_t, HistoryEntry> entries_; // by number: oldest first
  KeptScenePtr lastScene_;                        // that was written
  std::vector<Blob> lastStart_;
  Blob lastRest_;
};

} // namespace host
