// BMP: plain pixels of 24 bits, as every reader of the format knows them.
#include <algorithm>

#include "picture_codec.h"

namespace host {
namespace {

constexpr std::size_t fileHeader = 14, pictureHeader = 40;

void add(FileBytes& bytes, std::size_t value, int count) {
  for (int i = 0; i < count; ++i)
    bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

} // namespace

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
