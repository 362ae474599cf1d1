#include "frame_converter.h"

extern "C" {
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

#include <new>

namespace host {

FrameConverter::FrameConverter(const MovieCodec& codec, AVPixelFormat target, int width, int height) {
  const AVPixelFormat source = target == codec.withAlpha ? AV_PIX_FMT_RGB32 : AV_PIX_FMT_0RGB32;
  context_ = sws_getContext(width, height, source, width, height, target,
                            SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP, nullptr, nullptr, nullptr);
  if (!context_) throw std::bad_alloc();
  if (codec.color == MovieColor::rgb) return;
  const int* matrix =
      sws_getCoefficients(usesMatrix709(codec, width, height) ? SWS_CS_ITU709 : SWS_CS_ITU601);
  const int fullRange = codec.color == MovieColor::jpeg;
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
