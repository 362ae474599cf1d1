// Picture files read into memory, with the interface's result codes. Private to host/image.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "c4d_bitmap.h"
#include "display_transform.h"
#include "picture_decode.h"

namespace host {

struct LoadedPicture {
  IMAGERESULT result = IMAGERESULT_OK;
  std::string error;                             // a sentence for the user; empty when all is well
  std::shared_ptr<const DecodedPicture> picture; // null after a failure
  bool shortage = false; // memory ran out on the way; the picture itself may be a good one
};

/// Decodes bytes; see decodePicture. Results: WRONGTYPE not a picture that we read, FILESTRUCTURE damaged,
/// OUTOFMEMORY too large. Any thread; nothing is thrown.
LoadedPicture loadPictureBytes(std::span<const std::byte> file, const std::string& name,
                               PictureUse use = PictureUse::shown) noexcept;

/// Reads and decodes a file. Also: NOTEXISTING, and FILEERROR when it is there but cannot be read. Any
/// thread.
LoadedPicture loadPicture(const std::string& path) noexcept;

/// Passes every pixel, row by row, to `store(index, word)` as 0xAARRGGBB, 16 bits rounded to 8, floats
/// through the display transform.
template <class Store>
void eachPixelWord(const DecodedPicture& picture, Store store) {
  const auto join = [](ULONG r, ULONG g, ULONG b, ULONG a) { return (a << 24) | (r << 16) | (g << 8) | b; };
  const std::size_t count =
      static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
  if (!picture.words.empty()) {
    const std::uint16_t* p = picture.words.data();
    for (std::size_t i = 0; i < count; ++i, p += 4)
      store(i, join(roundedTo8(p[0]), roundedTo8(p[1]), roundedTo8(p[2]), roundedTo8(p[3])));
    return;
  }
  if (picture.floats.empty()) {
    const unsigned char* p = picture.bytes.data();
    for (std::size_t i = 0; i < count; ++i, p += 4)
      store(i, join(p[0], p[1], p[2], p[3]));
    return;
  }
  const auto byteOf = [](float value) {
    return value > 0 ? static_cast<ULONG>(std::lround(std::min(value, 1.0f) * 255)) : 0;
  };
  const float* p = picture.floats.data();
  for (std::size_t i = 0; i < count; ++i, p += 4)
    store(i, join(toDisplay(p[0]), toDisplay(p[1]), toDisplay(p[2]), byteOf(p[3])));
}

} // namespace host
