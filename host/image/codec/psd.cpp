// PSD: the flat picture beside the layers is read and written, through the library for rare formats.
#include <algorithm>

#include "file_bytes.h"
#include "rare_library.h"

namespace host {
namespace {

// Offsets and numbers of the format's public documentation; the highest byte comes first.
constexpr std::size_t colorMode = 24, headerBytes = 26;
constexpr std::uint32_t profileResource = 1039;

std::uint32_t field(PictureBytes file, std::size_t offset, std::size_t count) {
  return numberAt(file, offset, count, std::endian::big);
}

std::size_t even(std::size_t count) {
  return count + count % 2;
}

/// The ICC profile among the image resources; empty for none. A block has a mark, a number, a name whose
/// first byte is its length, and a length with as many bytes; names and data end at even offsets.
PictureBytes profileIn(PictureBytes file) {
  const std::size_t start = headerBytes + 4 + std::size_t{field(file, headerBytes, 4)};
  const std::size_t end = std::min(file.size(), start + 4 + field(file, start, 4));
  for (std::size_t at = start + 4; at < end && end - at >= 12;) {
    const std::size_t data = at + 6 + even(1 + field(file, at + 6, 1)) + 4;
    if (textOf(file.subspan(at, 4)) != "8BIM" || data > end) break;
    const std::size_t length = field(file, data - 4, 4);
    if (length > end - data) break;
    if (field(file, at + 4, 2) == profileResource) return file.subspan(data, length);
    at = data + even(length);
  }
  return {};
}

bool isGrey(PictureBytes file) {
  constexpr std::uint32_t grey = 1, duotone = 8;
  const std::uint32_t mode = field(file, colorMode, 2);
  return mode == grey || mode == duotone;
}

} // namespace

RawPicture readPsd(PictureBytes file) {
  RawPicture raw = readRare("psd", file);
  const PictureBytes profile = profileIn(file);
  raw.profile.assign(profile.begin(), profile.end());
  if (isGrey(file)) raw.colors = FileColors::grey;
  return raw;
}

FileBytes encodePsd(const FilterJob& job) {
  constexpr LONG largestSide = 30000; // the limit that the format's public documentation gives for its header
  if (job.bitmap.GetBw() > largestSide || job.bitmap.GetBh() > largestSide)
    throw FilterError("was not saved: PSD holds at most 30000 pixels a side");
  return writeRarePsd(job);
}

} // namespace host
