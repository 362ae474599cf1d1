// Reads a file's bytes in their order. Private to host/image.
#pragma once

#include "file_bytes.h"
#include "picture_codec.h"

namespace host {

class ByteReader {
 public:
  explicit ByteReader(PictureBytes file, std::size_t at = 0) : rest_(file) { skip(at); }

  std::size_t left() const { return rest_.size(); }
  /// 0 at the end.
  unsigned peek() const { return rest_.empty() ? 0 : std::to_integer<unsigned>(rest_.front()); }

  // Past the end each throws DamagedPicture.
  unsigned byte() { return std::to_integer<unsigned>(take(1).front()); }
  void skip(std::size_t count) { take(count); }
  PictureBytes take(std::size_t count) {
    if (count > rest_.size()) throw DamagedPicture("it ends before its pixels");
    const PictureBytes taken = rest_.first(count);
    rest_ = rest_.subspan(count);
    return taken;
  }

 private:
  PictureBytes rest_;
};

/// Opaque where every pixel of a file has alpha 0: the channel was then never written.
inline void dropEmptyAlpha(DecodedPicture& picture) {
  std::vector<unsigned char>& pixels = picture.bytes;
  for (std::size_t i = 3; i < pixels.size(); i += 4)
    if (pixels[i] != 0) return;
  for (std::size_t i = 3; i < pixels.size(); i += 4)
    pixels[i] = 255;
  picture.hasAlpha = false;
}

} // namespace host
