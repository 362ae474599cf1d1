// BMP: read through the library for rare formats, written as plain pixels of 24 bits, which every reader of
// the format knows.
#include <algorithm>

#include "file_bytes.h"
#include "full_palette.h"
#include "rare_library.h"

namespace host {
namespace {

constexpr std::size_t fileHeader = 14, pictureHeader = 40, oldHeader = 12; // bytes
constexpr std::size_t pixelsAt = 10, colorsAt = 46;                        // offsets

std::uint32_t field(PictureBytes file, std::size_t offset, std::size_t count) {
  return numberAt(file, offset, count, std::endian::little);
}

struct Header {
  std::size_t pixels, bytes; // where the pixels begin, how long the header is
  std::uint32_t bits;
  std::size_t entryBytes() const { return bytes == oldHeader ? 3 : 4; }
};

Header headerOf(PictureBytes file) {
  const std::size_t bytes = field(file, fileHeader, 4);
  return {field(file, pixelsAt, 4), bytes, field(file, bytes == oldHeader ? 24 : 28, 2)};
}

void add(FileBytes& bytes, std::size_t value, int count) {
  for (int i = 0; i < count; ++i)
    bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

} // namespace

/// Headers that exist, and plain pixels that are all there.
bool plausibleBmp(PictureBytes file) {
  if (file.size() < 30) return false;
  const Header header = headerOf(file);
  if (header.pixels >= file.size()) return false;
  if (header.bytes == oldHeader) return true;
  if (header.bytes < pictureHeader || header.bytes > 124 || file.size() < fileHeader + header.bytes)
    return false;
  const auto width = static_cast<std::int32_t>(field(file, 18, 4));
  const auto height = static_cast<std::int32_t>(field(file, 22, 4));
  const std::uint32_t bits = header.bits, packing = field(file, 30, 4);
  if (width <= 0 || height == 0 || height == INT32_MIN) return false;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32) return false;
  if (packing == 1 || packing == 2) return true;
  const std::uint64_t row = (static_cast<std::uint64_t>(width) * bits + 31) / 32 * 4;
  const auto rows = static_cast<std::uint64_t>(height < 0 ? -static_cast<std::int64_t>(height) : height);
  return header.pixels + row * rows <= file.size();
}

/// A palette gets the 2, 16 or 256 colours that a pixel can name.
RawPicture readBmp(PictureBytes file) {
  const Header header = headerOf(file);
  if (header.bits > 8) return readRare("bmp", file);
  const std::size_t most = std::size_t{1} << header.bits, at = fileHeader + header.bytes;
  std::size_t entries = header.bytes == oldHeader ? 0 : field(file, colorsAt, 4);
  if (entries == 0) entries = most;
  if (entries > most || header.pixels < at) throw DamagedPicture("its palette is not one");
  entries = std::min(entries, (header.pixels - at) / header.entryBytes()); // some are shorter than they say
  if (entries == most) return readRare("bmp", file);
  FileBytes full = withFullPalette(file, {at, entries, header.entryBytes()}, most);
  putNumber(full, pixelsAt, header.pixels + full.size() - file.size(), 4);
  if (header.bytes != oldHeader) putNumber(full, colorsAt, most, 4);
  return readRare("bmp", std::as_bytes(std::span(full)));
}

FileBytes encodeBmp(const FilterJob& job) {
  const auto width = static_cast<std::size_t>(job.bitmap.GetBw());
  const auto height = static_cast<std::size_t>(job.bitmap.GetBh());
  const std::size_t row = (width * 3 + 3) / 4 * 4, start = fileHeader + pictureHeader;
  if (start + row * height > 0xffffffff)
    throw FilterError("was not saved: BMP holds at most 4 GB. Choose PNG, TIFF or OpenEXR");
  FileBytes file;
  file.reserve(start + row * height);
  file.assign({'B', 'M'});
  add(file, start + row * height, 4);
  add(file, 0, 4);
  add(file, start, 4);
  add(file, pictureHeader, 4);
  add(file, width, 4);
  add(file, height, 4); // positive: rows from the bottom
  add(file, 1, 2);
  add(file, 24, 2);
  add(file, 0, 4); // not packed
  add(file, row * height, 4);
  file.resize(start + row * height); // no resolution, no palette; then the pixels
  const FileBytes pixels = pixelBytes({job.bitmap, false, nullptr});
  for (std::size_t y = 0; y < height; ++y) {
    const unsigned char* from = pixels.data() + (height - 1 - y) * width * 3;
    unsigned char* to = file.data() + start + y * row;
    for (std::size_t x = 0; x < width; ++x, from += 3, to += 3) {
      to[0] = from[2];
      to[1] = from[1];
      to[2] = from[0];
    }
  }
  return file;
}

} // namespace host
