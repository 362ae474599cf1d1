#include "movie_frame.h"

extern "C" {
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <new>

#include "access.h"

namespace host {

void copyToFrame(const BaseBitmap& bitmap, bool bottomUp, MovieFrame& frame) {
  const std::size_t columns = static_cast<std::size_t>(bitmap.GetBw());
  const std::size_t width = static_cast<std::size_t>(frame.width);
  frame.words.resize(width * static_cast<std::size_t>(frame.height));
  for (int y = 0; y < frame.height; ++y) {
    const int row = std::min(y, bitmap.GetBh() - 1);
    const std::atomic<ULONG>* from = Access::pixels(bitmap) + static_cast<std::size_t>(row) * columns;
    std::uint32_t* to =
        frame.words.data() + static_cast<std::size_t>(bottomUp ? frame.height - 1 - y : y) * width;
    for (std::size_t x = 0; x < columns; ++x)
      to[x] = from[x].load(std::memory_order_relaxed);
    std::fill(to + columns, to + width, to[columns - 1]);
  }
}

FrameConverter::FrameConverter(const MovieCodec& codec, AVPixelFormat target, int width, int height) {
  const AVPixelFormat source = target == codec.withAlpha ? AV_PIX_FMT_RGB32 : AV_PIX_FMT_0RGB32;
  context_ = sws_getContext(width, height, source, width, height, target,
                            SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP, nullptr, nullptr, nullptr);
  if (!context_) throw std::bad_alloc();
  if (codec.colour == MovieColour::rgb) return;
  const int* matrix =
      sws_getCoefficients(usesMatrix709(codec, width, height) ? SWS_CS_ITU709 : SWS_CS_ITU601);
  const int fullRange = codec.colour == MovieColour::jpeg;
  sws_setColorspaceDetails(context_, sws_getCoefficients(SWS_CS_DEFAULT), 1, matrix, fullRange, 0, 1 << 16,
                           1 << 16);
}

FrameConverter::~FrameConverter() {
  sws_freeContext(context_);
}

void FrameConverter::convert(const MovieFrame& frame, AVFrame& picture) {
  const std::uint8_t* source[4] = {reinterpret_cast<const std::uint8_t*>(frame.words.data())};
  const int stride[4] = {frame.width * 4};
  sws_scale(context_, source, stride, 0, frame.height, picture.data, picture.linesize);
}

} // namespace host
