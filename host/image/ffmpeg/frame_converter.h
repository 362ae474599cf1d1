// Conversion of frames into an encoder's pictures.
#pragma once

#include "movie_codec.h"

struct AVFrame;
struct SwsContext;

namespace host {

/// Converts frames of one size into the encoder's pictures. One thread at a time.
class FrameConverter {
 public:
  /// Throws std::bad_alloc.
  FrameConverter(const MovieCodec& codec, AVPixelFormat target, int width, int height);
  ~FrameConverter();
  FrameConverter(const FrameConverter&) = delete;
  FrameConverter& operator=(const FrameConverter&) = delete;

  /// `picture` has the target's format, this size, and memory.
  void convert(const MovieFrame& frame, AVFrame& picture);

 private:
  SwsContext* context_;
};

} // namespace host
