#include "history_entry.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "container_json.h"

namespace host {

namespace {

constexpr std::string_view title = "Lumenara history 1 ";
constexpr std::size_t mostPieces = 1 << 20;

// Numbers of the entries of the container; they never change their meaning.
enum Id : LONG {
  idNumber = 1, // as text: containers have no unsigned numbers
  idName,
  idNote,
  idStarred,
  idScene,
  idCamera,
  idSceneFolder,
  idTime,
  idWidth,
  idHeight,
  idSamples,
  idFrame,
  idSeconds,
  idByPlugin,
  idSettings,
  idSourceFile,
  idSourceModified,
  idSourceSize,
  idFilm,
  idThumbnail,
  idPicture,
  idPictureSuffix,
  idSceneStart,
  idSceneRest,
  idPictureSamples
};

String text(const std::string& utf8) {
  return String(std::string_view(utf8));
}

std::string blobText(const Blob& blob) {
  return blob.empty() ? std::string() : blob.hash.text() + " " + std::to_string(blob.size);
}

// False for a malformed text. An empty text names no content.
bool readBlob(std::string_view text, Blob& blob) {
  blob = {};
  if (text.empty()) return true;
  constexpr std::size_t digits = 64;
  const auto hash = ContentHash::fromText(text.substr(0, digits));
  if (!hash || text.size() < digits + 2 || text.size() > digits + 16 || text[digits] != ' ') return false;
  std::uint64_t size = 0;
  for (const char c : text.substr(digits + 1)) {
    if (c < '0' || c > '9') return false;
    size = size * 10 + static_cast<std::uint64_t>(c - '0');
  }
  blob = {*hash, size};
  return size > 0;
}

bool readBlobs(std::string_view text, std::vector<Blob>& blobs) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (blobs.size() >= mostPieces || !readBlob(text.substr(0, end), blobs.emplace_back())) return false;
    if (blobs.back().empty()) return false;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return true;
}

std::string hexText(const std::vector<unsigned char>& bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

// A picture is known by its samples or not at all: other texts give none.
std::vector<unsigned char> readSamples(std::string_view text) {
  constexpr std::size_t count = std::size_t{3} * HistoryEntry::samplesAcross * HistoryEntry::samplesAcross;
  if (text.size() != 2 * count) return {};
  std::vector<unsigned char> bytes(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::string_view pair = text.substr(2 * i, 2);
    if (std::from_chars(pair.data(), pair.data() + 2, bytes[i], 16).ptr != pair.data() + 2) return {};
  }
  return bytes;
}

BaseContainer toContainer(const HistoryEntry& entry) {
  BaseContainer to;
  to.SetString(idNumber, text(std::to_string(entry.id)));
  to.SetString(idName, text(entry.name));
  to.SetString(idNote, text(entry.note));
  to.SetBool(idStarred, entry.starred ? TRUE : FALSE);
  to.SetString(idScene, text(entry.scene));
  to.SetString(idCamera, text(entry.camera));
  to.SetString(idSceneFolder, text(entry.sceneFolder));
  to.SetLLong(idTime, entry.time);
  to.SetLong(idWidth, entry.width);
  to.SetLong(idHeight, entry.height);
  to.SetLong(idSamples, entry.samples);
  to.SetLong(idFrame, entry.frame);
  to.SetReal(idSeconds, entry.seconds);
  to.SetBool(idByPlugin, entry.byPlugin ? TRUE : FALSE);
  to.SetContainer(idSettings, entry.settings);
  to.SetString(idSourceFile, text(entry.source.file));
  to.SetLLong(idSourceModified, entry.source.modified);
  to.SetLLong(idSourceSize, entry.source.size);
  to.SetString(idFilm, text(blobText(entry.film)));
  to.SetString(idThumbnail, text(blobText(entry.thumbnail)));
  to.SetString(idPicture, text(blobText(entry.picture)));
  to.SetString(idPictureSuffix, text(entry.pictureSuffix));
  std::string pieces;
  for (const Blob& piece : entry.sceneStart)
    pieces += (pieces.empty() ? "" : "\n") + blobText(piece);
  to.SetString(idSceneStart, text(pieces));
  to.SetString(idSceneRest, text(blobText(entry.sceneRest)));
  if (!entry.pictureSamples.empty()) to.SetString(idPictureSamples, text(hexText(entry.pictureSamples)));
  return to;
}

bool isSuffix(const std::string& suffix) {
  return suffix.size() <= 8 && std::all_of(suffix.begin(), suffix.end(), [](unsigned char c) {
           return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z');
         });
}

bool readBlobsOf(const BaseContainer& from, HistoryEntry& entry) {
  return readBlob(from.GetString(idFilm).GetUTF8(), entry.film) &&
         readBlob(from.GetString(idThumbnail).GetUTF8(), entry.thumbnail) &&
         readBlob(from.GetString(idPicture).GetUTF8(), entry.picture) &&
         readBlobs(from.GetString(idSceneStart).GetUTF8(), entry.sceneStart) &&
         readBlob(from.GetString(idSceneRest).GetUTF8(), entry.sceneRest);
}

bool isInRange(const HistoryEntry& entry) {
  constexpr int mostSide = 32768;
  return entry.id != 0 && entry.width >= 0 && entry.width <= mostSide && entry.height >= 0 &&
         entry.height <= mostSide && entry.samples >= 0 && std::isfinite(entry.seconds) &&
         entry.seconds >= 0 && isSuffix(entry.pictureSuffix) && entry.onDisk();
}

} // namespace

std::string entryToText(const HistoryEntry& entry) {
  const std::string body = containerToJson(toContainer(entry)) + "\n";
  return std::string(title) + hashOf(std::as_bytes(std::span(body))).text() + "\n" + body;
}

std::optional<HistoryEntry> entryFromText(std::string_view whole) {
  constexpr std::size_t digits = 64, start = title.size() + digits + 1;
  if (whole.size() < start || !whole.starts_with(title) || whole[start - 1] != '\n') return std::nullopt;
  const std::string_view body = whole.substr(start);
  if (ContentHash::fromText(whole.substr(title.size(), digits)) != hashOf(std::as_bytes(std::span(body))))
    return std::nullopt;
  BaseContainer from;
  if (!containerFromJson(body, from)) return std::nullopt;
  HistoryEntry entry;
  const String number = from.GetString(idNumber);
  for (const char c : number.GetUTF8()) {
    if (c < '0' || c > '9') return std::nullopt;
    entry.id = entry.id * 10 + static_cast<std::uint64_t>(c - '0');
  }
  entry.name = from.GetString(idName).GetUTF8();
  entry.note = from.GetString(idNote).GetUTF8();
  entry.starred = from.GetBool(idStarred) != FALSE;
  entry.scene = from.GetString(idScene).GetUTF8();
  entry.camera = from.GetString(idCamera).GetUTF8();
  entry.sceneFolder = from.GetString(idSceneFolder).GetUTF8();
  entry.time = from.GetLLong(idTime);
  entry.width = from.GetLong(idWidth);
  entry.height = from.GetLong(idHeight);
  entry.samples = from.GetLong(idSamples);
  entry.frame = from.GetLong(idFrame);
  entry.seconds = from.GetReal(idSeconds);
  entry.byPlugin = from.GetBool(idByPlugin) != FALSE;
  entry.settings = from.GetContainer(idSettings);
  entry.source = {from.GetString(idSourceFile).GetUTF8(), from.GetLLong(idSourceModified),
                  from.GetLLong(idSourceSize)};
  entry.pictureSuffix = from.GetString(idPictureSuffix).GetUTF8();
  entry.pictureSamples = readSamples(from.GetString(idPictureSamples).GetUTF8());
  if (!readBlobsOf(from, entry) || !isInRange(entry)) return std::nullopt;
  return entry;
}

std::vector<std::byte> blobList(const std::vector<Blob>& blobs) {
  std::vector<std::byte> bytes;
  bytes.reserve(blobs.size() * 40);
  for (const Blob& blob : blobs) {
    for (const std::uint8_t byte : blob.hash.bytes)
      bytes.push_back(static_cast<std::byte>(byte));
    for (int i = 0; i < 8; ++i)
      bytes.push_back(static_cast<std::byte>((blob.size >> (8 * i)) & 255));
  }
  return bytes;
}

std::optional<std::vector<Blob>> blobsFromList(std::span<const std::byte> bytes) {
  if (bytes.size() % 40 != 0 || bytes.size() / 40 > mostPieces) return std::nullopt;
  std::vector<Blob> blobs(bytes.size() / 40);
  for (Blob& blob : blobs) {
    std::memcpy(blob.hash.bytes.data(), bytes.data(), blob.hash.bytes.size());
    for (int i = 0; i < 8; ++i)
      blob.size |= std::to_integer<std::uint64_t>(bytes[static_cast<std::size_t>(32 + i)]) << (8 * i);
    bytes = bytes.subspan(40);
  }
  return blobs;
}

} // namespace host
