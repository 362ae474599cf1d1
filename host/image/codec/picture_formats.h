// The table of picture formats. Lists, readers and writers of formats all use it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "c4d_bitmap.h"

namespace host {

/// The number of WebP for `BaseBitmap::Save`, and the option that makes it lossy with a quality of 1 to 100;
/// without it the file is lossless. Numbers of this host.
inline constexpr LONG filterWebp = 1990001;
inline constexpr LONG webpSaverQuality = 1990002;
/// Options of OpenEXR: (BOOL, FALSE) colours as 16-bit floats; (LONG, 3) an index into `exrCompressions`.
inline constexpr LONG exrSaverHalf = 1990003, exrSaverCompression = 1990004;
/// (BOOL, FALSE) The samples behind the film go into the file (film_samples.h).
inline constexpr LONG exrSaverSamples = 1990006;
/// (container) Where the picture comes from; see picture_origin.h.
inline constexpr LONG saverOrigin = 1990005;
/// Names of OpenEXR's compressions, by their numbers in the format.
std::span<const std::string_view> exrCompressions() noexcept;

struct FilterJob;
struct RawPicture;

/// The kind of a writer's option.
enum class WriterOption : std::uint8_t { none, quality };

/// A kind of picture file.
struct PictureFileFormat {
  const char* name;                    // "PNG", as messages say it
  std::array<const char*, 4> suffixes; // lower case, without the point; the first is the usual one
  LONG filter;                         // for `BaseBitmap::Save`; 0: it is not written
  bool alpha;                          // a written file holds the alpha channel when that is wanted
  const char* depths;                  // of the pixels that are read: "8, 16", "float" ...
  WriterOption option;
  /// Whether the file's bytes are of this kind; its name counts only where they cannot tell.
  bool (*recognises)(std::span<const std::byte> file, const std::string& name);
  bool (*plausible)(std::span<const std::byte> file);  // null: the reader finds out; see picture_codec.h
  RawPicture (*read)(std::span<const std::byte> file); // null: it is not read
  std::vector<unsigned char> (*write)(const FilterJob& job);
};

/// All of them, in the order in which programs list them. Any thread.
std::span<const PictureFileFormat> pictureFileFormats() noexcept;

/// The format of these bytes; null when it is not one that we read. Looking at the bytes first keeps a
/// file's name from choosing a reader that has nothing to do with it.
const PictureFileFormat* recognisePicture(std::span<const std::byte> file, const std::string& name);

/// The format with this number, or that writes files of this suffix (with or without capitals); null for
/// none.
const PictureFileFormat* formatOfFilter(LONG filter) noexcept;
const PictureFileFormat* formatOfSuffix(std::string_view suffix) noexcept;

/// Whether files of the format with this number can have 16 bits a channel (picture_save.h).
bool holdsDeep(LONG filter) noexcept;

/// True for the suffix of a picture that is read, with or without capitals.
bool isPictureSuffix(std::string_view suffix) noexcept;

/// The bytes of a picture file in the format of this number, which must be one that is written; without
/// alpha. Throws std::exception when the format cannot hold the picture.
std::vector<unsigned char> encodePicture(const BaseBitmap& bitmap, LONG filter,
                                         const BaseContainer* options = nullptr);

/// "TIFF, BMP, JPEG or PNG": the names of the formats that are read, or of those that are written.
std::string namesOfReadFormats();
std::string namesOfWrittenFormats();

} // namespace host
