// Readers and writers of picture files, one file a format. Private to host/image.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "c4d_bitmap.h"
#include "desk_look.h"
#include "film.h"
#include "picture_decode.h"
#include "primaries.h"

namespace host {

using PictureBytes = std::span<const std::byte>;
using FileBytes = std::vector<unsigned char>;

struct FilterJob {
  const BaseBitmap& bitmap;
  bool alpha;                     // wanted, and the bitmap has one
  const BaseContainer* options;   // null for none
  const DeskLook* deep = nullptr; // 16 bits a channel, of light that this changes; null: 8 bits
};

/// A picture that a writer could not encode; the text is a clause that follows the file's name.
struct FilterError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A picture that a reader rejects. The text is a clause that follows the picture's name.
struct PictureError : std::runtime_error {
  explicit PictureError(IMAGERESULT code, const std::string& clause) : runtime_error(clause), result(code) {}
  IMAGERESULT result;
};
/// A damaged or cut file; the text says more about it, or nothing.
struct DamagedPicture : PictureError {
  explicit DamagedPicture(const std::string& detail = {}) : PictureError(IMAGERESULT_FILESTRUCTURE, detail) {}
};

/// The colours that a file holds.
enum class FileColors : std::uint8_t {
  grey, // spread over red, green and blue
  rgb,
  inks // cyan, magenta, yellow and black in the four channels, 0 means no ink; without alpha
};

/// A file's pixels before its colour profile and its orientation are applied.
struct RawPicture {
  DecodedPicture picture;
  FileColors colors = FileColors::rgb;
  std::vector<std::byte> profile;      // ICC; may be empty
  int orientation = 1;                 // EXIF's and TIFF's, 1 to 8
  bool namesPrimaries = false;         // of its floats
  std::optional<ColorMatrix> toRec709; // where they are others
};

// Each reads the whole of a file whose first bytes are of its kind. Throws PictureError, std::bad_alloc, or
// another std::exception for a damaged file. Any thread.
RawPicture readPng(PictureBytes file);
RawPicture readJpeg(PictureBytes file);
RawPicture readTiff(PictureBytes file); // the first picture of the file
RawPicture readExr(PictureBytes file);  // the data window of the first part with colours
RawPicture readWebp(PictureBytes file); // of an animation the first frame
RawPicture readBmp(PictureBytes file);
RawPicture readPsd(PictureBytes file); // its flat picture
RawPicture readHdr(PictureBytes file);
RawPicture readGif(PictureBytes file); // the first frame
RawPicture readPnm(PictureBytes file);
RawPicture readTga(PictureBytes file);

// Cheap checks of a header against the size of the file, before memory is allocated. False means damaged.
bool plausiblePng(PictureBytes file);
bool plausibleJpeg(PictureBytes file);
bool plausibleExr(PictureBytes file);
bool plausibleBmp(PictureBytes file);
bool plausibleTga(PictureBytes file);

// Each throws FilterError or std::bad_alloc. Any thread.
FileBytes encodeTiff(const FilterJob& job); // LZW; with alpha when wanted, straight
FileBytes encodeBmp(const FilterJob& job);  // no alpha
FileBytes encodeJpeg(const FilterJob& job); // no alpha; JPGSAVER_QUALITY, default 90
FileBytes encodePng(const FilterJob& job);  // with alpha when wanted, straight; the one that can be deep
/// Linear. Numbers are 32-bit floats, colours as exrSaverHalf says. A pixel holds the film's value where the
/// film shows as what the bitmap has; a pixel that was drawn over since (a stamp, a banner), or a bitmap
/// without film, holds the linear light of its codes. With alpha the colours are multiplied by it, as the
/// format's readers expect: the surfaces' light without the sky's. The film's layers follow under their
/// names, "beauty" (the colour with its noise) among them when the picture was denoised. With a compression
/// that changes 32-bit floats, layers of numbers are in a second part, packed without loss. The film's notes
/// are attributes.
FileBytes encodeExr(const FilterJob& job);
FileBytes
encodeWebp(const FilterJob& job);          // lossless, or lossy with webpSaverQuality; with alpha when wanted
FileBytes encodePsd(const FilterJob& job); // 8 bits a channel; with alpha when wanted, straight
FileBytes encodeOpenRaster(const FilterJob& job); // a document of one layer; with alpha when wanted

/// Sets the size of `picture`, for values of `valueBytes` each. Throws PictureError when a side has no or too
/// many pixels, or the pixels do not fit into memory.
void startPicture(DecodedPicture& picture, std::uint64_t width, std::uint64_t height, std::size_t valueBytes);

/// The memory that a picture gets on its word alone, in bytes.
inline constexpr std::size_t earlyMemory = 16 << 20;

/// Adds a row of four channels to the picture's pixels and gives its start. Memory for the whole picture is
/// taken once rows have come: a short file that claims a huge picture fails before it costs anything.
template <class Value>
Value* addRow(const DecodedPicture& picture, std::vector<Value>& pixels) {
  const std::size_t before = pixels.size(), row = static_cast<std::size_t>(picture.width) * 4;
  const std::size_t all = row * static_cast<std::size_t>(picture.height);
  if (before == 0) pixels.reserve(std::max(row, std::min(all, earlyMemory / sizeof(Value))));
  if (pixels.capacity() - before < row) pixels.reserve(all);
  pixels.resize(before + row);
  return pixels.data() + before;
}

/// The orientation in a block of EXIF data (without JPEG's "Exif" mark); 1 when it is missing.
int exifOrientation(PictureBytes exif) noexcept;

/// A block of EXIF data that names the program that wrote the picture.
std::vector<unsigned char> exifSoftware();
inline constexpr char writingProgram[] = "Lumenara";

/// Where the picture comes from, when the job's options want it in the file; else empty.
PictureOrigin originOf(const FilterJob& job);
/// The same as an XMP packet; empty when there is nothing to say.
std::string originPacket(const FilterJob& job);

/// The bitmap's pixels as red, green, blue and, when the job wants it, alpha: 8 bits each, rows from the top.
/// With alpha, rendered pixels have the colour of the surfaces in them, whatever their coverage.
FileBytes pixelBytes(const FilterJob& job);
/// The same with 16 bits each, of a job that is deep.
std::vector<std::uint16_t> pixelWords(const FilterJob& job);

} // namespace host
