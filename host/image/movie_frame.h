// A movie's frame on its way from a bitmap to the encoder. Private to host/image.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "movie_codec.h"

struct AVFrame;
struct SwsContext;

namespace host {

/// 0xAARRGGBB words, row by row, of the size that is encoded.
struct MovieFrame {
  int width = 0, height = 0;
  std::vector<std::uint32_t> words;
};

/// Copies the bitmap into the frame, which already has its size: at least the bitmap's. What is beyond the
/// bitmap repeats its last column and row. Throws std::bad_alloc.
void copyToFrame(const BaseBitmap& bitmap, bool bottomUp, MovieFrame& frame);

/// Converts frames of one size into the pictures that the encoder takes. One thread at a time.
class FrameConverter {
 public:
  /// Throws std::bad_alloc.
  FrameConverter(const MovieCodec& codec, AVPixelFormat target, int width, int height);
  ~FrameConverter();
  FrameConverter(const FrameConverter&) = delete;
  FrameConverter& operator=(const FrameConverter&) = delete;

  /// `picture` has the target's format, this size and room.
  void convert(const MovieFrame& frame, AVFrame& picture);

 private:
  SwsContext* context_;
};

} // namespace host
