// An entry of the history: a finished render, or the own copy of a picture. Immutable; a change makes another
// one with the same id.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "blob_store.h"
#include "c4d_container.h"

namespace host {

/// A small picture: red, green and blue of each pixel, rows from the top.
struct Thumbnail {
  static constexpr int mostPixels = 192; // a side
  int width = 0, height = 0;
  std::vector<unsigned char> rgb;
};
using ThumbnailPtr = std::shared_ptr<const Thumbnail>;

/// A file of a plug-in's folder, as it was when it was looked at.
struct SourceFile {
  std::string file;
  std::int64_t modified = 0, size = 0;
  friend bool operator==(const SourceFile&, const SourceFile&) = default;
};

struct HistoryEntry {
  std::uint64_t id = 0; // above 0, unique in the folder
  std::string name, note;
  bool starred = false;
  std::string scene, camera, sceneFolder; // `sceneFolder`: outside pictures are named from it
  std::int64_t time = 0;                  // seconds since 1970
  int width = 0, height = 0, samples = 0;
  LONG frame = 0;
  double seconds = 0;     // that the render took
  bool byPlugin = false;  // rendered by the viewer
  BaseContainer settings; // of the render
  SourceFile source;      // of a picture's copy; empty for renders
  static constexpr int samplesAcross = 24;
  std::vector<unsigned char> pictureSamples; // see samplesOf; may be empty

  // Content in the folder; empty: not kept.
  Blob film, thumbnail, picture;
  std::string pictureSuffix;
  std::vector<Blob> sceneStart; // the scene file's JSON in pieces
  Blob sceneRest;               // the list of the pieces that follow

  bool onDisk() const noexcept { return !film.empty() || !picture.empty(); }
  bool hasScene() const noexcept { return !sceneStart.empty(); }
};
using HistoryEntryPtr = std::shared_ptr<const HistoryEntry>;

/// The file of an entry: a line with the hash of all that follows, then a container as JSON.
std::string entryToText(const HistoryEntry& entry);
/// Nothing for a damaged text or values out of range.
std::optional<HistoryEntry> entryFromText(std::string_view text);

/// A list of contents: 40 bytes each.
std::vector<std::byte> blobList(const std::vector<Blob>& blobs);
std::optional<std::vector<Blob>> blobsFromList(std::span<const std::byte> bytes);

} // namespace host
